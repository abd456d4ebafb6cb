// A library of the right name without the entry of the NDI runtime.

extern "C" int somethingElse()
{
    return 0;
}

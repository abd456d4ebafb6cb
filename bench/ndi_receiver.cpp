// Receives what the NDI source at a port of this machine sends, until it is ended. Gives up when
// nothing comes in the beginning.
//
// Usage: ndi_receiver RUNTIME_FOLDER PORT

#include "helpers/NDIReceiver.h"

#include <cstdio>

using namespace std::chrono_literals;

int main(int argc, char* argv[])
{
    if (argc < 3)
        return 2;
    NDIReceiver receiver(QString::fromLocal8Bit(argv[1]), QByteArray(argv[2]).toUShort());
    if (!receiver.isReady() || receiver.receive(20s).picture.isNull())
        return 1;
    std::puts("receiving");
    std::fflush(stdout);
    for (;;)
        (void)receiver.receive(1s);
}

// Receives what the first NDI source on this machine sends, until it is ended.
//
// Usage: ndi_receiver RUNTIME_FOLDER

#include "helpers/NDIReceiver.h"

#include <cstdio>

using namespace std::chrono_literals;

int main(int argc, char* argv[])
{
    if (argc < 2)
        return 2;
    NDIReceiver receiver(QString::fromLocal8Bit(argv[1]));
    if (!receiver.isReady())
        return 1;
    for (int frames = 0;;) {
        if (receiver.receive(1s).picture.isNull())
            continue;
        if (++frames == 1) {
            std::puts("receiving");
            std::fflush(stdout);
        }
    }
}

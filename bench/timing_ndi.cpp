// An NDI runtime that passes everything on to the real one, in the folder that NDI_REAL_RUNTIME
// names, and takes the time that sends take. The first four seconds do not count: the runtime sets
// itself up, and receivers come. When the sender goes it writes one line to
// NDI_TIMES: frames, seconds that they took, seconds in sends.

#include "NDI/NDITypes.h"

#include <dlfcn.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;

const NDI::FunctionTable* real = nullptr;
Clock::time_point firstSend;
Clock::time_point from;
Clock::time_point last;
Clock::duration inSends {};
int frames = 0;

double seconds(Clock::duration duration)
{
    return std::chrono::duration<double>(duration).count();
}

void report()
{
    if (FILE* file = std::fopen(std::getenv("NDI_TIMES"), "w")) {
        std::fprintf(file, "%d %.6f %.6f\n", frames, seconds(last - from), seconds(inSends));
        std::fclose(file);
    }
}

void sendVideo(NDI::SendInstance sender, const NDI::VideoFrame* frame)
{
    const auto start = Clock::now();
    real->sendVideo(sender, frame);
    const auto end = Clock::now();
    if (firstSend == Clock::time_point())
        firstSend = start;
    if (start - firstSend < std::chrono::seconds(4))
        return;
    if (from == Clock::time_point()) {
        from = start;
    } else {
        ++frames;
        last = start;
        inSends += end - start;
    }
}

void sendDestroy(NDI::SendInstance sender)
{
    report();
    real->sendDestroy(sender);
}

NDI::FunctionTable table;

} // namespace

extern "C" const NDI::FunctionTable* NDIlib_v5_load()
{
    const char* const folder = std::getenv("NDI_REAL_RUNTIME");
    if (!folder)
        return nullptr;
    const std::string path = std::string(folder) + "/libndi.so.6";
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        std::fprintf(stderr, "%s\n", dlerror());
        return nullptr;
    }
    real = reinterpret_cast<NDI::Entry*>(dlsym(library, NDI::entryName))();
    table = *real;
    table.sendVideo = sendVideo;
    table.sendDestroy = sendDestroy;
    return &table;
}

// A runtime that sends nothing. It writes down what it is asked for, one line for each call, in
// the file that the environment variable STAND_IN_NDI_LOG names. STAND_IN_NDI says what is special
// about it: "refuses" (makes no sender), "no table", "empty table", "paces" (holds senders back as
// the real one does, and writes down nothing else of a frame), or nothing.

#include "NDI/NDITypes.h"
#include "NDI/SendSlots.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

using namespace std::chrono_literals;

namespace {

template <typename... Values> void note(const char* format, Values... values)
{
    if (FILE* log = std::fopen(std::getenv("STAND_IN_NDI_LOG"), "a")) {
        std::fprintf(log, format, values...);
        std::fclose(log);
    }
}

bool isSpecial(const char* what)
{
    const char* special = std::getenv("STAND_IN_NDI");
    return special && std::strcmp(special, what) == 0;
}

bool initialize()
{
    note("%s\n", "initialize");
    return true;
}

void destroy()
{
    note("%s\n", "destroy");
}

int sender = 0;

void* sendCreate(const NDI::SendSettings* settings)
{
    note("create %s %s %d %d\n", settings->name, settings->groups ? settings->groups : "none",
        settings->clockVideo, settings->clockAudio);
    return isSpecial("refuses") ? nullptr : &sender;
}

void sendDestroy(void* instance)
{
    note("destroy sender%s\n", instance == &sender ? "" : " of another's");
}

void pace()
{
    static SendSlots slots(std::chrono::nanoseconds(1s) / 30);
    const auto early = slots.take(std::chrono::steady_clock::now());
    note("%s\n", early > 2ms ? "held back" : "in step");
    std::this_thread::sleep_for(early);
}

void sendVideo(void* instance, const NDI::VideoFrame* frame)
{
    if (isSpecial("paces")) {
        pace();
        return;
    }
    const size_t pixels = static_cast<size_t>(frame->width) * static_cast<size_t>(frame->height);
    const uint8_t* last = frame->data + 4 * (pixels - 1);
    note("frame%s %dx%d %08X %d/%d %.4f %d %s %d %s %d, ends in %02X%02X%02X%02X\n",
        instance == &sender ? "" : " of another's", frame->width, frame->height, frame->fourCC,
        frame->frameRateNumerator, frame->frameRateDenominator,
        static_cast<double>(frame->pictureAspectRatio), frame->frameFormat,
        frame->timecode == INT64_MAX ? "synthesized" : "stamped", frame->lineStrideInBytes,
        frame->metadata ? "metadata" : "none", static_cast<int>(frame->timestamp), last[0], last[1],
        last[2], last[3]);
}

void* table[64];

} // namespace

extern "C" void** NDIlib_v5_load()
{
    note("load %s\n", STAND_IN_FOLDER);
    if (isSpecial("empty table"))
        return table;
    table[0] = reinterpret_cast<void*>(&initialize);
    table[1] = reinterpret_cast<void*>(&destroy);
    table[8] = reinterpret_cast<void*>(&sendCreate);
    table[9] = reinterpret_cast<void*>(&sendDestroy);
    table[50] = reinterpret_cast<void*>(&sendVideo);
    return isSpecial("no table") ? nullptr : table;
}

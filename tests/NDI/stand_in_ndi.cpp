// A runtime that sends nothing. It writes down what it is asked for, one line for each call, in
// the file that the environment variable STAND_IN_NDI_LOG names. STAND_IN_NDI says what is amiss
// with it: "refuses" (makes no sender), "no table", or nothing.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

struct Settings {
    const char* name;
    const char* groups;
    bool clockVideo;
    bool clockAudio;
};

struct Frame {
    int width, height;
    unsigned fourCC;
    int rateNumerator, rateDenominator;
    float aspect;
    int format;
    int64_t timecode;
    const uint8_t* data;
    int stride;
    const char* metadata;
    int64_t timestamp;
};

template <typename... Values> void note(const char* format, Values... values)
{
    if (FILE* log = std::fopen(std::getenv("STAND_IN_NDI_LOG"), "a")) {
        std::fprintf(log, format, values...);
        std::fclose(log);
    }
}

bool isAmiss(const char* what)
{
    const char* amiss = std::getenv("STAND_IN_NDI");
    return amiss && std::strcmp(amiss, what) == 0;
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

void* sendCreate(const Settings* settings)
{
    note("create %s %s %d %d\n", settings->name, settings->groups ? settings->groups : "none",
        settings->clockVideo, settings->clockAudio);
    return isAmiss("refuses") ? nullptr : &sender;
}

void sendDestroy(void* instance)
{
    note("destroy sender%s\n", instance == &sender ? "" : " of another's");
}

void sendVideo(void* instance, const Frame* frame)
{
    const size_t pixels = static_cast<size_t>(frame->width) * static_cast<size_t>(frame->height);
    const uint8_t* last = frame->data + 4 * (pixels - 1);
    note("frame%s %dx%d %08X %d/%d %.4f %d %s %d %s %d, ends in %02X%02X%02X%02X\n",
        instance == &sender ? "" : " of another's", frame->width, frame->height, frame->fourCC,
        frame->rateNumerator, frame->rateDenominator, static_cast<double>(frame->aspect),
        frame->format, frame->timecode == INT64_MAX ? "synthesized" : "stamped", frame->stride,
        frame->metadata ? "metadata" : "none", static_cast<int>(frame->timestamp), last[0], last[1],
        last[2], last[3]);
}

void* table[64];

} // namespace

extern "C" void** NDIlib_v5_load()
{
    note("load %s\n", STAND_IN_FOLDER);
    table[0] = reinterpret_cast<void*>(&initialize);
    table[1] = reinterpret_cast<void*>(&destroy);
    table[8] = reinterpret_cast<void*>(&sendCreate);
    table[9] = reinterpret_cast<void*>(&sendDestroy);
    table[50] = reinterpret_cast<void*>(&sendVideo);
    return isAmiss("no table") ? nullptr : table;
}

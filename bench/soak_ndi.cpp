// An NDI runtime that sends nothing, and looks after the program from within: it is loaded at the
// launch and knows the event loop. What it sees it writes to the file that SOAK_WATCH names, one
// line each:
//
// late MILLISECONDS: a tick of a timer in the program's event loop that came 20 ms late or later,
//     as one of the engine's would have. It ticks more often, so that it misses nothing.
// busy MILLISECONDS: processor time that the event loop took between two of these ticks, from 20 ms
//     on. Unlike the lateness it does not depend on what else the machine has to do.
// heap BYTES: what is allocated, once a second.
// ticks COUNT, frames COUNT: when the program has ended.

#include "NDI/NDITypes.h"

#include <QElapsedTimer>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <utility>

#include <malloc.h>

namespace {

using namespace std::chrono_literals;

constexpr auto tickInterval = 20ms;
constexpr auto notable = 20ms;

class Watch {
public:
    Watch()
        : m_file(std::fopen(std::getenv("SOAK_WATCH"), "w"))
    {
        if (!m_file)
            qFatal("SOAK_WATCH names no file");
        std::setvbuf(m_file, nullptr, _IOLBF, BUFSIZ);
        m_tickTimer.setTimerType(Qt::PreciseTimer);
        m_tickTimer.callOnTimeout([this] { noteTick(); });
        m_tickTimer.start(tickInterval);
        m_sinceTick.start();
        m_heapTimer.callOnTimeout([this] { noteHeap(); });
        m_heapTimer.start(1s);
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
    ~Watch()
    {
        std::fprintf(m_file, "ticks %d\nframes %d\n", m_ticks, frames);
        std::fclose(m_file);
    }

    int frames = 0;

private:
    void noteTick()
    {
        const auto late = std::chrono::nanoseconds(m_sinceTick.nsecsElapsed()) - tickInterval;
        m_sinceTick.start();
        ++m_ticks;
        note("late", late);
        const auto before = std::exchange(m_processorTime, processorTime());
        note("busy", m_processorTime - before);
    }

    void note(const char* what, std::chrono::nanoseconds time)
    {
        if (time >= notable)
            std::fprintf(
                m_file, "%s %.1f\n", what, std::chrono::duration<double, std::milli>(time).count());
    }

    /// Of this thread.
    static std::chrono::nanoseconds processorTime()
    {
        timespec time {};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    }

    void noteHeap()
    {
        const struct mallinfo2 info = mallinfo2();
        std::fprintf(m_file, "heap %zu\n", info.uordblks + info.hblkhd);
    }

    FILE* m_file;
    QTimer m_tickTimer;
    QTimer m_heapTimer;
    QElapsedTimer m_sinceTick;
    std::chrono::nanoseconds m_processorTime = processorTime();
    int m_ticks = 0;
};

std::unique_ptr<Watch> watch;

bool initialize()
{
    watch = std::make_unique<Watch>();
    return true;
}

void destroy()
{
    watch.reset();
}

NDI::SendInstance sendCreate(const NDI::SendSettings*)
{
    static int sender = 0;
    return reinterpret_cast<NDI::SendInstance>(&sender);
}

void sendDestroy(NDI::SendInstance) { }

void sendVideo(NDI::SendInstance, const NDI::VideoFrame*)
{
    ++watch->frames;
}

} // namespace

extern "C" const NDI::FunctionTable* NDIlib_v5_load()
{
    static const NDI::FunctionTable table {
        .initialize = initialize,
        .destroy = destroy,
        .skipped2To7 = {},
        .sendCreate = sendCreate,
        .sendDestroy = sendDestroy,
        .skipped10To49 = {},
        .sendVideo = sendVideo,
    };
    return &table;
}

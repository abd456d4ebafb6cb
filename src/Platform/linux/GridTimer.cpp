#include "Platform/GridTimer.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <utility>

using namespace std::chrono_literals;

namespace {

timespec toTimespec(std::chrono::nanoseconds duration)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(duration);
    return {.tv_sec = seconds.count(), .tv_nsec = (duration - seconds).count()};
}

} // namespace

GridTimer::GridTimer(std::chrono::nanoseconds period, std::function<void()> onTime)
    : m_period(period)
    , m_onTime(std::move(onTime))
    // The clock of std::chrono::steady_clock.
    , m_descriptor(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK))
    , m_notifier(std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read))
{
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [this] { handle(); });
}

GridTimer::~GridTimer()
{
    m_notifier.reset();
    close(m_descriptor);
}

void GridTimer::start()
{
    setNext(std::chrono::steady_clock::now() + m_period);
}

void GridTimer::shift(std::chrono::nanoseconds by)
{
    if (m_next != Instant())
        setNext(m_next + by);
}

void GridTimer::stop()
{
    m_next = {};
    const itimerspec never {};
    timerfd_settime(m_descriptor, 0, &never, nullptr);
}

void GridTimer::setNext(Instant next)
{
    m_next = next;
    const itimerspec grid {
        .it_interval = toTimespec(m_period), .it_value = toTimespec(next.time_since_epoch())};
    timerfd_settime(m_descriptor, TFD_TIMER_ABSTIME, &grid, nullptr);
}

void GridTimer::handle()
{
    quint64 points = 0;
    // Nothing to read: stopped or moved since the notifier saw the descriptor.
    if (read(m_descriptor, &points, sizeof points) != sizeof points)
        return;
    m_next += static_cast<qint64>(points) * m_period;
    m_onTime();
}

#pragma once

#include <QSocketNotifier>

#include <chrono>
#include <functional>
#include <memory>

/// Calls back on the creator's event loop at the points of a grid in time, to a fraction of a
/// millisecond. A loop that comes late is called once for all the points that it missed.
class GridTimer {
public:
    GridTimer(std::chrono::nanoseconds period, std::function<void()> onTime);
    GridTimer(const GridTimer&) = delete;
    GridTimer& operator=(const GridTimer&) = delete;
    ~GridTimer();

    /// The first point is one period from now.
    void start();
    /// Moves the points to come by so much; does nothing while stopped.
    void shift(std::chrono::nanoseconds by);
    void stop();

private:
    using Instant = std::chrono::steady_clock::time_point;

    void setNext(Instant next);
    void handle();

    std::chrono::nanoseconds m_period;
    std::function<void()> m_onTime;
    int m_descriptor;
    std::unique_ptr<QSocketNotifier> m_notifier;
    /// The epoch while stopped.
    Instant m_next;
};

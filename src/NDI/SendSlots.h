#pragma once

#include <algorithm>
#include <chrono>

/// When the NDI runtime takes frames. Their slots lie on a grid that begins with the first frame:
/// who sends before a slot is held back until then. A frame that comes more than half a period
/// after its slot begins a new grid. (Measured with version 6.3.)
class SendSlots {
public:
    using Instant = std::chrono::steady_clock::time_point;

    explicit SendSlots(std::chrono::nanoseconds period)
        : m_period(period)
    {
    }

    /// A frame is sent at `now`. Returns for how long the runtime holds the sender back.
    std::chrono::nanoseconds take(Instant now)
    {
        const Instant slot = now - m_next > m_period / 2 ? now : m_next;
        m_next = slot + m_period;
        return std::max(slot - now, std::chrono::nanoseconds(0));
    }

private:
    std::chrono::nanoseconds m_period;
    Instant m_next;
};

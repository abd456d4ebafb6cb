#pragma once

#include "Support/Clock.h"

/// A clock that stands still until the test moves it. It must outlive those it is given to.
class ManualClock {
public:
    Instant now {std::chrono::sys_days {std::chrono::year {2026} / 11 / 22}};

    void advance(std::chrono::microseconds duration) { now += duration; }

    [[nodiscard]] Clock clock()
    {
        return [this] { return now; };
    }
};

#pragma once

#include <chrono>
#include <functional>

/// A point on the wall clock. Microseconds are finer than anything shown, and 64 bits of them
/// reach far enough for differences never to overflow.
using Instant = std::chrono::sys_time<std::chrono::microseconds>;

/// Tells what time it is now. Everything with a deadline is given one, so that a test can move
/// time by hand.
using Clock = std::function<Instant()>;

/// The machine's wall clock.
[[nodiscard]] Clock systemClock();

#include "Support/Clock.h"

Clock systemClock()
{
    return [] {
        return std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
    };
}

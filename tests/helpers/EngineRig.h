#pragma once

#include "Model/TimerEngine.h"
#include "helpers/ManualClock.h"
#include "helpers/MemoryPreferences.h"

#include <utility>

/// An engine on a clock that stands still at midnight, with settings of its own.
struct EngineRig {
    explicit EngineRig(TimerEngine::ClockFormatter formatter = TimerEngine::localShortTime())
        : engine(settings, clock.clock(), std::move(formatter))
    {
    }

    MemoryPreferences preferences;
    AppSettings settings {preferences};
    ManualClock clock;
    TimerEngine engine;
};

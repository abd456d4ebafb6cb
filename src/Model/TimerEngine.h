#pragma once

#include "Model/DisplayState.h"
#include "Support/Clock.h"

#include <QProperty>
#include <QTimer>

#include <functional>
#include <optional>

/// Turns requests and the passage of time into the one snapshot that every output shows.
///
/// A countdown is measured against the wall clock and never by counting ticks, so late or missed
/// ticks cannot make it drift. Requests that mean nothing in the current phase do nothing.
/// Message, blackout and strobe are independent of the phase.
class TimerEngine {
public:
    enum class Phase { idle, running, paused, clock };

    /// Whether a run counts for follow mode.
    enum class RunOrigin { operatorRequest, cue };

    /// Writes a time of day for people to read.
    using ClockFormatter = std::function<QString(Instant)>;

    /// `settings` must outlive the engine.
    explicit TimerEngine(AppSettings& settings, Clock clock = systemClock(),
        ClockFormatter clockFormatter = localShortTime());
    TimerEngine(const TimerEngine&) = delete;
    TimerEngine& operator=(const TimerEngine&) = delete;
    ~TimerEngine() = default;

    /// Published only when something in it has changed. For everyone else to read.
    QProperty<DisplaySnapshot> snapshot;
    QProperty<Phase> phase {Phase::idle};
    /// Strobes since launch. Those who cannot follow 90 ms flashes play a strobe of their own
    /// when this changes.
    QProperty<qint64> strobeCount {0};
    /// Restart from the set time each time the countdown passes zero. For callers to write.
    QProperty<bool> loop {false};

    /// Called once when a countdown passes zero.
    std::function<void()> onFinish;
    /// Asked once when a countdown that was started from a cue passes zero; true says that it has
    /// started another countdown.
    std::function<bool()> autoAdvanceHandler;

    /// What a start and each round of a loop count down from, in seconds; never negative. Setting
    /// it changes nothing that is shown.
    qint64 setSeconds = 0;
    /// This run counts up from zero.
    bool pureCountUp = false;
    /// This run was started from a cue of the running order.
    bool currentRunFromCue = false;

    /// Whole seconds left; negative in overtime and while counting up.
    [[nodiscard]] qint64 remaining() const { return m_remaining; }

    /// The start sequence: begins a fresh run of the set time, whatever the engine was doing. A
    /// set time of 0 counts up.
    void start(RunOrigin origin);
    void stop();
    void togglePause();
    /// Only while running or paused.
    void addMinute();
    /// Only while running or paused with at least 61 seconds left, so that it never crosses zero.
    void subtractMinute();
    void setClock(bool on);
    void toggleBlackout();
    /// Flashes five times within 0.9 s; a strobe in progress begins anew.
    void strobe();
    /// White space around the text is not part of it; a text of nothing else is no message.
    void setMessage(const std::optional<QString>& text);
    /// Stops, and clears message, blackout and strobe.
    void reset();

    void exitClockIfNeeded();
    /// Begins to count down from `seconds` at this moment.
    void rearm(qint64 seconds);
    /// Adds seconds to the time left; it stays within 64 bits.
    void adjust(qint64 seconds);

    /// What the two timers call, every 0.1 s and every 0.09 s.
    void tick();
    void strobeTick();

    /// The user's locale, hours and minutes.
    [[nodiscard]] static ClockFormatter localShortTime();

private:
    enum class Overlay { keep, clear };

    void startTickTimer();
    void refreshNow();
    void advanceCountdown();
    [[nodiscard]] bool handleFinish();
    void stopAtZero();
    void showTimeOfDay();
    void stopStrobe(Overlay overlay);
    [[nodiscard]] TimeThreshold threshold(qint64 seconds) const;
    void update(const QString& text, TimeThreshold threshold);
    template <typename T> void publish(T DisplaySnapshot::*member, const T& value);

    AppSettings& m_settings;
    Clock m_clock;
    ClockFormatter m_clockFormatter;

    qint64 m_remaining = 0;
    /// When the time left was m_anchorRemaining; absent until the first run.
    std::optional<Instant> m_anchorDate;
    qint64 m_anchorRemaining = 0;
    bool m_finishHandled = false;

    QTimer m_tickTimer;
    QTimer m_strobeTimer;
    int m_strobeTicks = 0;
};

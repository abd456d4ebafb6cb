#include "Model/TimerEngine.h"

#include "Model/TimeText.h"
#include "Support/CheckedConversions.h"

#include <QDateTime>
#include <QLocale>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;

namespace {

constexpr auto tickInterval = 100ms;
constexpr auto strobeInterval = 90ms;
constexpr int strobeTotalTicks = 10;
constexpr qint64 minute = 60;

void configure(QTimer& timer, std::chrono::milliseconds interval)
{
    timer.setTimerType(Qt::PreciseTimer);
    timer.setInterval(interval);
}

QString overtimeText(qint64 remaining)
{
    return u'-' + minutesAndSeconds(magnitude(remaining));
}

} // namespace

TimerEngine::TimerEngine(AppSettings& settings, Clock clock, ClockFormatter clockFormatter)
    : m_settings(settings)
    , m_clock(std::move(clock))
    , m_clockFormatter(std::move(clockFormatter))
{
    configure(m_tickTimer, tickInterval);
    QObject::connect(&m_tickTimer, &QTimer::timeout, [this] { tick(); });
    configure(m_strobeTimer, strobeInterval);
    QObject::connect(&m_strobeTimer, &QTimer::timeout, [this] { strobeTick(); });
}

void TimerEngine::start(RunOrigin origin)
{
    exitClockIfNeeded();
    currentRunFromCue = origin == RunOrigin::cue;
    pureCountUp = setSeconds == 0;
    rearm(setSeconds);
}

void TimerEngine::stop()
{
    exitClockIfNeeded();
    m_tickTimer.stop();
    phase = Phase::idle;
    loop = false;
    pureCountUp = false;
    currentRunFromCue = false;
    m_finishHandled = false;
    m_remaining = 0;
    update(minutesAndSeconds(0), TimeThreshold::normal);
}

void TimerEngine::togglePause()
{
    if (phase == Phase::running) {
        m_tickTimer.stop();
        phase = Phase::paused;
    } else if (phase == Phase::paused) {
        // A fresh anchor gives back the part of a second that had passed before the pause.
        rearm(m_remaining);
    }
}

void TimerEngine::addMinute()
{
    if (phase == Phase::running || phase == Phase::paused)
        adjust(minute);
}

void TimerEngine::subtractMinute()
{
    if ((phase == Phase::running || phase == Phase::paused) && m_remaining > minute)
        adjust(-minute);
}

void TimerEngine::setClock(bool on)
{
    if (!on) {
        exitClockIfNeeded();
        return;
    }
    m_tickTimer.stop();
    phase = Phase::clock;
    showTimeOfDay();
    startTickTimer();
}

void TimerEngine::toggleBlackout()
{
    publish(&DisplaySnapshot::isBlackout, !snapshot.value().isBlackout);
}

void TimerEngine::strobe()
{
    stopStrobe(Overlay::keep);
    strobeCount = strobeCount + 1;
    m_strobeTicks = 0;
    publish(&DisplaySnapshot::strobe, true);
    m_strobeTimer.start();
}

void TimerEngine::setMessage(const std::optional<QString>& text)
{
    std::optional<QString> message;
    if (text)
        message = text->trimmed();
    if (message && message->isEmpty())
        message.reset();
    publish(&DisplaySnapshot::message, message);
}

void TimerEngine::reset()
{
    stop();
    setMessage(std::nullopt);
    publish(&DisplaySnapshot::isBlackout, false);
    stopStrobe(Overlay::clear);
}

void TimerEngine::exitClockIfNeeded()
{
    if (phase != Phase::clock)
        return;
    phase = Phase::idle;
    m_tickTimer.stop();
    update(minutesAndSeconds(0), TimeThreshold::normal);
}

void TimerEngine::rearm(qint64 seconds)
{
    m_anchorRemaining = seconds;
    m_remaining = seconds;
    m_anchorDate = m_clock();
    m_finishHandled = false;
    phase = Phase::running;
    refreshNow();
    startTickTimer();
}

void TimerEngine::adjust(qint64 seconds)
{
    m_remaining = saturatingAdd(m_remaining, seconds);
    if (phase == Phase::running) {
        m_anchorRemaining = m_remaining;
        m_anchorDate = m_clock();
    }
    if (m_remaining >= 0)
        m_finishHandled = false;
    refreshNow();
}

void TimerEngine::tick()
{
    if (phase == Phase::running)
        advanceCountdown();
    else if (phase == Phase::clock)
        showTimeOfDay();
}

void TimerEngine::strobeTick()
{
    ++m_strobeTicks;
    if (m_strobeTicks < strobeTotalTicks)
        publish(&DisplaySnapshot::strobe, !snapshot.value().strobe);
    else
        stopStrobe(Overlay::clear);
}

TimerEngine::ClockFormatter TimerEngine::localShortTime()
{
    const QLocale locale = QLocale::system();
    QString format = locale.timeFormat(QLocale::ShortFormat);
    // The C locale's short form has seconds, which nobody wants to see on a stage.
    if (format.contains(u's'))
        format = u"HH:mm"_s;
    return [locale, format](Instant instant) {
        const auto milliseconds = floor<std::chrono::milliseconds>(instant).time_since_epoch();
        return locale.toString(QDateTime::fromMSecsSinceEpoch(milliseconds.count()).time(), format);
    };
}

void TimerEngine::startTickTimer()
{
    m_tickTimer.start();
}

void TimerEngine::refreshNow()
{
    if (pureCountUp)
        update(minutesAndSeconds(magnitude(m_remaining)), TimeThreshold::normal);
    else if (m_remaining >= 0)
        update(minutesAndSeconds(magnitude(m_remaining)), threshold(m_remaining));
    else
        update(overtimeText(m_remaining), TimeThreshold::red);
}

void TimerEngine::advanceCountdown()
{
    if (!m_anchorDate)
        return;
    // Truncated, so that each value is shown for a full second after it was reached.
    const auto elapsed = duration_cast<std::chrono::seconds>(m_clock() - *m_anchorDate);
    m_remaining = saturatingSubtract(m_anchorRemaining, elapsed.count());
    const bool hasPassedZero = !pureCountUp && m_remaining < 0;
    if (hasPassedZero && !m_finishHandled && handleFinish())
        return;
    refreshNow();
}

/// Returns true when the run has come to its end: something else runs now, or nothing.
bool TimerEngine::handleFinish()
{
    m_finishHandled = true;
    if (onFinish)
        onFinish();
    if (loop) {
        rearm(setSeconds);
        return true;
    }
    if (currentRunFromCue && autoAdvanceHandler && autoAdvanceHandler())
        return true;
    if (m_settings.allowCountUp)
        return false;
    stopAtZero();
    return true;
}

void TimerEngine::stopAtZero()
{
    m_remaining = 0;
    phase = Phase::idle;
    m_tickTimer.stop();
    // Keeps its colour: a countdown that has just ended stays red.
    update(minutesAndSeconds(0), threshold(0));
}

void TimerEngine::showTimeOfDay()
{
    const Instant now = m_clock();
    QString text = m_clockFormatter(now);
    // The separator blinks: seen in the first half of each second.
    if (now - floor<std::chrono::seconds>(now) >= 500ms)
        text.replace(u':', u' ');
    update(text, TimeThreshold::normal);
}

void TimerEngine::stopStrobe(Overlay overlay)
{
    m_strobeTimer.stop();
    if (overlay == Overlay::clear)
        publish(&DisplaySnapshot::strobe, false);
}

TimeThreshold TimerEngine::threshold(qint64 seconds) const
{
    if (!m_settings.useThresholdColors)
        return TimeThreshold::normal;
    if (seconds <= m_settings.redThresholdSeconds)
        return TimeThreshold::red;
    if (seconds <= m_settings.amberThresholdSeconds)
        return TimeThreshold::amber;
    return TimeThreshold::normal;
}

void TimerEngine::update(const QString& text, TimeThreshold threshold)
{
    publish(&DisplaySnapshot::timeText, text);
    publish(&DisplaySnapshot::threshold, threshold);
}

/// An unchanged value publishes nothing.
template <typename T> void TimerEngine::publish(T DisplaySnapshot::*member, const T& value)
{
    DisplaySnapshot next = snapshot;
    next.*member = value;
    snapshot = next;
}

#include "Views/MessageTransition.h"

#include "Views/MessagePicture.h"

#include <QEasingCurve>
#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <cmath>

using namespace std::chrono_literals;

namespace {

constexpr std::chrono::microseconds duration = 300ms;
/// Of 255 steps, less than one.
constexpr double leastVisible = 1.0 / 256;

/// The refresh of the fastest display there is now.
std::chrono::milliseconds frameInterval()
{
    double rate = 60;
    for (const QScreen* screen : QGuiApplication::screens())
        rate = std::max(rate, screen->refreshRate());
    return std::chrono::milliseconds(static_cast<int>(1000 / rate));
}

double between(double from, double to, double progress)
{
    return from + (to - from) * progress;
}

} // namespace

MessageTransition MessageTransition::settled(const std::optional<QString>& message)
{
    if (!message)
        return {};
    return {.layers = {{*message}}, .presence = 1};
}

MessageAnimator::MessageAnimator(TimerEngine& engine, Clock clock)
    : m_engine(engine)
    , m_clock(std::move(clock))
    , m_message(engine.snapshot.value().message)
    , m_start(MessageTransition::settled(m_message))
    , m_snapshotNotifier(engine.snapshot.addNotifier([this] { begin(); }))
{
    m_frameTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_frameTimer, &QTimer::timeout, this, &MessageAnimator::frame);
}

MessageTransition MessageAnimator::current() const
{
    if (!isRunning())
        return MessageTransition::settled(m_message);
    const double moved = progress();
    MessageTransition transition {.presence = between(m_start.presence, m_message ? 1 : 0, moved)};
    // A text that comes back goes on from where it is.
    double opacityBefore = 0;
    for (const MessageLayer& layer : m_start.layers) {
        if (layer.text == m_message)
            opacityBefore = layer.opacity;
        else if (layer.opacity * (1 - moved) >= leastVisible)
            transition.layers.append({layer.text, layer.opacity * (1 - moved)});
    }
    if (m_message)
        transition.layers.append({*m_message, between(opacityBefore, 1, moved)});
    return transition;
}

void MessageAnimator::frame()
{
    const bool isAtRest = progress() >= 1;
    if (isAtRest)
        m_frameTimer.stop();
    Q_EMIT moved();
    if (isAtRest)
        forgetMessagesBut(current().layers);
}

void MessageAnimator::begin()
{
    const std::optional<QString>& message = m_engine.snapshot.value().message;
    if (message == m_message)
        return;
    m_start = current();
    m_message = message;
    m_startedAt = m_clock();
    m_frameTimer.start(frameInterval());
    Q_EMIT moved();
    forgetMessagesBut(current().layers);
}

double MessageAnimator::progress() const
{
    const auto elapsed = std::chrono::duration<double>(m_clock() - m_startedAt);
    // A clock that is set back must not keep the message from arriving for hours.
    const double share = elapsed / duration;
    if (share < 0)
        return 1;
    static const QEasingCurve easeInOut(QEasingCurve::InOutSine);
    return easeInOut.valueForProgress(std::min(share, 1.0));
}

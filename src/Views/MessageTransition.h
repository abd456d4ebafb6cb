#pragma once

#include "Model/TimerEngine.h"
#include "Support/Clock.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>
#include <optional>

/// A text that is seen, and how much of it.
struct MessageLayer {
    QString text;
    double opacity = 1;

    bool operator==(const MessageLayer&) const = default;
};

/// The message on its way in, out, or from one text to another: what a picture shows of it at one
/// moment.
struct MessageTransition {
    /// The text that comes or stays is the last one, those before it leave.
    QList<MessageLayer> layers = {};
    /// How much room the message has taken from the time: 0 none, 1 all that it gets.
    double presence = 0;

    bool operator==(const MessageTransition&) const = default;

    /// Nothing moves: `message`, or no message, is shown as it is.
    [[nodiscard]] static MessageTransition settled(const std::optional<QString>& message);
};

/// Moves the message of an engine's snapshot in and out, over 0.3 s with ease in and out.
///
/// There is one for the whole program, so that every picture of the same moment is the same
/// picture.
class MessageAnimator : public QObject {
    Q_OBJECT

public:
    /// `engine` must outlive the animator.
    explicit MessageAnimator(TimerEngine& engine, Clock clock = systemClock());

    /// The transition as it stands now.
    [[nodiscard]] MessageTransition current() const;
    [[nodiscard]] bool isRunning() const { return m_frameTimer.isActive(); }

    /// What the frame timer calls, at the rate of the fastest display, while the message moves.
    void frame();

Q_SIGNALS:
    /// The message moves: at its start, with every frame, and when it has come to rest.
    void moved();

private:
    void begin();
    [[nodiscard]] double progress() const;

    TimerEngine& m_engine;
    Clock m_clock;
    std::optional<QString> m_message;
    /// What was shown when the message changed.
    MessageTransition m_start;
    Instant m_startedAt;
    QTimer m_frameTimer;
    QPropertyNotifier m_snapshotNotifier;
};

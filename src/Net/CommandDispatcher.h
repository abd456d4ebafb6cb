#pragma once

#include "Model/CueControlling.h"
#include "Model/TimerEngine.h"
#include "Net/Command.h"

#include <QPointer>

/// The one place where a remote command becomes an action on the engine or the running order.
class CommandDispatcher {
public:
    /// `engine` must outlive the dispatcher.
    explicit CommandDispatcher(TimerEngine& engine)
        : m_engine(engine)
    {
    }

    /// The running order; without one, cue commands do nothing.
    QPointer<CueControlling> cues;

    /// Writes the command to the log, then carries it out. A command that means nothing in the
    /// current state does nothing. Minutes whose seconds are not finite or do not fit 64 bits, and
    /// the most negative cue number, stop the process (see trap()).
    void dispatch(const Command& command);

private:
    void perform(const Command::Set& set);
    void perform(const Command::Go& go);
    void perform(const Command::Message& message);
    void perform(const Command::Cue& cue);
    void perform(Command::Action action);

    TimerEngine& m_engine;
};

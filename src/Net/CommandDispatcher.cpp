#include "Net/CommandDispatcher.h"

#include "Model/TimeText.h"
#include "Support/CheckedConversions.h"
#include "Support/ControlLog.h"

void CommandDispatcher::dispatch(const Command& command)
{
    qCInfo(controlLog).noquote() << "command" << command.description();
    std::visit([this](const auto& operation) { perform(operation); }, command.operation);
}

void CommandDispatcher::perform(const Command::Set& set)
{
    m_engine.setSeconds = secondsFromMinutes(set.minutes);
}

void CommandDispatcher::perform(const Command::Go& go)
{
    m_engine.setSeconds = secondsFromMinutes(go.minutes);
    m_engine.start(TimerEngine::RunOrigin::operatorRequest);
}

void CommandDispatcher::perform(const Command::Message& message)
{
    m_engine.setMessage(message.text);
}

void CommandDispatcher::perform(const Command::Cue& cue)
{
    if (cues)
        cues->load(checkedSubtract(cue.number, 1, "a cue's index"));
}

void CommandDispatcher::perform(Command::Action action)
{
    switch (action) {
    case Command::Action::start:
        m_engine.start(TimerEngine::RunOrigin::operatorRequest);
        break;
    case Command::Action::stop:
        m_engine.stop();
        break;
    case Command::Action::toggleClock:
        m_engine.setClock(m_engine.phase != TimerEngine::Phase::clock);
        break;
    case Command::Action::toggleBlackout:
        m_engine.toggleBlackout();
        break;
    case Command::Action::pause:
        m_engine.togglePause();
        break;
    case Command::Action::strobe:
        m_engine.strobe();
        break;
    case Command::Action::addMinute:
        m_engine.addMinute();
        break;
    case Command::Action::subtractMinute:
        m_engine.subtractMinute();
        break;
    case Command::Action::clearMessage:
        m_engine.setMessage(std::nullopt);
        break;
    case Command::Action::reset:
        m_engine.reset();
        break;
    case Command::Action::nextCue:
        if (cues)
            cues->next();
        break;
    case Command::Action::prevCue:
        if (cues)
            cues->previous();
        break;
    }
}

#include "Views/TransportButtons.h"

#include "Support/Follow.h"
#include "Views/Components/ConsoleStyle.h"

using namespace Qt::StringLiterals;

PauseButton::PauseButton(TimerEngine& engine, QWidget* parent)
    : TransportButton({}, TransportColor::orange, 17, parent)
    , m_phaseNotifier(follow(engine.phase, [this](TimerEngine::Phase phase) {
        setText(phase == TimerEngine::Phase::paused ? u"Resume"_s : u"Pause"_s);
    }))
{
    connect(this, &QAbstractButton::clicked, this, [&engine] { engine.togglePause(); });
}

StopButton::StopButton(TimerEngine& engine, QWidget* parent)
    : TransportButton(u"STOP"_s, TransportColor::red, 17, parent)
{
    connect(this, &QAbstractButton::clicked, this, [&engine] { engine.stop(); });
}

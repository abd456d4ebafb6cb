#pragma once

#include "Model/CueList.h"
#include "Views/Components/OneLineLabel.h"

#include <QLabel>
#include <QWidget>

/// Runs the running order: the current cue, or the first one while none is, and the transport.
class CueControls final : public QWidget {
public:
    /// Both must outlive the controls.
    CueControls(CueController& cues, TimerEngine& engine, QWidget* parent = nullptr);

private:
    [[nodiscard]] QLayout* makeTransport();
    void showCurrentCue();
    void go();

    CueController& m_cues;
    TimerEngine& m_engine;
    OneLineLabel m_title;
    QLabel m_duration;
    std::array<QPropertyNotifier, 2> m_notifiers;
};

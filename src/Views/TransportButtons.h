#pragma once

#include "Model/TimerEngine.h"
#include "Views/Components/TransportButton.h"

// The transport buttons that every mode with a countdown has. `engine` must outlive them.

/// "Pause", and "Resume" while the engine is paused.
class PauseButton final : public TransportButton {
public:
    explicit PauseButton(TimerEngine& engine, QWidget* parent = nullptr);

private:
    QPropertyNotifier m_phaseNotifier;
};

class StopButton final : public TransportButton {
public:
    explicit StopButton(TimerEngine& engine, QWidget* parent = nullptr);
};

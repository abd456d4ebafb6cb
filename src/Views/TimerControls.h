#pragma once

#include "Model/TimerEngine.h"
#include "Views/Components/MinutesField.h"

#include <QShortcut>
#include <QWidget>

#include <array>

/// Runs a countdown by hand: the minutes, the transport, and minutes that are often set.
///
/// The Return key starts the countdown as long as it is not typed into another field.
class TimerControls final : public QWidget {
public:
    /// In minutes.
    static constexpr std::array quickSets {5, 10, 20, 30, 60};

    /// `engine` must outlive the controls.
    explicit TimerControls(TimerEngine& engine, QWidget* parent = nullptr);

private:
    void go();
    [[nodiscard]] QWidget* makeTransport();
    [[nodiscard]] QWidget* makeQuickSets();

    TimerEngine& m_engine;
    MinutesField m_minutes;
    QShortcut m_returnKey;
};

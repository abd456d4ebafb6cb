#pragma once

#include "Model/AppSettings.h"
#include "Model/TimerEngine.h"
#include "Views/Components/GroupBox.h"

/// What can be on or off beside the countdown, one chip for each.
class StatesSection final : public GroupBox {
public:
    /// Both must outlive the section.
    StatesSection(TimerEngine& engine, AppSettings& settings, QWidget* parent = nullptr);

private:
    std::vector<QPropertyNotifier> m_notifiers;
};

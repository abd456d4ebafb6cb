#pragma once

#include "Model/AppSettings.h"
#include "Views/Components/GroupBox.h"

/// The colours of the audience picture, and when the time takes on the warning ones.
class AppearanceSection final : public GroupBox {
public:
    /// `settings` must outlive the section.
    explicit AppearanceSection(AppSettings& settings, QWidget* parent = nullptr);

private:
    [[nodiscard]] QWidget* makeWarnings(AppSettings& settings);

    std::vector<QPropertyNotifier> m_notifiers;
};

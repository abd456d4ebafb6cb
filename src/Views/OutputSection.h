#pragma once

#include "Model/AppSettings.h"
#include "Model/OutputRouter.h"
#include "Views/Components/GroupBox.h"
#include "Views/Components/Toggle.h"

#include <QLabel>
#include <QTimer>

/// Where the picture goes: to which displays, and to the network.
class OutputSection final : public GroupBox {
public:
    /// `settings` must outlive the section.
    explicit OutputSection(AppSettings& settings, QWidget* parent = nullptr);

    /// Lists these displays. Toggles that are there already stay, with the focus where it is.
    void showScreens(const QList<ScreenInfo>& screens);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void addScreenToggle();
    void choose(quint32 screen, bool isChosen);
    void showChoice();
    void showAddresses();

    AppSettings& m_settings;
    QList<ScreenInfo> m_screens;
    QVBoxLayout m_screenRows;
    std::vector<Toggle*> m_screenToggles;
    QLabel m_noScreens;
    QLabel m_controlAddress;
    QLabel m_displayAddress;
    QTimer m_addressTimer;
    std::vector<QPropertyNotifier> m_notifiers;
};

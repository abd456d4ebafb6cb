#pragma once

#include "Model/TimerEngine.h"
#include "Views/Components/EntryField.h"
#include "Views/Components/GroupBox.h"

#include <QPushButton>

/// Where the operator writes the message for the audience, and shows and hides it. What is written
/// remains the operator's own, whatever message others send.
class MessageSection final : public GroupBox {
public:
    /// `engine` must outlive the section.
    explicit MessageSection(TimerEngine& engine, QWidget* parent = nullptr);

private:
    void send();
    void showOrHide();
    void clear();

    TimerEngine& m_engine;
    EntryField m_text;
    QPushButton m_showOrHide;
    QPushButton m_clear;
    QPropertyNotifier m_notifier;
};

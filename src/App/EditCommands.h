#pragma once

#include <QKeySequence>
#include <QString>
#include <QWidget>

#include <array>

/// What the field with the focus can do at this moment.
struct EditAbilities {
    bool undo = false;
    bool redo = false;
    bool cut = false;
    bool copy = false;
    bool paste = false;
    bool selectAll = false;
};

/// One of the commands that every field understands by its keys.
struct EditCommand {
    QString title;
    QKeySequence keys;
    bool EditAbilities::*isAble;
    bool beginsGroup = false;
};

/// In the order in which they are offered.
[[nodiscard]] const std::array<EditCommand, 6>& editCommands();

/// None for a widget without text to edit or to select, and for no widget.
[[nodiscard]] EditAbilities editAbilities(const QWidget* widget);

/// Has the widget do what it does when the command's keys are pressed in it.
void performEdit(const EditCommand& command, QWidget& widget);

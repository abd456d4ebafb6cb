#include "App/EditCommands.h"

#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QTextDocument>
#include <QTextEdit>

using namespace Qt::StringLiterals;

namespace {

bool hasTextToPaste()
{
    const QMimeData* content = QGuiApplication::clipboard()->mimeData();
    return content != nullptr && content->hasText();
}

EditAbilities abilitiesOf(const QLineEdit& field)
{
    const bool canChange = !field.isReadOnly();
    const bool canRead = field.hasSelectedText() && field.echoMode() == QLineEdit::Normal;
    return {
        .undo = field.isUndoAvailable(),
        .redo = field.isRedoAvailable(),
        .cut = canChange && canRead,
        .copy = canRead,
        .paste = canChange && hasTextToPaste(),
        .selectAll = !field.text().isEmpty(),
    };
}

EditAbilities abilitiesOf(const QTextEdit& field)
{
    const bool canChange = !field.isReadOnly();
    const bool hasSelection = field.textCursor().hasSelection();
    return {
        .undo = canChange && field.document()->isUndoAvailable(),
        .redo = canChange && field.document()->isRedoAvailable(),
        .cut = canChange && hasSelection,
        .copy = hasSelection,
        .paste = field.canPaste(),
        .selectAll = !field.document()->isEmpty(),
    };
}

EditAbilities abilitiesOf(const QLabel& label)
{
    const bool isSelectable = label.textInteractionFlags().testAnyFlags(
        Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return {.copy = label.hasSelectedText(), .selectAll = isSelectable};
}

} // namespace

const std::array<EditCommand, 6>& editCommands()
{
    static const std::array<EditCommand, 6> commands {{
        {u"Undo"_s, Qt::CTRL | Qt::Key_Z, &EditAbilities::undo},
        {u"Redo"_s, Qt::CTRL | Qt::SHIFT | Qt::Key_Z, &EditAbilities::redo},
        {u"Cut"_s, Qt::CTRL | Qt::Key_X, &EditAbilities::cut, true},
        {u"Copy"_s, Qt::CTRL | Qt::Key_C, &EditAbilities::copy},
        {u"Paste"_s, Qt::CTRL | Qt::Key_V, &EditAbilities::paste},
        {u"Select All"_s, Qt::CTRL | Qt::Key_A, &EditAbilities::selectAll},
    }};
    return commands;
}

EditAbilities editAbilities(const QWidget* widget)
{
    if (const auto* line = qobject_cast<const QLineEdit*>(widget))
        return abilitiesOf(*line);
    if (const auto* text = qobject_cast<const QTextEdit*>(widget))
        return abilitiesOf(*text);
    if (const auto* label = qobject_cast<const QLabel*>(widget))
        return abilitiesOf(*label);
    return {};
}

void performEdit(const EditCommand& command, QWidget& widget)
{
    const QKeyCombination keys = command.keys[0];
    QKeyEvent press(QEvent::KeyPress, keys.key(), keys.keyboardModifiers());
    QApplication::sendEvent(&widget, &press);
}

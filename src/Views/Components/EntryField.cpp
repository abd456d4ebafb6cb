#include "Views/Components/EntryField.h"

#include <QKeyEvent>

namespace {

bool isReturn(const QKeyEvent& event)
{
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

} // namespace

EntryField::EntryField(const QString& placeholder, QWidget* parent)
    : QLineEdit(parent)
{
    setPlaceholderText(placeholder);
    setAccessibleName(placeholder);
}

bool EntryField::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride && isReturn(static_cast<QKeyEvent&>(*event))) {
        event->accept();
        return true;
    }
    return QLineEdit::event(event);
}

void EntryField::keyPressEvent(QKeyEvent* event)
{
    // A key that is held down is one Return.
    if (!isReturn(*event) || !event->isAutoRepeat())
        QLineEdit::keyPressEvent(event);
    if (isReturn(*event))
        event->accept();
}

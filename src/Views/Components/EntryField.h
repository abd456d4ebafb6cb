#pragma once

#include <QLineEdit>

/// A text field whose Return is its own: no shortcut of the window sees it.
class EntryField : public QLineEdit {
public:
    /// The placeholder is the accessible name as well.
    explicit EntryField(const QString& placeholder, QWidget* parent = nullptr);

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
};

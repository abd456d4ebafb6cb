#pragma once

#include <QVBoxLayout>
#include <QWidget>

/// Controls that belong together, in a box with rounded corners, with a heading above it where it
/// has a title.
class GroupBox : public QWidget {
public:
    /// An empty title is no heading.
    explicit GroupBox(const QString& title, QWidget* parent = nullptr);

    /// The column inside the box, 8 points between its rows.
    [[nodiscard]] QVBoxLayout& column() { return *m_column; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QVBoxLayout* m_column;
};

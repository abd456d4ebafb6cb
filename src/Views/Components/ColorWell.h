#pragma once

#include <QAbstractButton>
#include <QColor>

class QColorDialog;

/// Shows a colour, and opens a panel to choose another. Opacity is shown but not offered.
///
/// The panel has no "OK": each colour that is touched in it is chosen at once. It leaves the rest
/// of the program alone while it is open.
class ColorWell final : public QAbstractButton {
    Q_OBJECT

public:
    /// `name` is the accessible name and the panel's title.
    explicit ColorWell(const QString& name, QWidget* parent = nullptr);

    /// Also moves an open panel there. Emits nothing.
    void setColor(const QColor& color);

    [[nodiscard]] QSize sizeHint() const override;

Q_SIGNALS:
    /// The operator has chosen a colour, of whatever colour model.
    void chosen(const QColor& color);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void openPanel();
    void choose(const QColor& color);

    QColor m_color;
    /// Made at the first click, and kept.
    QColorDialog* m_panel = nullptr;
};

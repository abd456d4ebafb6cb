#pragma once

#include <QAbstractButton>

/// A small filled circle to click: one ready colour.
class ColorSwatch final : public QAbstractButton {
    Q_OBJECT

public:
    /// `name` is the tooltip and the accessible name.
    ColorSwatch(const QString& name, const QColor& color, QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_color;
};

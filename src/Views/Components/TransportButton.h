#pragma once

#include <QAbstractButton>
#include <QColor>

/// A large button of one colour for what runs the show. It takes the width it is given.
///
/// Its text is white, and shrinks to half its size before it is cut.
class TransportButton : public QAbstractButton {
public:
    /// `fontSize` in points of the screen.
    TransportButton(
        const QString& title, const QColor& tint, int fontSize, QWidget* parent = nullptr);

    /// Shows a symbol (see paintSymbol) in place of the title, which remains the accessible name.
    void setSymbol(const QString& name);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_tint;
    int m_fontSize;
    QString m_symbol;
};

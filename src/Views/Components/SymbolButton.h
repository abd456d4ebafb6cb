#pragma once

#include <QAbstractButton>

/// A symbol (see paintSymbol) to click, without a border. Its contents margins are around the
/// symbol and can be clicked, too.
class SymbolButton final : public QAbstractButton {
public:
    /// `name` is the accessible name; `size` is that of the symbol, in points of the screen.
    SymbolButton(const QString& symbol, const QString& name, int size, QWidget* parent = nullptr);

    void setSymbol(const QString& symbol);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_symbol;
    int m_size;
};

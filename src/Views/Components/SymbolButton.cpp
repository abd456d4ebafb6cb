#include "Views/Components/SymbolButton.h"

#include "Support/Symbols.h"
#include "Views/Components/ConsoleStyle.h"

#include <QPainter>

namespace {

/// Around the symbol: a larger target, and room for the ring of the focus.
constexpr int margin = 4;

} // namespace

SymbolButton::SymbolButton(const QString& symbol, const QString& name, int size, QWidget* parent)
    : QAbstractButton(parent)
    , m_symbol(symbol)
    , m_size(size)
{
    setAccessibleName(name);
    setContentsMargins(margin, margin, margin, margin);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void SymbolButton::setSymbol(const QString& symbol)
{
    m_symbol = symbol;
    update();
}

QSize SymbolButton::sizeHint() const
{
    return QSize(m_size, m_size).grownBy(contentsMargins());
}

void SymbolButton::enterEvent(QEnterEvent* event)
{
    QAbstractButton::enterEvent(event);
    update();
}

void SymbolButton::leaveEvent(QEvent* event)
{
    QAbstractButton::leaveEvent(event);
    update();
}

void SymbolButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor text = palette().color(QPalette::WindowText);
    const QColor secondary = secondaryColor(palette());
    if (isDown()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(withOpacity(secondary, 0.30));
        painter.drawRoundedRect(rect(), 5, 5);
    }
    if (!isEnabled())
        painter.setOpacity(0.35);
    paintSymbol(painter, m_symbol, contentsRect(), isEnabled() && underMouse() ? text : secondary);
    if (showsFocus(*this))
        drawFocusRing(painter, rect(), 6, palette());
}

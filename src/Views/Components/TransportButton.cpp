#include "Views/Components/TransportButton.h"

#include "Support/Fonts.h"
#include "Support/Symbols.h"
#include "Views/Components/ConsoleStyle.h"
#include "Views/Components/ShrinkingText.h"

#include <QPainter>

namespace {

constexpr int buttonHeight = 46;
constexpr double radius = 6;
constexpr double padding = 5;

} // namespace

TransportButton::TransportButton(
    const QString& title, const QColor& tint, int fontSize, QWidget* parent)
    : QAbstractButton(parent)
    , m_tint(tint)
    , m_fontSize(fontSize)
{
    setText(title);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void TransportButton::setSymbol(const QString& name)
{
    m_symbol = name;
    update();
}

QSize TransportButton::sizeHint() const
{
    return {buttonHeight, buttonHeight};
}

void TransportButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(withOpacity(m_tint, isDown() ? 0.65 : 1));
    painter.drawRoundedRect(rect(), radius, radius);

    const QRectF content = QRectF(rect()).adjusted(padding, 0, -padding, 0);
    painter.setPen(Qt::white);
    if (m_symbol.isEmpty()) {
        drawShrinkingText(painter, content, text(), Fonts::system(m_fontSize, QFont::Bold), 0.5);
    } else {
        QRectF box(0, 0, m_fontSize * 1.2, m_fontSize * 1.2);
        box.moveCenter(content.center());
        paintSymbol(painter, m_symbol, box, Qt::white);
    }
    if (showsFocus(*this)) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(Qt::white, 2));
        painter.drawRoundedRect(QRectF(rect()).adjusted(3, 3, -3, -3), radius - 3, radius - 3);
    }
}

#include "Views/Components/ColorSwatch.h"

#include "Views/Components/ConsoleStyle.h"

#include <QPainter>

namespace {

constexpr double diameter = 14;
/// Around the circle: room for the ring that shows the focus, and a larger target.
constexpr double margin = 3;

} // namespace

ColorSwatch::ColorSwatch(const QString& name, const QColor& color, QWidget* parent)
    : QAbstractButton(parent)
    , m_color(color)
{
    setToolTip(name);
    setAccessibleName(name);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAttribute(Qt::WA_Hover);
}

QSize ColorSwatch::sizeHint() const
{
    return QSizeF(diameter + 2 * margin, diameter + 2 * margin).toSize();
}

void ColorSwatch::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QRectF circle(0, 0, diameter, diameter);
    circle.moveCenter(QRectF(rect()).center());
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_color);
    painter.drawEllipse(circle);

    const double opacity = underMouse() || isDown() ? 1 : 0.5;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(withOpacity(secondaryColor(palette()), opacity));
    painter.drawEllipse(circle.adjusted(0.5, 0.5, -0.5, -0.5));
    if (showsFocus(*this))
        drawFocusRing(painter, rect(), diameter / 2 + margin, palette());
}

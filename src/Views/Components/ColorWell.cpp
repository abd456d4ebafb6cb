#include "Views/Components/ColorWell.h"

#include "Views/Components/ConsoleStyle.h"

#include <QColorDialog>
#include <QPainter>
#include <QSignalBlocker>

namespace {

constexpr QSize wellSize(44, 22);
constexpr double radius = 5;

} // namespace

ColorWell::ColorWell(const QString& name, QWidget* parent)
    : QAbstractButton(parent)
{
    setAccessibleName(name);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAttribute(Qt::WA_Hover);
    connect(this, &QAbstractButton::clicked, this, &ColorWell::openPanel);
}

QSize ColorWell::sizeHint() const
{
    return wellSize;
}

void ColorWell::setColor(const QColor& color)
{
    if (color == m_color)
        return;
    m_color = color;
    // What came from the panel itself must not move it: its hue would be lost with the first gray.
    if (m_panel != nullptr && m_panel->currentColor().rgb() != color.rgb()) {
        const QSignalBlocker blocker(m_panel);
        m_panel->setCurrentColor(color);
    }
    update();
}

void ColorWell::openPanel()
{
    if (m_panel == nullptr) {
        m_panel = new QColorDialog(m_color, this);
        // The system's own panels all have buttons.
        m_panel->setOptions(QColorDialog::NoButtons | QColorDialog::DontUseNativeDialog);
        m_panel->setWindowTitle(accessibleName());
        connect(m_panel, &QColorDialog::currentColorChanged, this, &ColorWell::choose);
    }
    m_panel->show();
    m_panel->raise();
    m_panel->activateWindow();
}

void ColorWell::choose(const QColor& color)
{
    m_color = color;
    update();
    Q_EMIT chosen(color);
}

void ColorWell::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF well = QRectF(rect()).adjusted(2, 2, -2, -2);
    const double opacity = underMouse() || isDown() ? 1 : 0.5;
    drawRoundedBox(
        painter, well, radius - 2, m_color, withOpacity(secondaryColor(palette()), opacity));
    if (showsFocus(*this))
        drawFocusRing(painter, rect(), radius, palette());
}

#include "Views/Components/ColorWell.h"

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
    setFocusPolicy(Qt::StrongFocus);
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
    if (m_panel != nullptr && m_panel->currentColor() != color) {
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
    QRectF well = QRectF(rect()).adjusted(2.5, 2.5, -2.5, -2.5);
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.setBrush(m_color);
    painter.drawRoundedRect(well, radius - 2, radius - 2);
    if (!hasFocus())
        return;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
    well.adjust(-1.5, -1.5, 1.5, 1.5);
    painter.drawRoundedRect(well, radius, radius);
}

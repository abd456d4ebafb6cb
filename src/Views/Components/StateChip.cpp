#include "Views/Components/StateChip.h"

#include "Support/Fonts.h"
#include "Views/Components/ConsoleStyle.h"
#include "Views/Components/ShrinkingText.h"

#include <QPainter>

namespace {

constexpr int buttonHeight = 30;
constexpr double radius = 6;
constexpr double padding = 4;

} // namespace

StateChip::StateChip(const QString& label, Kind kind, QWidget* parent)
    : QAbstractButton(parent)
{
    setText(label);
    setCheckable(kind == Kind::toggle);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize StateChip::sizeHint() const
{
    return {buttonHeight, buttonHeight};
}

void StateChip::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor secondary = secondaryColor(palette());
    if (isChecked()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(accentColor(palette()));
        painter.drawRoundedRect(rect(), radius, radius);
    } else {
        drawRoundedBox(painter, rect(), radius, withOpacity(secondary, isDown() ? 0.30 : 0.18),
            withOpacity(secondary, 0.25));
    }
    painter.setPen(isChecked() ? QColor(Qt::white) : palette().color(QPalette::WindowText));
    drawShrinkingText(painter, QRectF(rect()).adjusted(padding, 0, -padding, 0), text(),
        Fonts::system(13, QFont::Medium), 0.7);
    if (!showsFocus(*this))
        return;
    // On a chip that is on, the accent colour would not be seen.
    if (isChecked()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(Qt::white, 2));
        painter.drawRoundedRect(QRectF(rect()).adjusted(3, 3, -3, -3), radius - 3, radius - 3);
    } else {
        drawFocusRing(painter, rect(), radius, palette());
    }
}

#include "Views/Components/MinutesField.h"

#include "Support/Fonts.h"
#include "Views/Components/ConsoleStyle.h"

#include <QPaintEvent>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

constexpr int radius = 6;

}

MinutesField::MinutesField(QWidget* parent)
    : EntryField(u"Min"_s, parent)
{
    setFrame(false);
    setFont(Fonts::system(22, QFont::DemiBold));
    setAccessibleName(u"Minutes"_s);
    setFixedSize(88, 46);
    setTextMargins(10, 0, 8, 0);
}

void MinutesField::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    const QColor base = palette().color(QPalette::Base);
    // A caret that blinks wants no outline, which takes the longest to draw.
    if (rect().marginsRemoved({radius, radius, radius, radius}).contains(event->rect())) {
        painter.fillRect(event->rect(), base);
    } else {
        painter.setRenderHint(QPainter::Antialiasing);
        drawRoundedBox(painter, rect(), radius, base, withOpacity(secondaryColor(palette()), 0.45));
        if (hasFocus())
            drawFocusRing(painter, rect(), radius, palette());
    }
    painter.end();
    EntryField::paintEvent(event);
}

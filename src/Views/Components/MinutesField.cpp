#include "Views/Components/MinutesField.h"

#include "Support/Fonts.h"
#include "Views/Components/ConsoleStyle.h"

#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

constexpr double radius = 6;

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
    painter.setRenderHint(QPainter::Antialiasing);
    drawRoundedBox(painter, rect(), radius, palette().color(QPalette::Base),
        withOpacity(secondaryColor(palette()), 0.45));
    if (hasFocus())
        drawFocusRing(painter, rect(), radius, palette());
    painter.end();
    EntryField::paintEvent(event);
}

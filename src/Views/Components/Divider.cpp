#include "Views/Components/Divider.h"

#include "Views/Components/ConsoleStyle.h"

#include <QPainter>

Divider::Divider(QWidget* parent)
    : QWidget(parent)
{
    setFixedHeight(1);
}

void Divider::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), withOpacity(secondaryColor(palette()), 0.30));
}

#include "Views/Components/Slider.h"

#include <QWheelEvent>

Slider::Slider(int lowest, int highest, QWidget* parent)
    : QSlider(Qt::Horizontal, parent)
{
    setRange(lowest, highest);
    setFocusPolicy(Qt::TabFocus);
}

void Slider::wheelEvent(QWheelEvent* event)
{
    event->ignore();
}

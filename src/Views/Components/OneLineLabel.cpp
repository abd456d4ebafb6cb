#include "Views/Components/OneLineLabel.h"

#include <QPainter>

OneLineLabel::OneLineLabel(const QString& text, QWidget* parent)
    : QLabel(text, parent)
{
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize OneLineLabel::sizeHint() const
{
    return {fontMetrics().horizontalAdvance(text()), fontMetrics().height()};
}

QSize OneLineLabel::minimumSizeHint() const
{
    return {0, fontMetrics().height()};
}

void OneLineLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    const QString line =
        fontMetrics().elidedText(text().simplified(), Qt::ElideRight, contentsRect().width());
    painter.drawText(contentsRect(), static_cast<int>(alignment()) | Qt::TextSingleLine, line);
}

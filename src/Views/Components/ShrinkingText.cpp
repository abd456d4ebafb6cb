#include "Views/Components/ShrinkingText.h"

#include "Support/TextLine.h"

#include <algorithm>

void drawShrinkingText(QPainter& painter, const QRectF& box, const QString& text, const QFont& font,
    double minimumScale)
{
    const TextLine whole(text, font);
    const double scale = std::clamp(box.width() / whole.width(), minimumScale, 1.0);
    const TextLine line = whole.elided(box.width() / scale + 0.01);
    painter.save();
    painter.translate(box.center());
    painter.scale(scale, scale);
    line.draw(painter, {-line.width() / 2, -line.height() / 2});
    painter.restore();
}

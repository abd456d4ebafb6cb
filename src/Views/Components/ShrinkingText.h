#pragma once

#include <QFont>
#include <QPainter>
#include <QString>

/// Draws one line in the middle of `box`, in the painter's pen. A line that is too wide is drawn
/// smaller, down to `minimumScale` of its size; what is still too wide ends in an ellipsis.
void drawShrinkingText(QPainter& painter, const QRectF& box, const QString& text, const QFont& font,
    double minimumScale);

#pragma once

#include <QColor>
#include <QPainter>
#include <QString>

/// Draws one of the program's own symbols, resources/symbols/NAME.svg, as large as `box` takes it
/// with its shape kept, in its middle and in one colour, whose opacity counts.
///
/// The painter may move and scale. A name that no symbol has draws nothing and is logged once.
///
/// Tinted pictures are kept: a symbol that is drawn again in the same size and colour costs what an
/// image of its size costs. For the main thread.
void paintSymbol(QPainter& painter, const QString& name, const QRectF& box, const QColor& tint);

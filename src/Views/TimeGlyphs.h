#pragma once

#include <QPainter>

/// Draws a time from pictures of its digits, kept from one time to the next: at the size of a stage
/// display that takes a fifth of the time of filling their outlines anew, and leaves other cores
/// alone.
///
/// `start` is where the baseline begins, in the painter's units; font and pen are the painter's.
/// Every glyph stands on whole pixels of the device, so that a digit looks the same wherever it
/// stands. False, with nothing drawn, when the text has more than digits and the signs around them,
/// or when the painter turns, shears or stretches.
[[nodiscard]] bool paintTimeGlyphs(QPainter& painter, const QPointF& start, const QString& text);

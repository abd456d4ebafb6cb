#pragma once

#include <QRect>

/// Whether a program can place its windows; on Wayland it cannot.
[[nodiscard]] bool windowsAreOursToPlace();

// Where the console's frame lies on the visible area of a screen. All in points.

/// At the top right, and not so high that no gap remains below.
[[nodiscard]] QRect dockedFrame(const QRect& visibleArea, const QSize& frameSize);

/// With a new height, held at its left and top edges: it grows downwards, and moves only where it
/// would leave the area or the gap below.
[[nodiscard]] QRect resizedFrame(const QRect& frame, const QRect& visibleArea, int height);

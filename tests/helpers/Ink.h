#pragma once

#include <QImage>

/// The smallest rectangle around what has another colour than the picture's first pixel, within
/// `area`.
inline QRect ink(const QImage& image, const QRect& area)
{
    const QRgb background = image.pixel(0, 0);
    QRect bounds;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (image.pixel(x, y) != background)
                bounds |= QRect(x, y, 1, 1);
        }
    }
    return bounds;
}

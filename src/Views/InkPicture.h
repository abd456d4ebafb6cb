#pragma once

#include <QImage>
#include <QPainter>
#include <QPoint>
#include <QRectF>

#include <functional>
#include <optional>

/// Something drawn once, in the pixels of a device, to be painted many times.
struct InkPicture {
    QImage image;
    /// From where the drawing has its origin, in pixels of the device.
    QPoint offset;

    /// `draw` leaves ink within `ink`, in its own units; a unit takes `scale` pixels.
    [[nodiscard]] static InkPicture of(
        const QRectF& ink, double scale, const std::function<void(QPainter&)>& draw);

    /// Paints it with its origin at the whole pixel of the device that is nearest to a point in
    /// the painter's units.
    void paint(QPainter& painter, const QPointF& origin) const;
};

/// How many pixels of the device a unit of the painter takes. Nothing when the painter turns,
/// shears, stretches or mirrors: no picture can stand in for drawing then.
[[nodiscard]] std::optional<double> deviceScale(const QPainter& painter);

#include "Views/InkPicture.h"

InkPicture InkPicture::of(
    const QRectF& ink, double scale, const std::function<void(QPainter&)>& draw)
{
    // Antialiasing takes a pixel more.
    const QRect area =
        QRectF(ink.topLeft() * scale, ink.size() * scale).toAlignedRect().adjusted(-1, -1, 1, 1);
    QImage image(area.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    painter.translate(-area.topLeft());
    painter.scale(scale, scale);
    draw(painter);
    // An image that is being painted on would be copied pixel by pixel.
    painter.end();
    return {image, area.topLeft()};
}

void InkPicture::paint(QPainter& painter, const QPointF& origin) const
{
    const QTransform toDevice = painter.deviceTransform();
    painter.save();
    painter.setTransform(toDevice.inverted(), true);
    painter.drawImage(toDevice.map(origin).toPoint() + offset, image);
    painter.restore();
}

std::optional<double> deviceScale(const QPainter& painter)
{
    const QTransform toDevice = painter.deviceTransform();
    const double scale = toDevice.m11();
    if (toDevice.type() > QTransform::TxScale || scale <= 0
        || !qFuzzyCompare(scale, toDevice.m22()))
        return std::nullopt;
    return scale;
}

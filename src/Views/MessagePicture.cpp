#include "Views/MessagePicture.h"

#include "Views/InkPicture.h"
#include "Views/MessageLayout.h"

#include <QCache>

#include <algorithm>
#include <memory>

namespace {

constexpr int messagesInUse = 16;
/// Two long messages at 3840 × 2160, one taking the place of the other, and at smaller sizes.
constexpr qsizetype mostBytes = 64 << 20;
/// Of one picture. A message that fills its box at 3840 × 2160 has 4.5 million.
constexpr double mostPixels = 5e6;

/// A message in a box of some size.
struct MessageKey {
    QString text;
    QSizeF box;
    double largestSize = 0;

    bool operator==(const MessageKey&) const = default;
};

size_t qHash(const MessageKey& key, size_t seed = 0)
{
    return qHashMulti(seed, key.text, key.box.width(), key.box.height(), key.largestSize);
}

/// What it looks like in pixels of a device.
struct PictureKey {
    MessageKey message;
    double scale = 1;
    quint64 color = 0;

    bool operator==(const PictureKey&) const = default;
};

size_t qHash(const PictureKey& key, size_t seed = 0)
{
    return qHashMulti(seed, key.message, key.scale, key.color);
}

int fitCount = 0;

/// Kept as well: fitting a message takes as long as drawing it. Valid until the next call.
const MessageLayout& messageLayout(const MessageKey& key)
{
    static QCache<MessageKey, MessageLayout> cache(messagesInUse);

    if (const MessageLayout* known = cache.object(key))
        return *known;
    ++fitCount;
    auto layout =
        std::make_unique<MessageLayout>(key.text, key.box, 0.05 * key.largestSize, key.largestSize);
    const MessageLayout& result = *layout;
    cache.insert(key, layout.release());
    return result;
}

/// From the corner of the message's box. A null image when it would be too large to keep: of a
/// large box, or with marks piled up far beyond it.
InkPicture drawPicture(const PictureKey& key, const QColor& color)
{
    const auto isTooLarge = [&](const QSizeF& size) {
        return size.width() * size.height() * key.scale * key.scale > mostPixels;
    };
    if (isTooLarge(key.message.box))
        return {};
    const MessageLayout& layout = messageLayout(key.message);
    const QRectF ink = layout.inkRect();
    if (isTooLarge(ink.size()))
        return {};
    return InkPicture::of(ink, key.scale, [&](QPainter& painter) {
        painter.setPen(color);
        layout.draw(painter, {});
    });
}

QCache<PictureKey, InkPicture>& pictures()
{
    static QCache<PictureKey, InkPicture> cache(mostBytes);
    return cache;
}

InkPicture picture(const PictureKey& key, const QColor& color)
{
    if (const InkPicture* known = pictures().object(key))
        return *known;
    InkPicture drawn = drawPicture(key, color);
    if (!drawn.image.isNull())
        pictures().insert(
            key, std::make_unique<InkPicture>(drawn).release(), drawn.image.sizeInBytes());
    return drawn;
}

} // namespace

void paintMessage(
    QPainter& painter, const QRectF& box, double largestSize, const MessageLayer& message)
{
    if (message.text.isEmpty() || message.opacity <= 0)
        return;
    const MessageKey key {message.text, box.size(), largestSize};
    // Letters and marks that lie upon each other do not shine through each other.
    QColor color = painter.pen().color();
    const double opacity = color.alphaF();
    color.setAlphaF(1);
    InkPicture drawn;
    if (const auto scale = deviceScale(painter))
        drawn = picture({key, *scale, color.rgba64()}, color);
    painter.save();
    painter.setOpacity(painter.opacity() * message.opacity);
    if (drawn.image.isNull()) {
        messageLayout(key).draw(painter, box.topLeft());
    } else {
        painter.setOpacity(painter.opacity() * opacity);
        drawn.paint(painter, box.topLeft());
    }
    painter.restore();
}

void forgetMessagesBut(const QList<MessageLayer>& shown)
{
    for (const PictureKey& key : pictures().keys()) {
        if (std::ranges::find(shown, key.message.text, &MessageLayer::text) == shown.end())
            pictures().remove(key);
    }
}

int messageFitCount()
{
    return fitCount;
}

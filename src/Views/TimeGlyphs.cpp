#include "Views/TimeGlyphs.h"

#include <QCache>
#include <QFontMetricsF>
#include <QImage>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// One character, tinted, and where its picture lies from its place on the baseline.
struct Glyph {
    QImage picture;
    QPoint offset;
};

struct GlyphKey {
    QChar character;
    quint64 color = 0;
    double scale = 1;
    QFont font;

    bool operator==(const GlyphKey&) const = default;
};

size_t qHash(const GlyphKey& key, size_t seed = 0)
{
    return qHashMulti(seed, key.character, key.color, key.scale, key.font);
}

Glyph drawGlyph(const GlyphKey& key, const QColor& color)
{
    const QRectF ink = QFontMetricsF(key.font).tightBoundingRect(key.character);
    const QRect area = QRectF(ink.topLeft() * key.scale, ink.size() * key.scale)
                           .toAlignedRect()
                           .adjusted(-1, -1, 1, 1);
    QImage picture(area.size(), QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    painter.translate(-area.topLeft());
    painter.scale(key.scale, key.scale);
    painter.setFont(key.font);
    painter.setPen(color);
    painter.drawText(QPointF(), key.character);
    return {picture, area.topLeft()};
}

Glyph glyph(const GlyphKey& key, const QColor& color)
{
    // All digits at 3840 × 2160; at smaller sizes those of several displays.
    constexpr qsizetype mostBytes = 20 << 20;
    static QCache<GlyphKey, Glyph> cache(mostBytes);

    if (const Glyph* known = cache.object(key))
        return *known;
    const Glyph drawn = drawGlyph(key, color);
    cache.insert(key, std::make_unique<Glyph>(drawn).release(), drawn.picture.sizeInBytes());
    return drawn;
}

bool hasOnlyKnownGlyphs(const QString& text)
{
    return std::ranges::all_of(
        text, [](QChar character) { return u"0123456789:+-"_s.contains(character); });
}

} // namespace

bool paintTimeGlyphs(QPainter& painter, const QPointF& start, const QString& text)
{
    const QTransform toDevice = painter.deviceTransform();
    const double scale = toDevice.m11();
    if (!hasOnlyKnownGlyphs(text) || toDevice.type() > QTransform::TxScale || scale <= 0
        || !qFuzzyCompare(scale, toDevice.m22()))
        return false;

    const QFont font = painter.font();
    const QColor color = painter.pen().color();
    const double cell = QFontMetricsF(font).horizontalAdvance(u'0');
    painter.save();
    painter.setTransform(toDevice.inverted(), true);
    QPointF position = start;
    for (const QChar character : text) {
        const Glyph drawn = glyph({character, color.rgba64(), scale, font}, color);
        painter.drawImage(toDevice.map(position).toPoint() + drawn.offset, drawn.picture);
        position.rx() += cell;
    }
    painter.restore();
    return true;
}

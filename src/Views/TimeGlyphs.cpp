#include "Views/TimeGlyphs.h"

#include "Views/InkPicture.h"

#include <QCache>
#include <QFontMetricsF>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// One character, tinted, from its place on the baseline.
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

InkPicture drawGlyph(const GlyphKey& key, const QColor& color)
{
    const QRectF ink = QFontMetricsF(key.font).tightBoundingRect(key.character);
    return InkPicture::of(ink, key.scale, [&](QPainter& painter) {
        painter.setFont(key.font);
        painter.setPen(color);
        painter.drawText(QPointF(), key.character);
    });
}

InkPicture glyph(const GlyphKey& key, const QColor& color)
{
    // All digits at 3840 × 2160; at smaller sizes those of several displays.
    constexpr qsizetype mostBytes = 20 << 20;
    static QCache<GlyphKey, InkPicture> cache(mostBytes);

    if (const InkPicture* known = cache.object(key))
        return *known;
    InkPicture drawn = drawGlyph(key, color);
    cache.insert(key, std::make_unique<InkPicture>(drawn).release(), drawn.image.sizeInBytes());
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
    const std::optional<double> scale = deviceScale(painter);
    if (!scale || !hasOnlyKnownGlyphs(text))
        return false;

    const QFont font = painter.font();
    const QColor color = painter.pen().color();
    const double cell = QFontMetricsF(font).horizontalAdvance(u'0');
    QPointF position = start;
    for (const QChar character : text) {
        glyph({character, color.rgba64(), *scale, font}, color).paint(painter, position);
        position.rx() += cell;
    }
    return true;
}

#include "Support/Symbols.h"

#include "Support/ControlLog.h"

#include <QCache>
#include <QFile>
#include <QHash>
#include <QImage>
#include <QSvgRenderer>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

struct PictureKey {
    QString name;
    QRgba64 tint;
    /// In pixels. The place is that within the picture's first pixel.
    QRectF box;

    bool operator==(const PictureKey&) const = default;
};

size_t qHash(const PictureKey& key, size_t seed = 0)
{
    return qHashMulti(seed, key.name, static_cast<quint64>(key.tint), key.box.x(), key.box.y(),
        key.box.width(), key.box.height());
}

/// Null for a name that no symbol has.
QSvgRenderer* renderer(const QString& name)
{
    static QHash<QString, std::shared_ptr<QSvgRenderer>> renderers;
    const auto known = renderers.constFind(name);
    if (known != renderers.cend())
        return known->get();
    std::shared_ptr<QSvgRenderer> made;
    const QString file = u":/symbols/%1.svg"_s.arg(name);
    if (QFile::exists(file))
        made = std::make_shared<QSvgRenderer>(file);
    else
        qCCritical(controlLog, "There is no symbol %s", qUtf8Printable(name));
    return renderers.insert(name, made)->get();
}

QRectF fitted(const QSizeF& size, const QRectF& box)
{
    QRectF result({}, size.scaled(box.size(), Qt::KeepAspectRatio));
    result.moveCenter(box.center());
    return result;
}

QImage drawPicture(QSvgRenderer& symbol, const PictureKey& key)
{
    QImage picture(key.box.toAlignedRect().size(), QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    symbol.render(&painter, key.box);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(picture.rect(), QColor(key.tint));
    return picture;
}

QImage picture(QSvgRenderer& symbol, const PictureKey& key)
{
    constexpr qsizetype mostBytes = 4 << 20;
    static QCache<PictureKey, QImage> cache(mostBytes);

    if (const QImage* known = cache.object(key))
        return *known;
    QImage drawn = drawPicture(symbol, key);
    cache.insert(key, std::make_unique<QImage>(drawn).release(), drawn.sizeInBytes());
    return drawn;
}

} // namespace

void paintSymbol(QPainter& painter, const QString& name, const QRectF& box, const QColor& tint)
{
    QSvgRenderer* symbol = renderer(name);
    if (symbol == nullptr || box.isEmpty())
        return;
    const QTransform toDevice = painter.deviceTransform();
    const QRectF place = toDevice.mapRect(fitted(symbol->viewBoxF().size(), box));
    const QPoint corner = place.toAlignedRect().topLeft();
    const PictureKey key {name, tint.rgba64(), place.translated(-corner)};
    painter.save();
    painter.setTransform(toDevice.inverted(), true);
    painter.drawImage(corner, picture(*symbol, key));
    painter.restore();
}

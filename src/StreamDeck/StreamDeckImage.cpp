#include "StreamDeck/StreamDeckImage.h"

#include "Support/ControlLog.h"
#include "Support/Fonts.h"
#include "Support/Symbols.h"
#include "Support/TextLine.h"

#include <QBuffer>
#include <QImageWriter>
#include <QPainter>
#include <QtEndian>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace StreamDeckImage {

namespace {

/// What text is measured at, whatever size it is drawn at: it scales evenly.
constexpr int layoutSize = 100;
/// What a division may leave over, in pixels.
constexpr double rounding = 1e-6;

/// The rooms of a key, from the bottom to the top: subtitle, title, symbol.
class Bands {
public:
    Bands(const KeyFace& face, int pixels)
        : m_edge(pixels)
        , m_subtitle(face.subtitle.isEmpty() && !face.reserveSubtitle ? 0 : 0.16 * m_edge)
    {
        if (face.title.isEmpty())
            return;
        m_title = face.largeTitle ? std::max(0.0, m_edge - 2 * m_pad - m_subtitle) : 0.36 * m_edge;
    }

    /// Half as far from the edge as everything else.
    [[nodiscard]] QRectF subtitle() const { return band(0.5 * m_pad, m_subtitle); }
    [[nodiscard]] QRectF title() const { return band(m_pad + m_subtitle, m_title); }
    [[nodiscard]] QRectF symbol() const
    {
        const double bottom = m_pad + m_subtitle + m_title;
        return band(bottom, std::max(0.0, m_edge - m_pad - bottom));
    }

private:
    /// The rules count from the bottom, the painter counts from the top.
    [[nodiscard]] QRectF band(double bottom, double height) const
    {
        return {m_pad, m_edge - bottom - height, m_edge - 2 * m_pad, height};
    }

    double m_edge;
    double m_pad = 0.05 * m_edge;
    double m_subtitle;
    double m_title = 0;
};

/// In the middle of its band; what does not fit even at the smallest size is cut off.
void paintText(QPainter& painter, const QRectF& band, const QString& text, QFont::Weight weight,
    TextLine::Digits digits = TextLine::Digits::asTheyCome)
{
    const TextLine measured(text, Fonts::system(layoutSize, weight), digits);
    const double size = fittedFontSize(band.height(), band.width(),
        [&](double fontSize) { return measured.width() * fontSize / layoutSize; });

    // Qt keeps the glyphs of a font in ten scales, which is less than a deck has sizes of text. A
    // font for each whole size has no more than a few.
    const int wholeSize = qCeil(size);
    const double scale = size / wholeSize;
    TextLine line(text, Fonts::system(wholeSize, weight), digits);
    if (measured.width() * size / layoutSize > band.width() + rounding)
        line = line.elided(band.width() / scale);
    // A line that is higher than its band begins at the band's top.
    const double height = std::min(line.height() * scale, band.height());
    painter.save();
    painter.translate(band.center().x() - line.width() * scale / 2, band.center().y() - height / 2);
    painter.scale(scale, scale);
    line.draw(painter, {});
    painter.restore();
}

void paintTitle(QPainter& painter, const QRectF& band, const KeyFace& face)
{
    using enum TextLine::Digits;
    painter.setPen(face.tint);
    paintText(
        painter, band, face.title, QFont::ExtraBold, face.largeTitle ? equalCells : asTheyCome);
}

void paintSubtitle(QPainter& painter, const QRectF& band, const KeyFace& face)
{
    QColor color = face.tint;
    color.setAlphaF(0.8F);
    painter.setPen(color);
    paintText(painter, band, face.subtitle, QFont::DemiBold);
}

QColor lightened(const QColor& color)
{
    constexpr float share = 0.3F;
    const auto towardsOne = [](float component) { return component + share * (1 - component); };
    return QColor::fromRgbF(towardsOne(color.redF()), towardsOne(color.greenF()),
        towardsOne(color.blueF()), towardsOne(color.alphaF()));
}

/// The stored colours as they are, with what says how opaque they are left out.
QImage withoutAlpha(QImage picture)
{
    QImage opaque = std::move(picture).convertToFormat(QImage::Format_ARGB32_Premultiplied);
    opaque.reinterpretAsFormat(QImage::Format_RGB32);
    return opaque;
}

void append16(QByteArray& bytes, quint16 value)
{
    const quint16 stored = qToLittleEndian(value);
    bytes.append(reinterpret_cast<const char*>(&stored), sizeof stored);
}

void append32(QByteArray& bytes, quint32 value)
{
    const quint32 stored = qToLittleEndian(value);
    bytes.append(reinterpret_cast<const char*>(&stored), sizeof stored);
}

} // namespace

const KeyFace KeyFace::blank {.background = QColor::fromRgbF(0.06F, 0.06F, 0.06F)};

QImage render(const KeyFace& face, int pixels)
{
    if (pixels < 1)
        return {};
    // On a picture with opacity nothing is smoothed by the parts of a pixel, which would leave
    // coloured fringes.
    QImage picture(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    picture.fill(face.pressed ? lightened(face.background) : face.background);
    QPainter painter(&picture);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);

    const Bands bands(face, pixels);
    constexpr double lowestSymbol = 6;
    if (face.systemSymbol && bands.symbol().height() > lowestSymbol)
        paintSymbol(painter, *face.systemSymbol, bands.symbol(), face.tint);
    if (!face.title.isEmpty())
        paintTitle(painter, bands.title(), face);
    if (!face.subtitle.isEmpty())
        paintSubtitle(painter, bands.subtitle(), face);
    return picture;
}

double fittedFontSize(
    double roomHeight, double roomWidth, const std::function<double(double)>& width)
{
    constexpr double smallest = 8;
    constexpr int mostReductions = 24;
    double size = 0.92 * roomHeight;
    if (const double widthOfLayout = width(layoutSize); widthOfLayout > 0)
        size = std::min(size, roomWidth * layoutSize / widthOfLayout);
    for (int i = 0; i < mostReductions && size > smallest; ++i) {
        if (width(size) <= roomWidth + rounding)
            break;
        size -= 1;
    }
    return std::max(size, smallest);
}

QImage transform(QImage picture, const StreamDeckModel& model)
{
    if (model.rotationDegrees == 90)
        picture = picture.transformed(QTransform().rotate(-90));
    const bool isWithoutGaps = picture.bytesPerLine() == picture.width() * qsizetype(sizeof(QRgb));
    if (model.flipX && model.flipY && isWithoutGaps && picture.depth() == 32) {
        // Half a turn, as most models want it: a quarter of what mirroring takes.
        auto* pixels = reinterpret_cast<QRgb*>(picture.bits());
        std::reverse(pixels, pixels + qsizetype(picture.width()) * picture.height());
    } else if (model.flipX || model.flipY) {
        picture.mirror(model.flipX, model.flipY);
    }
    return picture;
}

QByteArray bmp(QImage picture)
{
    constexpr quint32 headerSize = 54;
    constexpr quint32 infoSize = 40;
    constexpr quint32 pixelsPerMetre = 2835;
    const QImage opaque = withoutAlpha(std::move(picture));
    const auto width = static_cast<quint32>(opaque.width());
    const auto height = static_cast<quint32>(opaque.height());
    const quint32 rowBytes = (3 * width + 3) / 4 * 4;

    QByteArray bytes("BM");
    bytes.reserve(headerSize + rowBytes * height);
    for (const quint32 field :
        {headerSize + rowBytes * height, 0U, headerSize, infoSize, width, height})
        append32(bytes, field);
    append16(bytes, 1); // planes
    append16(bytes, 24); // bits per pixel
    // Not compressed; no palette.
    for (const quint32 field : {0U, rowBytes * height, pixelsPerMetre, pixelsPerMetre, 0U, 0U})
        append32(bytes, field);

    for (int y = opaque.height() - 1; y >= 0; --y) {
        const auto* row = reinterpret_cast<const QRgb*>(opaque.constScanLine(y));
        for (int x = 0; x < opaque.width(); ++x) {
            for (const int component : {qBlue(row[x]), qGreen(row[x]), qRed(row[x])})
                bytes.append(static_cast<char>(component));
        }
        bytes.append(rowBytes - 3 * width, '\0');
    }
    return bytes;
}

std::optional<QByteArray> jpeg(QImage picture, double quality)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(qRound(quality * 100));
    if (!writer.write(withoutAlpha(std::move(picture)))) {
        qCCritical(controlLog, "The picture of a key cannot be encoded: %s",
            qUtf8Printable(writer.errorString()));
        return std::nullopt;
    }
    return bytes;
}

std::optional<QByteArray> encode(QImage picture, const StreamDeckModel& model)
{
    constexpr double keyQuality = 0.9;
    switch (model.imageFormat) {
    case StreamDeckModel::ImageFormat::bmp:
        return bmp(transform(std::move(picture), model));
    case StreamDeckModel::ImageFormat::jpeg:
        return jpeg(transform(std::move(picture), model), keyQuality);
    case StreamDeckModel::ImageFormat::none:
        break;
    }
    return std::nullopt;
}

} // namespace StreamDeckImage

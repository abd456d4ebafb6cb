#include "Windows/IconRenderer.h"

#include "Support/Fonts.h"
#include "Support/TextLine.h"

#include <QIconEngine>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

#include <cmath>
#include <memory>

namespace {

/// The text is laid out once in this size, and scaled: nothing in it is hinted, so that it is in
/// proportion in every size.
constexpr int layoutSize = 100;

constexpr double insetShare = 0.07;
constexpr double radiusShare = 0.2237;
constexpr double firstFontShare = 0.42;
constexpr double widthShare = 0.8;
constexpr double fontStep = 2;
constexpr double smallestFont = 6;

double fontSizeFor(const TextLine& line, const QRectF& body)
{
    double size = firstFontShare * body.height();
    while (size > smallestFont && line.width() * size / layoutSize > widthShare * body.width())
        size -= fontStep;
    return size;
}

QPainterPath outline(const QRectF& body)
{
    const double radius = radiusShare * body.width();
    QPainterPath path;
    path.addRoundedRect(body, radius, radius);
    return path;
}

QLinearGradient fill(const QRectF& body)
{
    QLinearGradient gradient(body.topLeft(), body.bottomLeft());
    gradient.setColorAt(0, QColor::fromRgbF(0.17F, 0.17F, 0.19F));
    gradient.setColorAt(1, Qt::black);
    return gradient;
}

void paintTime(QPainter& painter, const QString& time, const QRectF& body)
{
    const TextLine line(time, Fonts::monospaced(layoutSize, QFont::DemiBold));
    const double scale = fontSizeFor(line, body) / layoutSize;
    painter.setPen(Qt::white);
    painter.translate(body.center());
    painter.scale(scale, scale);
    line.draw(painter, {-line.width() / 2, -line.height() / 2});
}

/// Has one picture. Qt's own engine puts every picture of every icon into the process-wide cache,
/// where those of a live icon would drive out all others, and where each leaves its name for good.
class PictureEngine final : public QIconEngine {
public:
    explicit PictureEngine(QPixmap picture)
        : m_picture(std::move(picture))
    {
    }

    void paint(QPainter* painter, const QRect& area, QIcon::Mode, QIcon::State) override
    {
        painter->drawPixmap(area, m_picture);
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode, QIcon::State) override
    {
        if (size == m_picture.size())
            return m_picture;
        return m_picture.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    }
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override { return {m_picture.size()}; }
    bool isNull() override { return m_picture.isNull(); }
    [[nodiscard]] QIconEngine* clone() const override
    {
        return std::make_unique<PictureEngine>(*this).release();
    }

private:
    QPixmap m_picture;
};

} // namespace

QImage IconRenderer::image(const QString& time, double size)
{
    // Also false for what is no number.
    if (!(size > 0))
        return {};
    const int edge = static_cast<int>(std::ceil(size));
    QImage image(edge, edge, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    const double inset = insetShare * size;
    const QRectF body = QRectF(0, 0, size, size).adjusted(inset, inset, -inset, -inset);

    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(outline(body), fill(body));
    painter.setClipPath(outline(body));
    paintTime(painter, time, body);
    return image;
}

QIcon IconRenderer::icon(const QString& time, double size)
{
    auto engine = std::make_unique<PictureEngine>(QPixmap::fromImage(image(time, size)));
    return QIcon(engine.release());
}

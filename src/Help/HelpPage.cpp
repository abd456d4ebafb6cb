#include "Help/HelpPage.h"

#include "Support/Fonts.h"
#include "Support/Symbols.h"
#include "Support/TextLine.h"

#include <QFile>
#include <QPainter>

#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

struct PageColor {
    /// As the page writes it.
    QString name;
    QString light;
    QString dark;
};

const std::array pageColors {
    PageColor {u"$text"_s, u"#1d1d1f"_s, u"#f2f2f4"_s},
    PageColor {u"$muted"_s, u"#6b6b70"_s, u"#9a9aa0"_s},
    PageColor {u"$background"_s, u"#ffffff"_s, u"#1e1e20"_s},
    PageColor {u"$card"_s, u"#f5f5f7"_s, u"#27272a"_s},
    PageColor {u"$rule"_s, u"#e2e2e6"_s, u"#36363b"_s},
    PageColor {u"$accent"_s, u"#2e8b46"_s, u"#41c46a"_s},
    PageColor {u"$code"_s, u"#e8e8ec"_s, u"#2c2c31"_s},
};

QColor pageColor(const QString& name, Appearance appearance)
{
    const auto* color = std::ranges::find(pageColors, name, &PageColor::name);
    return QColor(appearance == Appearance::light ? color->light : color->dark);
}

QImage emptyPicture(const QSizeF& size, double pixelRatio)
{
    QImage picture((size * pixelRatio).toSize(), QImage::Format_ARGB32_Premultiplied);
    picture.setDevicePixelRatio(pixelRatio);
    picture.fill(Qt::transparent);
    return picture;
}

/// A text in the middle of a rounded box.
struct BoxedText {
    QFont font;
    QSizeF padding;
    double radius = 0;
    QColor fill;
    QColor border;
    QColor text;
};

QImage drawBoxedText(const QString& text, const BoxedText& style, double pixelRatio)
{
    const TextLine line(text, style.font);
    const QSizeF size(std::ceil(line.width() + 2 * style.padding.width()),
        std::ceil(line.height() + 2 * style.padding.height()));
    QImage picture = emptyPicture(size, pixelRatio);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(style.border);
    painter.setBrush(style.fill);
    painter.drawRoundedRect(
        QRectF({}, size).adjusted(0.5, 0.5, -0.5, -0.5), style.radius, style.radius);
    painter.setPen(style.text);
    line.draw(painter, {(size.width() - line.width()) / 2, (size.height() - line.height()) / 2});
    return picture;
}

QImage keyCap(const QString& text, Appearance appearance, double pixelRatio)
{
    const BoxedText style {
        .font = Fonts::system(12, QFont::Medium),
        .padding = {7, 2},
        .radius = 4,
        .fill = pageColor(u"$code"_s, appearance),
        .border = pageColor(u"$muted"_s, appearance),
        .text = pageColor(u"$text"_s, appearance),
    };
    return drawBoxedText(text, style, pixelRatio);
}

QImage badge(const QString& text, double pixelRatio)
{
    const BoxedText style {
        .font = Fonts::monospaced(28, QFont::Medium),
        .padding = {12, 8},
        .radius = 10,
        .fill = Qt::black,
        .border = Qt::black,
        .text = Qt::white,
    };
    return drawBoxedText(text, style, pixelRatio);
}

QImage symbol(const QString& name, Appearance appearance, double pixelRatio)
{
    constexpr QSizeF size(15, 15);
    QImage picture = emptyPicture(size, pixelRatio);
    QPainter painter(&picture);
    paintSymbol(painter, name, QRectF({}, size), pageColor(u"$text"_s, appearance));
    return picture;
}

} // namespace

QString helpPage(Appearance appearance)
{
    QFile file(u":/help/help.html"_s);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("The help page is not part of the program");
    QString page = QString::fromUtf8(file.readAll());
    for (const PageColor& color : pageColors)
        page.replace(color.name, appearance == Appearance::light ? color.light : color.dark);
    return page;
}

QColor helpBackground(Appearance appearance)
{
    return pageColor(u"$background"_s, appearance);
}

QImage helpPicture(const QUrl& address, Appearance appearance, double pixelRatio)
{
    const QString content = address.path();
    if (address.scheme() == u"key")
        return keyCap(content, appearance, pixelRatio);
    if (address.scheme() == u"badge")
        return badge(content, pixelRatio);
    if (address.scheme() == u"symbol")
        return symbol(content, appearance, pixelRatio);
    return {};
}

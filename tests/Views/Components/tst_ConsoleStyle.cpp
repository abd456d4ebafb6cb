#include "Views/Components/ConsoleStyle.h"
#include "Views/Components/ShrinkingText.h"

#include "Support/Fonts.h"
#include "helpers/Ink.h"

#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;

using Appearance = ConsoleStyle::Appearance;

namespace {

double luminance(const QColor& color)
{
    const auto linear = [](double value) {
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF())
        + 0.0722 * linear(color.blueF());
}

/// From 1, no contrast, to 21, black on white.
double contrast(const QColor& a, const QColor& b)
{
    const auto [low, high] = std::minmax({luminance(a), luminance(b)});
    return (high + 0.05) / (low + 0.05);
}

/// `color` as it looks on a ground that shows through it.
QColor over(const QColor& color, const QColor& ground)
{
    QImage pixel(1, 1, QImage::Format_RGB32);
    pixel.fill(ground);
    QPainter(&pixel).fillRect(0, 0, 1, 1, color);
    return pixel.pixelColor(0, 0);
}

} // namespace

class ConsoleStyleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void followsTheDesktop()
    {
        for (const auto& [window, expected] :
            {std::pair(QColor(0xef, 0xf0, 0xf1), Appearance::light),
                std::pair(QColor(0x35, 0x35, 0x35), Appearance::dark)}) {
            QPalette palette(Qt::red, window);
            ConsoleStyle().polish(palette);
            QCOMPARE(palette, ConsoleStyle::palette(expected));
        }
    }

    /// In the dark, after ten hours, with tired eyes.
    void canBeRead_data()
    {
        QTest::addColumn<Appearance>("appearance");
        QTest::newRow("light") << Appearance::light;
        QTest::newRow("dark") << Appearance::dark;
    }
    void canBeRead()
    {
        QFETCH(const Appearance, appearance);
        const QPalette palette = ConsoleStyle::palette(appearance);
        const QColor group = groupColor(palette);
        const QColor chip = over(withOpacity(secondaryColor(palette), 0.18), group);
        constexpr double text = 4.5;
        for (const QColor& ground : {palette.color(QPalette::Window), group,
                 palette.color(QPalette::Base), palette.color(QPalette::Button)}) {
            QCOMPARE_GE(contrast(palette.color(QPalette::Text), ground), 2 * text);
            QCOMPARE_GE(contrast(secondaryColor(palette), ground), text);
        }
        QCOMPARE_GE(contrast(palette.color(QPalette::WindowText), chip), text);
        QCOMPARE_GE(contrast(warningColor(palette), group), text);
        for (const QColor& ground : {accentColor(palette), TransportColor::green,
                 TransportColor::orange, TransportColor::red, TransportColor::gray})
            QCOMPARE_GE(contrast(Qt::white, ground), text);
        // The dot of a device, the ring of the focus.
        for (const QColor& shape : {connectedColor(palette), accentColor(palette)})
            QCOMPARE_GE(contrast(shape, group), 3.0);
    }

    /// The ink keeps to the box, in its middle, and is no smaller than it has to be.
    void fitsText()
    {
        struct Row {
            int width;
            int smallest;
            int largest;
        };
        // "Resume" is 75 points wide, and its capital 14 high: there is room enough, it is shrunk,
        // it is cut at half its size.
        for (const Row& row : {Row {90, 13, 15}, Row {50, 8, 11}, Row {25, 6, 8}}) {
            QImage picture(140, 40, QImage::Format_RGB32);
            picture.fill(Qt::black);
            QPainter painter(&picture);
            painter.setPen(Qt::white);
            const QRect box(20, 5, row.width, 30);
            drawShrinkingText(painter, box, u"Resume"_s, Fonts::system(19, QFont::Bold), 0.5);
            painter.end();
            const QRect drawn = ink(picture, picture.rect());
            QVERIFY2(box.contains(drawn), qPrintable(QDebug::toString(drawn)));
            QCOMPARE_LE(std::abs(drawn.center().x() - box.center().x()), 1);
            QCOMPARE_GE(drawn.height(), row.smallest);
            QCOMPARE_LE(drawn.height(), row.largest);
        }
    }
};

QTEST_MAIN(ConsoleStyleTest)
#include "tst_ConsoleStyle.moc"

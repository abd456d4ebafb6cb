#include "Windows/IconRenderer.h"

#include "helpers/Ink.h"

#include <QPixmapCache>
#include <QTest>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

/// The smallest rectangle around what the text adds to the picture.
QRect textBounds(const QString& text, int size)
{
    const QImage with = IconRenderer::image(text, size);
    const QImage without = IconRenderer::image({}, size);
    QRect bounds;
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            if (with.pixel(x, y) != without.pixel(x, y))
                bounds |= QRect(x, y, 1, 1);
        }
    }
    return bounds;
}

} // namespace

class IconRendererTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void paintsTheBody();
    void fitsTheText_data();
    void fitsTheText();
    void centresAndClipsTheText();
    void hasNoPictureWithoutASize();
    void leavesNothingInTheCache();
};

void IconRendererTest::paintsTheBody()
{
    const QImage icon = IconRenderer::image({}, 512);
    QCOMPARE(icon.size(), QSize(512, 512));
    // The body begins at 35.84, and its corner has a radius of 98.5.
    for (const QPoint& outside : {QPoint(0, 0), QPoint(256, 34), QPoint(34, 256), QPoint(256, 477),
             QPoint(60, 60), QPoint(451, 451)})
        QCOMPARE(icon.pixelColor(outside).alpha(), 0);
    QCOMPARE(icon.pixelColor(256, 37), QColor(43, 43, 48));
    QCOMPARE(icon.pixelColor(256, 474), QColor(0, 0, 0));
    QCOMPARE(icon.pixelColor(68, 68).alpha(), 255);
    QCOMPARE(icon.pixelColor(100, 256), icon.pixelColor(400, 256));
}

void IconRendererTest::fitsTheText_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("fontSize");

    // A cell is 0.6 of the font's size wide; 352.256 points are free at 512.
    QTest::newRow("as large as can be") << 512 << u"8"_s << 185;
    QTest::newRow("five") << 512 << u"88888"_s << 117;
    QTest::newRow("eight") << 512 << u"88888888"_s << 73;
    QTest::newRow("small icon") << 64 << u"88888"_s << 13;
    QTest::newRow("cannot fit") << 64 << u"8888888888888888888888888888"_s << 5;
}

/// The figures are known to a point, by how high a digit is.
void IconRendererTest::fitsTheText()
{
    QFETCH(int, size);
    QFETCH(QString, text);
    QFETCH(int, fontSize);

    constexpr double digitHeight = 0.75;
    QVERIFY(std::abs(textBounds(text, size).height() - digitHeight * fontSize) <= 2);
}

void IconRendererTest::centresAndClipsTheText()
{
    const QRect bounds = textBounds(u"88:88"_s, 512);
    QVERIFY(std::abs(bounds.center().x() - 256) <= 1);
    // The room above a digit is larger than that below, and is the font's own.
    QVERIFY(std::abs(bounds.center().y() - 256) <= 4);
    QVERIFY(bounds.width() > 300 && bounds.width() < 352);

    const QString text(100, u'8');
    const QRect clipped = textBounds(text, 512);
    QVERIFY(clipped.left() >= 35 && clipped.right() <= 477);
    QCOMPARE(IconRenderer::image(text, 512).pixelColor(34, 256).alpha(), 0);
}

void IconRendererTest::hasNoPictureWithoutASize()
{
    for (const double size : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()})
        QVERIFY(IconRenderer::image(u"10:00"_s, size).isNull());
}

void IconRendererTest::leavesNothingInTheCache()
{
    QPixmapCache::insert(u"another's"_s, QPixmap(1, 1));
    for (int second = 0; second < 60; ++second) {
        const QPixmap picture = IconRenderer::icon(QString::number(second), 512).pixmap(512);
        QCOMPARE(picture.size(), QSize(512, 512));
    }
    QPixmap kept;
    QVERIFY(QPixmapCache::find(u"another's"_s, &kept));
}

QTEST_MAIN(IconRendererTest)
#include "tst_IconRenderer.moc"

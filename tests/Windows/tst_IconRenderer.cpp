#include "Windows/IconRenderer.h"

#include <QImage>
#include <QPixmapCache>
#include <QTest>

#include <cmath>

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
    /// As large as there is room for, in the middle, and never beyond the icon's body.
    void fitsTheText()
    {
        const QRect time = textBounds(u"88:88"_s, 512);
        QVERIFY(time.width() > 320 && time.width() <= 353);
        QVERIFY(std::abs(time.center().x() - 256) <= 1);
        // The room above a digit is larger than that below, and is the font's own.
        QVERIFY(std::abs(time.center().y() - 256) <= 4);
        const QRect clipped = textBounds(QString(200, u'8'), 512);
        QVERIFY(clipped.left() >= 35 && clipped.right() <= 477);
    }

    void leavesNothingInTheCache()
    {
        QPixmapCache::insert(u"another's"_s, QPixmap(1, 1));
        for (int second = 0; second < 60; ++second) {
            const QPixmap picture = IconRenderer::icon(QString::number(second), 512).pixmap(512);
            QCOMPARE(picture.size(), QSize(512, 512));
        }
        QPixmap kept;
        QVERIFY(QPixmapCache::find(u"another's"_s, &kept));
    }
};

QTEST_MAIN(IconRendererTest)
#include "tst_IconRenderer.moc"

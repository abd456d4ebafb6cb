#include "Support/Symbols.h"

#include <QImage>
#include <QPainter>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QImage drawn(const QString& name, const QRectF& box, const QColor& tint = Qt::white,
    const QTransform& transform = {})
{
    QImage image(120, 120, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::black);
    QPainter painter(&image);
    painter.setTransform(transform);
    paintSymbol(painter, name, box, tint);
    return image;
}

} // namespace

class SymbolsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void takesTheColor()
    {
        const QRectF box(12, 12, 96, 96);
        QCOMPARE(drawn(u"stop.fill"_s, box, Qt::red).pixel(60, 60), qRgb(255, 0, 0));
        QCOMPARE(drawn(u"stop.fill"_s, box, Qt::green).pixel(60, 60), qRgb(0, 255, 0));
        const QColor faint(0, 0, 255, 51);
        QCOMPARE(drawn(u"stop.fill"_s, box, faint).pixel(60, 60), qRgb(0, 0, 51));
    }

    void looksTheSameHoweverThePainterLies()
    {
        const QImage upright = drawn(u"moon.fill"_s, QRectF(20.25, 30.5, 64, 64));
        const auto transform = QTransform::fromTranslate(20.25, 30.5).scale(2, 2);
        QCOMPARE(drawn(u"moon.fill"_s, QRectF(0, 0, 32, 32), Qt::white, transform), upright);
    }
};

QTEST_MAIN(SymbolsTest)
#include "tst_Symbols.moc"

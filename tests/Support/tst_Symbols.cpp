#include "Support/Symbols.h"

#include "helpers/Ink.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize canvas {120, 120};

QImage drawn(const QString& name, const QRectF& box, const QColor& tint = Qt::white,
    const QTransform& transform = {})
{
    QImage image(canvas, QImage::Format_ARGB32_Premultiplied);
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

    void logsAnUnknownNameOnce()
    {
        QTest::ignoreMessage(QtCriticalMsg, "There is no symbol none.fill");
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        for (int i = 0; i < 2; ++i)
            QVERIFY(
                ink(drawn(u"none.fill"_s, QRectF(10, 10, 96, 96)), QRect({}, canvas)).isEmpty());
    }
};

QTEST_MAIN(SymbolsTest)
#include "tst_Symbols.moc"

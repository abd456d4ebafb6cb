#include "Support/TextLine.h"

#include "Support/Fonts.h"
#include "helpers/Ink.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

using enum TextLine::Digits;

QFont font()
{
    return Fonts::system(40, QFont::ExtraBold);
}

TextLine running(const QString& text)
{
    return {text, font(), equalCells};
}

/// What a character of a time covers, the rest of the time drawn around it.
QRect inkOf(const QString& text, qsizetype index)
{
    const double left = running(text.first(index)).width();
    const double right = running(text.first(index + 1)).width();
    QImage image(300, 60, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::black);
    QPainter painter(&image);
    painter.setPen(Qt::white);
    running(text).draw(painter, {});
    painter.end();
    return ink(image, QRect(QPoint(qRound(left), 0), QPoint(qRound(right) - 1, 59)));
}

} // namespace

class TextLineTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void givesDigitsEqualCells()
    {
        const double cell = running(u"8"_s).width();
        for (char16_t digit = u'0'; digit <= u'9'; ++digit)
            QCOMPARE(running(QString(QChar(digit))).width(), cell);
        QCOMPARE(running(u"11:11"_s).width(), running(u"48:07"_s).width());
        QCOMPARE(running(u"-1:11:11 PM"_s).width(), running(u"-4:08:07 PM"_s).width());
        // Otherwise this shows nothing.
        QVERIFY(TextLine(u"11:11"_s, font()).width() < running(u"11:11"_s).width() - 20);
    }

    void standsStillWhileTheTimeRuns()
    {
        const QRect colon = inkOf(u"-11:11"_s, 3);
        for (const QString& text : {u"-48:07"_s, u"-41:71"_s, u"-14:17"_s})
            QCOMPARE(inkOf(text, 3), colon);
    }

    void centresDigitsInTheirCells()
    {
        const QString text = u"1:08"_s;
        for (const qsizetype index : {0, 2, 3}) {
            const double left = running(text.first(index)).width();
            const double right = running(text.first(index + 1)).width();
            const QRectF digit = inkOf(text, index);
            QVERIFY(qAbs(digit.center().x() - (left + right) / 2) < 2.5);
        }
    }

    void leavesOtherTextAlone()
    {
        QCOMPARE(running(u"Pause"_s).width(), TextLine(u"Pause"_s, font()).width());
        QCOMPARE(TextLine(u"a\tb\nc\u2028d"_s, font()).text(), u"a b c d"_s);
        QCOMPARE(running({}).width(), 0.0);
    }

    void cutsWhatDoesNotFit_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("width");
        QTest::addColumn<qsizetype>("kept");

        const double ellipsis = running(u"…"_s).width();
        QTest::newRow("fits") << u"12:34"_s << running(u"12:34"_s).width() << qsizetype(5);
        QTest::newRow("two cells")
            << u"12:34"_s << running(u"12"_s).width() + ellipsis + 1 << qsizetype(2);
        QTest::newRow("wide letters")
            << u"WWWW"_s << running(u"WW"_s).width() + ellipsis + 1 << qsizetype(2);
        QTest::newRow("never half a character") << u"😀😀😀"_s << ellipsis + 5 << qsizetype(0);
        QTest::newRow("nothing") << u"12:34"_s << 1.0 << qsizetype(0);
    }
    void cutsWhatDoesNotFit()
    {
        QFETCH(QString, text);
        QFETCH(double, width);
        QFETCH(qsizetype, kept);

        const QString expected = kept == text.size() ? text : text.first(kept) + u'…';
        QCOMPARE(running(text).elided(width).text(), expected);
    }
};

QTEST_MAIN(TextLineTest)
#include "tst_TextLine.moc"

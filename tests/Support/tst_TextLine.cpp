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
    void standsStillWhileTheTimeRuns()
    {
        for (const auto& [time, other] : {std::pair(u"11:11"_s, u"48:07"_s),
                 {u"-11:11"_s, u"-48:07"_s}, {u"-11:11"_s, u"-41:71"_s}}) {
            const qsizetype colon = time.indexOf(u':');
            QCOMPARE(inkOf(other, colon), inkOf(time, colon));
            QCOMPARE(running(other).width(), running(time).width());
        }
    }

    void leavesOtherTextAlone()
    {
        QCOMPARE(running(u"Pause"_s).width(), TextLine(u"Pause"_s, font()).width());
        QCOMPARE(TextLine(u"a\tb\nc\u2028d"_s, font()).text(), u"a b c d"_s);
    }

    void cutsWhatDoesNotFit()
    {
        const double ellipsis = running(u"…"_s).width();
        const QString time = u"12:34"_s;
        QCOMPARE(running(time).elided(running(time).width()).text(), time);
        const double twoLetters = running(u"WW"_s).width() + ellipsis + 1;
        QCOMPARE(running(u"WWWW"_s).elided(twoLetters).text(), u"WW…"_s);
        // Never half a character.
        QCOMPARE(running(u"😀😀😀"_s).elided(ellipsis + 5).text(), u"…"_s);
    }
};

QTEST_MAIN(TextLineTest)
#include "tst_TextLine.moc"

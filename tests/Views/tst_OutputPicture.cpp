#include "Views/OutputPicture.h"

#include "Support/Fonts.h"
#include "Views/MessageLayout.h"
#include "helpers/Ink.h"
#include "helpers/MemoryPreferences.h"

#include <QImage>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize fullHd {1920, 1080};
constexpr RGBColor black {.r = 0, .g = 0, .b = 0};
constexpr RGBColor white {.r = 1, .g = 1, .b = 1};

QImage picture(const DisplaySnapshot& snapshot, OutputColors colors = {black, white},
    const QSize& size = fullHd)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paintOutput(painter, size, {snapshot, colors, MessageTransition::settled(snapshot.message)});
    return image;
}

/// Whether a plain layout of the text at a size has four lines at most, all within the box.
bool fits(const QString& text, const QSizeF& box, double fontSize)
{
    constexpr int layoutSize = 100;
    const double scale = fontSize / layoutSize;
    QTextLayout layout(text, Fonts::system(layoutSize, QFont::DemiBold));
    layout.beginLayout();
    QSizeF size;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(box.width() / scale);
        size = {std::max(size.width(), line.naturalTextWidth()), size.height() + line.height()};
    }
    layout.endLayout();
    return layout.lineCount() <= 4 && size.width() * scale <= box.width()
        && size.height() * scale <= box.height();
}

/// Of any component of any pixel.
int largestDifference(const QImage& one, const QImage& other)
{
    int largest = 0;
    for (qsizetype i = 0; i < one.sizeInBytes(); ++i)
        largest = std::max(largest, std::abs(one.constBits()[i] - other.constBits()[i]));
    return largest;
}

bool isFilledWith(const QImage& image, QRgb color)
{
    QImage filled(image.size(), image.format());
    filled.fill(color);
    return image == filled;
}

} // namespace

class OutputPictureTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void centresTheTime()
    {
        for (const auto& [size, fontSize] : {std::pair(fullHd, 490.7),
                 std::pair(QSize(600, 1000), 153.3), std::pair(QSize(5000, 100), 90.0)}) {
            const QRect time =
                ink(picture({.timeText = u"80:08"_s}, {black, white}, size), QRect({}, size));
            const QPointF centre = QRectF(time).center();
            QVERIFY(qAbs(centre.x() - size.width() / 2.0) <= 0.005 * fontSize + 1);
            QVERIFY(qAbs(centre.y() - size.height() / 2.0) <= 0.02 * fontSize + 1);
            // Digits are 0.73 of the font's size high, and overshoot a little.
            QVERIFY(qAbs(time.height() - 0.75 * fontSize) <= 0.02 * fontSize + 2);
            // Five cells of 0.6, less the bearings at both ends.
            QVERIFY(time.width() < 3.0 * fontSize && time.width() > 2.8 * fontSize);
        }
    }

    void isAsSharpAsTheDisplay()
    {
        constexpr QSize size(320, 180);
        const OutputContent content {{.timeText = u"-12:34"_s}, {black, white}};
        QImage image(700, 400, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::black);
        QPainter painter(&image);
        painter.setTransform(QTransform::fromScale(2, 2).translate(10, 10));
        paintOutput(painter, size, content);
        painter.end();
        const QImage large = picture(content.snapshot, content.colors, size * 2);
        QCOMPARE(image.copy({QPoint(20, 20), size * 2}), large);
    }

    void cutsATimeThatIsTooWide()
    {
        const QRect six = ink(picture({.timeText = u"-88:88"_s}), QRect({}, fullHd));
        const QRect seven = ink(picture({.timeText = u"-888:88"_s}), QRect({}, fullHd));
        // Not shrunk: the digits keep their height, and no glyph is sliced by the edge.
        QCOMPARE(seven.height(), six.height());
        QVERIFY(seven.left() > 0 && seven.right() < fullHd.width() - 1);
        QVERIFY(picture({.timeText = u"-888:88"_s}) != picture({.timeText = u"-888:8"_s}));
        // What is cut off is not seen at all.
        QCOMPARE(picture({.timeText = u"-888:88"_s}), picture({.timeText = u"-888:81"_s}));
    }

    void sharesTheRoomWithAMessage()
    {
        const QImage image = picture({.timeText = u"05:00"_s, .message = u"Doors open"_s});
        const int border = 432;
        const QRect time = ink(image, QRect(0, 0, fullHd.width(), border));
        const QRect message =
            ink(image, QRect(0, border, fullHd.width(), fullHd.height() - border));
        QVERIFY(time.top() > 0 && time.bottom() < border - 10);
        QVERIFY(message.top() > border && message.bottom() < fullHd.height());
        QVERIFY(message.left() >= 96 && message.right() <= 1824);
        QVERIFY(qAbs(message.center().x() - 960) <= 15);
        const QImage empty = picture({.timeText = u"05:00"_s, .message = u""_s});
        QCOMPARE(ink(empty, QRect({}, fullHd)), time);
    }

    /// Messages are painted from pictures of them, in every colour they had and with every mark.
    void showsAMessageAsItIsDrawn()
    {
        const QString marks = u"A"_s + QString(12, QChar(0x30A));
        for (const auto& [text, color] : {std::pair(u"THẲNG"_s, white), {u"Île 🎬"_s, white},
                 {marks, white}, {marks, RGBColor {.r = 1, .g = 0, .b = 0, .a = 0.5}}}) {
            const QImage shown = picture({.message = text}, {black, color});
            QImage drawn(fullHd, shown.format());
            drawn.fill(Qt::black);
            QPainter painter(&drawn);
            painter.setPen(toColor(color));
            const double scale =
                MessageLayout(text, {1728, 648}, 0.05 * 280.8, 280.8).fontSize() / 64;
            QTextLayout layout(text, Fonts::system(64, QFont::DemiBold));
            layout.setTextOption(QTextOption(Qt::AlignHCenter));
            layout.beginLayout();
            QTextLine line = layout.createLine();
            line.setLineWidth(1728 / scale);
            layout.endLayout();
            painter.translate(96, 432 + (648 - line.height() * scale) / 2);
            painter.scale(scale, scale);
            layout.draw(&painter, {});
            painter.end();
            const QRect below(0, 433, fullHd.width(), fullHd.height() - 433);
            QVERIFY(!ink(drawn, below).isEmpty());
            // Where edges of two letters meet, it matters a little whether they are filled at once.
            const int most = text == marks ? 80 : 2;
            QVERIFY(largestDifference(shown.copy(below), drawn.copy(below)) <= most);
        }
    }

    void blackoutAndStrobe()
    {
        DisplaySnapshot snapshot {.message = u"hidden"_s, .isBlackout = true};
        const RGBColor blue {.r = 0, .g = 0, .b = 1};
        QVERIFY(isFilledWith(picture(snapshot, {blue, white}), qRgb(0, 0, 255)));
        snapshot.strobe = true;
        QVERIFY(isFilledWith(picture(snapshot, {blue, white}), qRgb(255, 255, 255)));
    }

    void takesTheColorOfTheThreshold()
    {
        MemoryPreferences preferences;
        const AppSettings settings(preferences);
        const QImage image = picture({.timeText = u"88:88"_s, .message = u"HHHH"_s},
            OutputColors::of(settings, TimeThreshold::amber));
        for (const QRect& box : {QRect(0, 0, 1920, 432), QRect(0, 432, 1920, 648)}) {
            const QRect area = ink(image, box);
            int matching = 0;
            for (int x = area.left(); x <= area.right(); ++x)
                matching += image.pixel(x, area.center().y()) == qRgb(255, 176, 0) ? 1 : 0;
            QVERIFY(matching > 20);
        }
    }

    void fitsMessages_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("lines");
        QTest::addColumn<bool>("isWhole");

        const QString sentence =
            u"Please take your seats, the second half begins in five minutes. "_s;
        QTest::newRow("a long word") << u"Donaudampfschifffahrtsgesellschaft"_s << 1 << true;
        QTest::newRow("many lines") << u"1\n2\n3\n4\n5\n6"_s << 4 << false;
        QTest::newRow("a sentence") << sentence.trimmed() << 3 << true;
        QTest::newRow("a page") << sentence.repeated(200) << 4 << false;
        QTest::newRow("no place to break") << QString(20'000, u'x') << 4 << false;
        for (const char16_t separator : {u'\r', u'\u2028'}) {
            QTest::addRow("separator %02X", separator)
                << QString(u"one%1two"_s.arg(QChar(separator))) << 2 << true;
        }
        QTest::newRow("both directions")
            << u"נא Speaker John Smith from Example Corporation International بدأ 25 دقائق"_s << 3
            << true;
        QTest::newRow("without spaces")
            << u"请各位就座下半场将在五分钟后开始请各位就座下半场"_s << 3 << true;
    }
    void fitsMessages()
    {
        QFETCH(QString, text);
        QFETCH(int, lines);
        QFETCH(bool, isWhole);

        const QSizeF box(1728, 648);
        const MessageLayout layout(text, box, 0.05 * 280.8, 280.8);
        QCOMPARE(layout.lineCount(), lines);
        QCOMPARE(layout.text().size() == text.size(), isWhole);
        QCOMPARE(layout.text().endsWith(u'…'), !isWhole);
        QVERIFY(QRectF(QPointF(-0.5, -0.5), box + QSizeF(1, 1)).contains(layout.textRect()));
        QVERIFY(layout.fontSize() <= 280.8 && layout.fontSize() >= 0.05 * 280.8 - 1e-9);
        if (!isWhole)
            return;
        // It could not have been larger.
        const double larger = layout.fontSize() * 1.03;
        QVERIFY(larger > 280.8 || !fits(layout.text(), box, larger));
    }

    /// A datagram holds more text than a layout can take while the audience waits.
    void measuresNoMoreThanCanBeSeen()
    {
        for (const QString& text : {u"a "_s.repeated(32'000), QString(65'000, QChar(0x301)),
                 u"ab אב "_s.repeated(6000), u"\n"_s.repeated(10'000)}) {
            const MessageLayout layout(text, {1728, 648}, 14.04, 280.8);
            QVERIFY(layout.text().size() < 3000);
            QVERIFY(layout.text().endsWith(u'…'));
        }
    }
};

QTEST_MAIN(OutputPictureTest)
#include "tst_OutputPicture.moc"

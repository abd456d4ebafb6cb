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
    void sizesTheTimeByItsBox()
    {
        const auto fontSize = [](const QSizeF& size, double presence) {
            return timeFontSize(timeBox(size, presence).size());
        };
        QCOMPARE(fontSize({1920, 1080}, 0), 0.92 * 1920 / 3.6);
        QCOMPARE(fontSize({1920, 1080}, 1), 388.8);
        QCOMPARE(fontSize({100, 1000}, 0), 0.92 * 100 / 3.6);
        QCOMPARE(fontSize({5000, 100}, 0), 90.0);
        QCOMPARE(fontSize({20, 8}, 0), 8.0);
    }

    void centresTheTime()
    {
        for (const QSize& size : {fullHd, QSize(600, 1000), QSize(316, 178)}) {
            const QRect time =
                ink(picture({.timeText = u"80:08"_s}, {black, white}, size), QRect({}, size));
            const double fontSize = timeFontSize(size);
            const QPointF centre = QRectF(time).center();
            QVERIFY(qAbs(centre.x() - size.width() / 2.0) <= 0.005 * fontSize + 1);
            QVERIFY(qAbs(centre.y() - size.height() / 2.0) <= 0.02 * fontSize + 1);
            // Digits are 0.73 of the font's size high, and overshoot a little.
            QVERIFY(qAbs(time.height() - 0.75 * fontSize) <= 0.02 * fontSize + 2);
            // Five cells of 0.6, less the bearings at both ends.
            QVERIFY(time.width() < 3.0 * fontSize && time.width() > 2.8 * fontSize);
        }
    }

    void looksTheSameHoweverThePainterLies_data()
    {
        QTest::addColumn<QTransform>("transform");

        QTest::newRow("as it is") << QTransform();
        QTest::newRow("moved") << QTransform::fromTranslate(30, 20);
        QTest::newRow("two pixels a unit") << QTransform::fromScale(2, 2).translate(10, 10);
        QTest::newRow("on its side") << QTransform().rotate(90).translate(0, -180);
        QTest::newRow("stretched") << QTransform::fromScale(1, 1.5);
    }
    void looksTheSameHoweverThePainterLies()
    {
        QFETCH(QTransform, transform);
        constexpr QSize size(320, 180);
        const OutputContent content {{.timeText = u"-12:34"_s}, {black, white}};

        QImage image(700, 400, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::black);
        QPainter painter(&image);
        painter.setTransform(transform);
        paintOutput(painter, size, content);
        painter.end();

        const QRectF upright = ink(picture(content.snapshot, content.colors, size), {{}, size});
        const QRectF expected = transform.mapRect(upright);
        const QRectF actual = ink(image, image.rect());
        const QMarginsF difference(actual.left() - expected.left(), actual.top() - expected.top(),
            actual.right() - expected.right(), actual.bottom() - expected.bottom());
        for (const double side :
            {difference.left(), difference.top(), difference.right(), difference.bottom()})
            QVERIFY2(qAbs(side) <= 2, qPrintable(u"off by %1"_s.arg(side)));
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
        const QRect capitals =
            ink(picture({.timeText = u""_s, .message = u"HHH"_s}), QRect({}, fullHd));
        QVERIFY(qAbs(capitals.center().y() - 756) <= 0.04 * 280.8);

        const QImage empty = picture({.timeText = u"05:00"_s, .message = u""_s});
        QCOMPARE(ink(empty, QRect({}, fullHd)), time);
    }

    void movesTheMessageInFromBelow()
    {
        QImage image(fullHd, QImage::Format_ARGB32_Premultiplied);
        QPainter painter(&image);
        // One text in the left half, where the other has a gap.
        const QList<MessageLayer> layers {
            {u"III            "_s, 0.25}, {u"            III"_s, 0.5}};
        paintOutput(painter, fullHd,
            {{.timeText = u""_s}, {black, white}, {.layers = layers, .presence = 0.5}});
        painter.end();
        // The time has 0.7 of the height, and the messages begin below it, as bright as they are.
        const auto brightest = [&image](int left) {
            int value = 0;
            for (int y = 756; y < fullHd.height(); ++y) {
                for (int x = left; x < left + fullHd.width() / 2; ++x)
                    value = std::max(value, qRed(image.pixel(x, y)));
            }
            return value;
        };
        QVERIFY(qAbs(brightest(0) - 64) <= 2);
        QVERIFY(qAbs(brightest(960) - 128) <= 2);
        QVERIFY(ink(image, QRect(0, 0, fullHd.width(), 756)).isEmpty());
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
        AppSettings settings(preferences);
        // Whether time and message are drawn in the colour.
        const auto isDrawnIn = [&](TimeThreshold threshold, QRgb color) {
            const QImage image =
                picture({.timeText = u"88:88"_s, .threshold = threshold, .message = u"HHHH"_s},
                    OutputColors::of(settings, threshold));
            const QRect boxes[] {{0, 0, fullHd.width(), 432}, {0, 432, fullHd.width(), 648}};
            return std::ranges::all_of(boxes, [&](const QRect& box) {
                const QRect area = ink(image, box);
                int matching = 0;
                for (int x = area.left(); x <= area.right(); ++x)
                    matching += image.pixel(x, area.center().y()) == color ? 1 : 0;
                return matching > 20;
            });
        };
        QVERIFY(isDrawnIn(TimeThreshold::normal, qRgb(255, 255, 255)));
        QVERIFY(isDrawnIn(TimeThreshold::amber, qRgb(255, 176, 0)));
        QVERIFY(isDrawnIn(TimeThreshold::red, qRgb(255, 59, 48)));
        settings.useThresholdColors = false;
        QVERIFY(isDrawnIn(TimeThreshold::red, qRgb(255, 255, 255)));
    }

    void letsATranslucentBackgroundThrough()
    {
        const QImage image =
            picture({.isBlackout = true}, {{.r = 1, .g = 0, .b = 0, .a = 0.5}, white});
        QVERIFY(qAbs(qAlpha(image.pixel(5, 5)) - 128) <= 1);
    }

    void fitsAMessageOnce()
    {
        const DisplaySnapshot snapshot {.message = u"A message of its own"_s};
        (void)picture(snapshot);
        const int before = messageFitCount();
        (void)picture(snapshot);
        QCOMPARE(messageFitCount(), before);
        (void)picture(snapshot, {black, white}, fullHd / 2);
        QCOMPARE(messageFitCount(), before + 1);
    }

    void fitsMessages_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("lines");
        QTest::addColumn<bool>("isWhole");

        const QString sentence =
            u"Please take your seats, the second half begins in five minutes. "_s;
        QTest::newRow("a word") << u"Doors"_s << 1 << true;
        QTest::newRow("a long word") << u"Donaudampfschifffahrtsgesellschaft"_s << 1 << true;
        QTest::newRow("two lines") << u"one\ntwo"_s << 2 << true;
        QTest::newRow("many lines") << u"1\n2\n3\n4\n5\n6"_s << 4 << false;
        QTest::newRow("a sentence") << sentence.trimmed() << 3 << true;
        QTest::newRow("a page") << sentence.repeated(200) << 4 << false;
        QTest::newRow("no place to break") << QString(20'000, u'x') << 4 << false;
        for (const char16_t separator : {u'\r', u'\v', u'\f', u'\u0085', u'\u2028', u'\u2029'}) {
            QTest::addRow("separator %02X", separator)
                << QString(u"one%1two"_s.arg(QChar(separator))) << 2 << true;
        }
        QTest::newRow("both directions")
            << u"נא Speaker John Smith from Example Corporation International بدأ 25 دقائق"_s << 3
            << true;
        QTest::newRow("right to left")
            << u"الرجاء الجلوس في مقاعدكم، يبدأ النصف الثاني بعد خمس دقائق"_s << 3 << true;
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

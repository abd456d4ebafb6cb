#include "StreamDeck/StreamDeckImage.h"

#include "helpers/Ink.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace StreamDeckImage;

namespace {

constexpr auto symbol = "stop.fill"_L1;

} // namespace

class StreamDeckImageTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void placesWhatItDraws_data();
    void placesWhatItDraws();
    void drawsAPlainSquare();
    void lightensAPressedKey();
    void reservesTheRoomOfASubtitle();
    void cutsWhatFitsAtNoSize();
    void fitsSizes_data();
    void fitsSizes();
    void turns_data();
    void turns();
    void writesEveryByteOfABmp();
    void writesPaddedRows();
    void encodesForEveryModel_data();
    void encodesForEveryModel();
    void saysWhenItCannotEncode();
};

/// Where the ink must be, from Inter's measures: capitals are 0.727 of the size high, the baseline
/// is 0.969 below the line's top, and a line is 1.21 high. The square of stop.fill has two thirds
/// of its symbol's edge.
void StreamDeckImageTest::placesWhatItDraws_data()
{
    QTest::addColumn<KeyFace>("face");
    QTest::addColumn<double>("top");
    QTest::addColumn<double>("bottom");
    QTest::addColumn<int>("pixels");
    /// What is below it is not looked at.
    QTest::addColumn<int>("lastRow");

    const auto row = [](const char* name, const KeyFace& face, double top, double bottom,
                         int pixels = 100, int lastRow = 99) {
        QTest::newRow(name) << face << top << bottom << pixels << lastRow;
    };
    const KeyFace all {.title = u"H"_s, .subtitle = u"H"_s, .systemSymbol = symbol};
    row("title", {.title = u"H"_s}, 67.0, 91.1);
    row("title, room below", {.title = u"H"_s, .reserveSubtitle = true}, 51.0, 75.1);
    row("large title", {.title = u"H"_s, .largeTitle = true}, 25.0, 85.2);
    // 90 wide: the size is 28.9, the line stands in the middle of its band.
    row("large title, width decides", {.title = u"00:00"_s, .largeTitle = true}, 38.5, 60.4);
    row("subtitle", {.subtitle = u"H"_s}, 85.1, 95.8);
    row("symbol", {.systemSymbol = symbol}, 20.0, 80.0);
    row("symbol above title", {.title = u"H"_s, .systemSymbol = symbol}, 14.0, 50.0, 100, 58);
    row("symbol above title and subtitle", all, 11.3, 36.7, 100, 42);
    row("the same, 72 pixels", all, 8.2, 26.4, 72, 30);
    row("no room for a symbol", {.title = u"H"_s, .systemSymbol = symbol, .largeTitle = true}, 25.0,
        85.2);
}

void StreamDeckImageTest::placesWhatItDraws()
{
    QFETCH(KeyFace, face);
    QFETCH(double, top);
    QFETCH(double, bottom);
    QFETCH(int, pixels);
    QFETCH(int, lastRow);

    const QImage picture = render(face, pixels);
    QCOMPARE(picture.size(), QSize(pixels, pixels));
    const QRect area = ink(picture, QRect(0, 0, pixels, lastRow + 1));
    QVERIFY2(qAbs(area.top() - top) <= 1.1, qPrintable(u"top %1"_s.arg(area.top())));
    QVERIFY2(
        qAbs(area.bottom() + 1 - bottom) <= 1.1, qPrintable(u"bottom %1"_s.arg(area.bottom() + 1)));
    QVERIFY(area.left() >= 0.05 * pixels - 1 && area.right() <= 0.95 * pixels + 1);
    QVERIFY(qAbs(QRectF(area).center().x() - pixels / 2.0) <= 1);
}

void StreamDeckImageTest::drawsAPlainSquare()
{
    QVERIFY(render({}, 0).isNull());
    const QImage blank = render(KeyFace::blank, 72);
    QVERIFY(ink(blank, blank.rect()).isEmpty());
    QCOMPARE(blank.pixelColor(0, 0), QColor(15, 15, 15));

    QTest::ignoreMessage(QtCriticalMsg, "There is no symbol none.fill");
    QCOMPARE(render({.title = u"GO"_s, .systemSymbol = u"none.fill"_s}, 72),
        render({.title = u"GO"_s}, 72));
}

void StreamDeckImageTest::lightensAPressedKey()
{
    KeyFace face {.title = u"GO"_s, .background = Qt::red};
    const QImage released = render(face, 72);
    face.pressed = true;
    const QImage pressed = render(face, 72);
    QCOMPARE(pressed.pixelColor(0, 0), QColor(255, 77, 77));
    QCOMPARE(ink(pressed, pressed.rect()), ink(released, released.rect()));
}

void StreamDeckImageTest::reservesTheRoomOfASubtitle()
{
    const QRect above(0, 0, 96, 75);
    KeyFace face {.title = u"Cue"_s, .systemSymbol = symbol, .reserveSubtitle = true};
    const QImage reserved = render(face, 96);
    face.subtitle = u"cue 3"_s;
    const QImage used = render(face, 96);
    QCOMPARE(reserved.copy(above), used.copy(above));
    QVERIFY(reserved != used);
    // Four fifths of white on black.
    QVERIFY(qAbs(render({.subtitle = u"I"_s}, 1000).pixelColor(500, 900).red() - 204) <= 1);
}

void StreamDeckImageTest::cutsWhatFitsAtNoSize()
{
    const QString text = u"The quick brown fox jumps over the lazy dog"_s;
    const QImage cut = render({.title = text}, 72);
    QCOMPARE(render({.title = text + u" again"_s}, 72), cut);
    const QRect area = ink(cut, cut.rect());
    QVERIFY(area.left() >= 3 && area.right() <= 69);
    // Capitals of a size of 8.
    QVERIFY(qAbs(area.height() - 8) <= 2);
}

void StreamDeckImageTest::fitsSizes_data()
{
    using Width = std::function<double(double)>;
    QTest::addColumn<double>("roomHeight");
    QTest::addColumn<Width>("width");
    QTest::addColumn<double>("expected");

    const auto times = [](double factor) {
        return Width([=](double size) { return factor * size; });
    };
    QTest::newRow("no width") << 50.0 << times(0) << 46.0;
    QTest::newRow("height decides") << 50.0 << times(1) << 46.0;
    QTest::newRow("width decides") << 50.0 << times(3) << 30.0;
    QTest::newRow("smallest") << 50.0 << times(100) << 8.0;
    QTest::newRow("low room") << 5.0 << times(1) << 8.0;
    // At 100 it is 120 wide, so the search begins at 75.
    QTest::newRow("wider at small sizes")
        << 500.0 << Width([](double size) { return size + 20; }) << 70.0;
    QTest::newRow("gives up") << 500.0 << Width([](double size) { return size < 100 ? 91 : 100; })
                              << 66.0;
}

void StreamDeckImageTest::fitsSizes()
{
    QFETCH(double, roomHeight);
    QFETCH(std::function<double(double)>, width);
    QFETCH(double, expected);
    QVERIFY(qAbs(fittedFontSize(roomHeight, 90, width) - expected) < 1e-9);
}

void StreamDeckImageTest::turns_data()
{
    QTest::addColumn<StreamDeckModel>("model");
    QTest::addColumn<QByteArray>("expected");

    const auto row = [](const char* expected, const StreamDeckModel& model) {
        QTest::newRow(expected) << model << QByteArray(expected);
    };
    row("ABCD", {});
    row("BADC", {.flipX = true});
    row("CDAB", {.flipY = true});
    row("DCBA", {.flipX = true, .flipY = true});
    row("BDAC", {.rotationDegrees = 90});
    row("ACBD", {.flipY = true, .rotationDegrees = 90});
    row("DBCA", {.flipX = true, .rotationDegrees = 90});
}

void StreamDeckImageTest::turns()
{
    QFETCH(StreamDeckModel, model);
    QFETCH(QByteArray, expected);

    QImage picture(2, 2, QImage::Format_ARGB32_Premultiplied);
    for (int i = 0; i < 4; ++i)
        picture.setPixel(i % 2, i / 2, qRgb('A' + i, 0, 0));
    const QImage turned = transform(picture, model);
    QByteArray letters;
    for (int i = 0; i < 4; ++i)
        letters += static_cast<char>(qRed(turned.pixel(i % 2, i / 2)));
    QCOMPARE(letters, expected);
}

void StreamDeckImageTest::writesEveryByteOfABmp()
{
    QImage picture(1, 1, QImage::Format_ARGB32_Premultiplied);
    picture.fill(QColor(0x11, 0x22, 0x33));
    QCOMPARE(bmp(picture).toHex(' '),
        "42 4d 3a 00 00 00 00 00 00 00 36 00 00 00 28 00 00 00 01 00 00 00 01 00 00 00 01 00 18 00 "
        "00 00 00 00 04 00 00 00 13 0b 00 00 13 0b 00 00 00 00 00 00 00 00 00 00 33 22 11 00");
}

void StreamDeckImageTest::writesPaddedRows()
{
    const QImage picture = render({.title = u"7"_s}, 5);
    QCOMPARE(bmp(picture).size(), 54 + 5 * 16);
    QCOMPARE(QImage::fromData(bmp(picture), "BMP").convertToFormat(QImage::Format_RGB32),
        picture.convertToFormat(QImage::Format_RGB32));
}

void StreamDeckImageTest::encodesForEveryModel_data()
{
    QTest::addColumn<StreamDeckModel>("model");
    for (const StreamDeckModel& model : StreamDeckModel::all())
        QTest::addRow("%04llx", model.productID) << model;
}

void StreamDeckImageTest::encodesForEveryModel()
{
    QFETCH(StreamDeckModel, model);
    const KeyFace face {.title = u"Cue"_s, .systemSymbol = symbol, .tint = QColor(97, 163, 245)};
    const QImage picture = render(face, model.keyPixels);
    const std::optional<QByteArray> bytes = encode(picture, model);
    QCOMPARE(bytes.has_value(), model.hasDisplays());
    if (!bytes)
        return;

    const bool isBmp = model.imageFormat == StreamDeckModel::ImageFormat::bmp;
    const QImage decoded = QImage::fromData(*bytes, isBmp ? "BMP" : "JPEG");
    const QImage turned = transform(picture, model);
    QCOMPARE(decoded.size(), turned.size());
    int difference = 0;
    for (int y = 0; y < turned.height(); ++y) {
        for (int x = 0; x < turned.width(); ++x)
            difference += qAbs(qGreen(decoded.pixel(x, y)) - qGreen(turned.pixel(x, y)));
    }
    const double mean = static_cast<double>(difference) / (turned.width() * turned.height());
    QVERIFY2(mean <= (isBmp ? 0 : 2.5), qPrintable(u"off by %1"_s.arg(mean)));
}

void StreamDeckImageTest::saysWhenItCannotEncode()
{
    QTest::ignoreMessage(
        QtCriticalMsg, QRegularExpression(u"The picture of a key cannot be encoded: .+"_s));
    QVERIFY(!jpeg(QImage(), 0.9));
}

QTEST_MAIN(StreamDeckImageTest)
#include "tst_StreamDeckImage.moc"

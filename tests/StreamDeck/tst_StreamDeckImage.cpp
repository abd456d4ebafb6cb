#include "StreamDeck/StreamDeckImage.h"

#include "helpers/Ink.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace StreamDeckImage;

namespace {

const KeyFace plain;

KeyFace with(KeyFace face, const QString& title, const QString& subtitle = {},
    const std::optional<QString>& symbol = {})
{
    face.title = title;
    face.subtitle = subtitle;
    face.systemSymbol = symbol;
    return face;
}

KeyFace reserving(KeyFace face)
{
    face.reserveSubtitle = true;
    return face;
}

KeyFace large(KeyFace face)
{
    face.largeTitle = true;
    return face;
}

StreamDeckModel model(int rotationDegrees, bool flipX, bool flipY)
{
    StreamDeckModel result;
    result.rotationDegrees = rotationDegrees;
    result.flipX = flipX;
    result.flipY = flipY;
    return result;
}

/// The pixel of the upright picture that a device's panel wants at a place.
QPoint source(QPoint place, int edge, const StreamDeckModel& model)
{
    if (model.flipX)
        place.setX(edge - 1 - place.x());
    if (model.flipY)
        place.setY(edge - 1 - place.y());
    if (model.rotationDegrees == 90)
        place = {edge - 1 - place.y(), place.x()};
    return place;
}

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
    QTest::addColumn<int>("pixels");
    /// The rows from where to where are looked at.
    QTest::addColumn<QSize>("rows");
    QTest::addColumn<double>("top");
    QTest::addColumn<double>("bottom");

    const QSize all(0, 100);
    const auto symbol = std::optional(u"stop.fill"_s);
    QTest::newRow("title") << with(plain, u"H"_s) << 100 << all << 67.0 << 91.1;
    QTest::newRow("title, room below")
        << reserving(with(plain, u"H"_s)) << 100 << all << 51.0 << 75.1;
    QTest::newRow("large title") << large(with(plain, u"H"_s)) << 100 << all << 25.0 << 85.2;
    // 90 wide: the size is 28.9, the line stands in the middle of its band.
    QTest::newRow("large title, width decides")
        << large(with(plain, u"00:00"_s)) << 100 << all << 38.5 << 60.4;
    QTest::newRow("subtitle") << with(plain, {}, u"H"_s) << 100 << all << 85.1 << 95.8;
    QTest::newRow("symbol") << with(plain, {}, {}, symbol) << 100 << all << 20.0 << 80.0;
    QTest::newRow("symbol above title")
        << with(plain, u"H"_s, {}, symbol) << 100 << QSize(0, 59) << 14.0 << 50.0;
    QTest::newRow("symbol above title and subtitle")
        << with(plain, u"H"_s, u"H"_s, symbol) << 100 << QSize(0, 43) << 11.3 << 36.7;
    QTest::newRow("the same, 72 pixels")
        << with(plain, u"H"_s, u"H"_s, symbol) << 72 << QSize(0, 31) << 8.2 << 26.4;
    QTest::newRow("no room for a symbol")
        << large(with(plain, u"H"_s, {}, symbol)) << 100 << all << 25.0 << 85.2;
}

void StreamDeckImageTest::placesWhatItDraws()
{
    QFETCH(KeyFace, face);
    QFETCH(int, pixels);
    QFETCH(QSize, rows);
    QFETCH(double, top);
    QFETCH(double, bottom);

    const QImage picture = render(face, pixels);
    QCOMPARE(picture.size(), QSize(pixels, pixels));
    const QRect area =
        ink(picture, QRect(QPoint(0, rows.width()), QPoint(pixels - 1, rows.height() - 1)));
    QVERIFY2(qAbs(area.top() - top) <= 1.1, qPrintable(u"top %1"_s.arg(area.top())));
    QVERIFY2(
        qAbs(area.bottom() + 1 - bottom) <= 1.1, qPrintable(u"bottom %1"_s.arg(area.bottom() + 1)));
    QVERIFY(area.left() >= 0.05 * pixels - 1 && area.right() <= 0.95 * pixels + 1);
    QVERIFY(qAbs(QRectF(area).center().x() - pixels / 2.0) <= 1);
}

void StreamDeckImageTest::drawsAPlainSquare()
{
    QVERIFY(render(plain, 0).isNull());
    QImage blank = render(KeyFace::blank, 72);
    QVERIFY(ink(blank, blank.rect()).isEmpty());
    QCOMPARE(blank.pixelColor(0, 0), QColor(15, 15, 15));

    QTest::ignoreMessage(QtCriticalMsg, "There is no symbol none.fill");
    QCOMPARE(
        render(with(plain, u"GO"_s, {}, u"none.fill"_s), 72), render(with(plain, u"GO"_s), 72));
}

void StreamDeckImageTest::lightensAPressedKey()
{
    KeyFace face = with(plain, u"GO"_s);
    face.background = Qt::red;
    const QImage released = render(face, 72);
    face.pressed = true;
    const QImage pressed = render(face, 72);
    QCOMPARE(pressed.pixelColor(0, 0), QColor(255, 77, 77));
    QCOMPARE(ink(pressed, pressed.rect()), ink(released, released.rect()));
}

void StreamDeckImageTest::reservesTheRoomOfASubtitle()
{
    const QRect above(0, 0, 96, 75);
    const QImage reserved = render(reserving(with(plain, u"Cue"_s, {}, u"forward.fill"_s)), 96);
    const QImage used = render(reserving(with(plain, u"Cue"_s, u"cue 3"_s, u"forward.fill"_s)), 96);
    QCOMPARE(reserved.copy(above), used.copy(above));
    QVERIFY(reserved != used);
    // Four fifths of white on black.
    QVERIFY(qAbs(render(with(plain, {}, u"I"_s), 1000).pixelColor(500, 900).red() - 204) <= 1);
}

void StreamDeckImageTest::cutsWhatFitsAtNoSize()
{
    const QString text = u"The quick brown fox jumps over the lazy dog"_s;
    const QImage cut = render(with(plain, text), 72);
    QCOMPARE(render(with(plain, text + u" again"_s), 72), cut);
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

    QTest::newRow("not at all") << model(0, false, false) << QByteArray("ABCD");
    QTest::newRow("left-right") << model(0, true, false) << QByteArray("BADC");
    QTest::newRow("top-bottom") << model(0, false, true) << QByteArray("CDAB");
    QTest::newRow("both") << model(0, true, true) << QByteArray("DCBA");
    QTest::newRow("a quarter") << model(90, false, false) << QByteArray("BDAC");
    QTest::newRow("a quarter, top-bottom") << model(90, false, true) << QByteArray("ACBD");
    QTest::newRow("a quarter, left-right") << model(90, true, false) << QByteArray("DBCA");
    QTest::newRow("no other angle") << model(180, false, false) << QByteArray("ABCD");
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
    const KeyFace face = with(plain, u"7"_s);
    for (const auto& [edge, size] :
        {std::pair(5, 134), std::pair(72, 15'606), std::pair(80, 19'254)}) {
        const QImage picture = render(face, edge);
        QCOMPARE(bmp(picture).size(), size);
        QCOMPARE(QImage::fromData(bmp(picture), "BMP").convertToFormat(QImage::Format_RGB32),
            picture.convertToFormat(QImage::Format_RGB32));
    }
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
    const int edge = model.keyPixels;
    KeyFace face = with(plain, u"Cue"_s, u"cue 3"_s, u"forward.fill"_s);
    face.tint = QColor(97, 163, 245);
    const QImage picture = render(face, edge);
    const std::optional<QByteArray> bytes = encode(picture, model);
    QCOMPARE(bytes.has_value(), model.hasDisplays());
    if (!bytes)
        return;

    const bool isBmp = model.imageFormat == StreamDeckModel::ImageFormat::bmp;
    const QImage decoded = QImage::fromData(*bytes, isBmp ? "BMP" : "JPEG");
    QCOMPARE(decoded.size(), picture.size());
    int difference = 0;
    for (int y = 0; y < edge; ++y) {
        for (int x = 0; x < edge; ++x) {
            const QColor expected = picture.pixelColor(source({x, y}, edge, model));
            difference += qAbs(decoded.pixelColor(x, y).green() - expected.green());
        }
    }
    const double mean = static_cast<double>(difference) / (edge * edge);
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

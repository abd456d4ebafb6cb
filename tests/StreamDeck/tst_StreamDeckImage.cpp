#include "StreamDeck/StreamDeckImage.h"

#include "helpers/DeckReports.h"
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
    /// Where the ink must be, from Inter's measures: capitals are 0.727 of the size high, the
    /// baseline is 0.969 below the line's top, and a line is 1.21 high. The square of stop.fill has
    /// two thirds of its symbol's edge.
    void placesWhatItDraws_data()
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
        // 90 wide: the size is 28.9, the line stands in the middle of its band.
        row("large title, width decides", {.title = u"00:00"_s, .largeTitle = true}, 38.5, 60.4);
        row("symbol above title", {.title = u"H"_s, .systemSymbol = symbol}, 14.0, 50.0, 100, 58);
        row("everything on 72 pixels", all, 8.2, 26.4, 72, 30);
        row("no room for a symbol", {.title = u"H"_s, .systemSymbol = symbol, .largeTitle = true},
            25.0, 85.2);
    }
    void placesWhatItDraws()
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
        QVERIFY2(qAbs(area.bottom() + 1 - bottom) <= 1.1,
            qPrintable(u"bottom %1"_s.arg(area.bottom() + 1)));
        QVERIFY(area.left() >= 0.05 * pixels - 1 && area.right() <= 0.95 * pixels + 1);
        QVERIFY(qAbs(QRectF(area).center().x() - pixels / 2.0) <= 1);
    }

    void drawsAPlainSquare()
    {
        QVERIFY(render({}, 0).isNull());
        const QImage blank = render(KeyFace::blank, 72);
        QVERIFY(ink(blank, blank.rect()).isEmpty());
        QCOMPARE(blank.pixelColor(0, 0), QColor(15, 15, 15));
    }

    void writesEveryByteOfABmp()
    {
        QImage picture(1, 1, QImage::Format_ARGB32_Premultiplied);
        picture.fill(QColor(0x11, 0x22, 0x33));
        QCOMPARE(bmp(picture).toHex(' '),
            "42 4d 3a 00 00 00 00 00 00 00 36 00 00 00 28 00 00 00 01 00 00 00 01 00 00 00 01 00 "
            "18 00 "
            "00 00 00 00 04 00 00 00 13 0b 00 00 13 0b 00 00 00 00 00 00 00 00 00 00 33 22 11 00");
    }

    void fitsSizes()
    {
        const auto fitted = [](double roomHeight, const std::function<double(double)>& width) {
            return fittedFontSize(roomHeight, 90, width);
        };
        const auto times = [](double factor) { return [=](double size) { return factor * size; }; };
        QCOMPARE(fitted(50, times(1)), 46.0);
        QCOMPARE(fitted(50, times(3)), 30.0);
        QCOMPARE(fitted(50, times(100)), 8.0);
        // At 100 it is 120 wide, so the search begins at 75.
        QCOMPARE(fitted(500, [](double size) { return size + 20; }), 70.0);
        // It gives up.
        QCOMPARE(fitted(500, [](double size) { return size < 100 ? 91 : 100; }), 66.0);
    }

    void turnsAndEncodes_data()
    {
        QTest::addColumn<int>("productID");
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<QByteArray>("quarters");
        QTest::newRow("original") << Deck::original << QByteArray("BMP") << QByteArray("DCBA");
        QTest::newRow("mini") << Deck::mini << QByteArray("BMP") << QByteArray("ACBD");
        QTest::newRow("XL") << Deck::xl << QByteArray("JPEG") << QByteArray("DCBA");
        QTest::newRow("plus") << Deck::plus << QByteArray("JPEG") << QByteArray("ABCD");
    }
    /// A picture of four quarters, A and B above C and D, each with more red than the one before.
    void turnsAndEncodes()
    {
        QFETCH(const int, productID);
        QFETCH(const QByteArray, format);
        const StreamDeckModel model = *StreamDeckModel::model(productID);
        QImage quarters(2, 2, QImage::Format_ARGB32_Premultiplied);
        for (int i = 0; i < 4; ++i)
            quarters.setPixelColor(i % 2, i / 2, QColor(60 * i, 100, 255));
        const QImage picture = quarters.scaled(model.keyPixels, model.keyPixels);
        const QImage decoded = QImage::fromData(encode(picture, model).value(), format);
        QCOMPARE(decoded.size(), picture.size());
        QByteArray letters;
        for (int i = 0; i < 4; ++i) {
            const QPoint middle = QPoint(1 + i % 2 * 2, 1 + i / 2 * 2) * model.keyPixels / 4;
            letters += static_cast<char>('A' + qRound(qRed(decoded.pixel(middle)) / 60.0));
        }
        QTEST(letters, "quarters");
    }
};

QTEST_MAIN(StreamDeckImageTest)
#include "tst_StreamDeckImage.moc"

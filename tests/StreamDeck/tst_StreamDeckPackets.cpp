#include "StreamDeck/StreamDeckPackets.h"

#include <QTest>

namespace {

using namespace StreamDeckImage;

/// Bytes that are all different from those before and behind them.
QByteArray counted(int length)
{
    QByteArray bytes(length, '\0');
    for (int at = 0; at < length; ++at)
        bytes[at] = static_cast<char>(at % 251 + 1);
    return bytes;
}

using Framing = QList<QByteArray> (*)(QByteArrayView, int);

} // namespace

Q_DECLARE_METATYPE(Framing)

class StreamDeckPacketsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void framesAPicture_data();
    void framesAPicture();
    void choosesTheFraming_data();
    void choosesTheFraming();
};

void StreamDeckPacketsTest::framesAPicture_data()
{
    QTest::addColumn<Framing>("framing");
    QTest::addColumn<int>("imageLength");
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("reportLength");
    /// Header and payload length of each report.
    QTest::addColumn<QList<QByteArray>>("headers");
    QTest::addColumn<QList<int>>("payloads");

    const auto header = [](const char* hex, int length) {
        return QByteArray::fromHex(hex).leftJustified(length, '\0');
    };
    const auto gen2 = [&](const char* hex) { return header(hex, 8); };
    const auto bmp = [&](const char* hex) { return header(hex, 16); };

    QTest::newRow("gen2, empty") << Framing(gen2Packets) << 0 << 3 << 1024
                                 << QList {gen2("0207030100000000")} << QList {0};
    QTest::newRow("gen2, one full page") << Framing(gen2Packets) << 1016 << 31 << 1024
                                         << QList {gen2("02071f01f8030000")} << QList {1016};
    QTest::newRow("gen2, a byte more")
        << Framing(gen2Packets) << 1017 << 0 << 1024
        << QList {gen2("02070000f8030000"), gen2("0207000101000100")} << QList {1016, 1};
    QTest::newRow("mini, empty") << Framing(miniPackets) << 0 << 5 << 1024
                                 << QList {bmp("020100000106")} << QList {0};
    QTest::newRow("mini, three pages")
        << Framing(miniPackets) << 2017 << 0 << 1024
        << QList {bmp("020100000001"), bmp("020101000001"), bmp("020102000101")}
        << QList {1008, 1008, 1};
    QTest::newRow("gen1, empty") << Framing(gen1Packets) << 0 << 0 << 8191
                                 << QList {bmp("020101000001"), bmp("020102000101")}
                                 << QList {0, 0};
    QTest::newRow("gen1, an odd length")
        << Framing(gen1Packets) << 15607 << 14 << 8191
        << QList {bmp("02010100000f"), bmp("02010200010f")} << QList {7803, 7804};
}

void StreamDeckPacketsTest::framesAPicture()
{
    QFETCH(const Framing, framing);
    QFETCH(const int, imageLength);
    QFETCH(const int, key);
    QFETCH(const int, reportLength);
    QFETCH(const QList<QByteArray>, headers);
    QFETCH(const QList<int>, payloads);

    const QByteArray image = counted(imageLength);
    const QList<QByteArray> reports = framing(image, key);
    QCOMPARE(reports.size(), headers.size());
    qsizetype at = 0;
    for (qsizetype index = 0; index < reports.size(); ++index) {
        const QByteArray expected =
            (headers[index] + image.mid(at, payloads[index])).leftJustified(reportLength, '\0');
        QCOMPARE(reports[index], expected);
        at += payloads[index];
    }
    QCOMPARE(at, image.size());
}

void StreamDeckPacketsTest::choosesTheFraming_data()
{
    QTest::addColumn<int>("productID");
    QTest::addColumn<Framing>("framing");

    QTest::newRow("JPEG") << 0x006C << Framing(gen2Packets);
    QTest::newRow("BMP, first generation") << 0x0060 << Framing(gen1Packets);
    QTest::newRow("BMP, six keys") << 0x0063 << Framing(miniPackets);
    QTest::newRow("no displays") << 0x0086 << Framing([](QByteArrayView, int) {
        return QList<QByteArray>();
    });
}

void StreamDeckPacketsTest::choosesTheFraming()
{
    QFETCH(const int, productID);
    QFETCH(const Framing, framing);
    const QByteArray image = counted(3000);
    QCOMPARE(packets(image, 2, *StreamDeckModel::model(productID)), framing(image, 2));
}

QTEST_APPLESS_MAIN(StreamDeckPacketsTest)
#include "tst_StreamDeckPackets.moc"

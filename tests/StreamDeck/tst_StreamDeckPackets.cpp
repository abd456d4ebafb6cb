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

    const auto row = [](const char* name, Framing framing, int imageLength, int key,
                         int reportLength, const QList<QByteArray>& headers,
                         const QList<int>& payloads) {
        QTest::newRow(name) << framing << imageLength << key << reportLength << headers << payloads;
    };
    row("gen2, empty", gen2Packets, 0, 3, 1024, {gen2("0207030100000000")}, {0});
    row("gen2, one full page", gen2Packets, 1016, 31, 1024, {gen2("02071f01f8030000")}, {1016});
    row("gen2, a byte more", gen2Packets, 1017, 0, 1024,
        {gen2("02070000f8030000"), gen2("0207000101000100")}, {1016, 1});
    row("mini, empty", miniPackets, 0, 5, 1024, {bmp("020100000106")}, {0});
    row("mini, three pages", miniPackets, 2017, 0, 1024,
        {bmp("020100000001"), bmp("020101000001"), bmp("020102000101")}, {1008, 1008, 1});
    row("gen1, empty", gen1Packets, 0, 0, 8191, {bmp("020101000001"), bmp("020102000101")}, {0, 0});
    row("gen1, an odd length", gen1Packets, 15607, 14, 8191,
        {bmp("02010100000f"), bmp("02010200010f")}, {7803, 7804});
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

QTEST_APPLESS_MAIN(StreamDeckPacketsTest)
#include "tst_StreamDeckPackets.moc"

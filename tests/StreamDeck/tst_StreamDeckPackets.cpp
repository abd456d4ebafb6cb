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

/// The bytes that a report begins with, and how much of the picture it holds.
struct Page {
    const char* header;
    int payload;
};

QList<QByteArray> reports(
    const QByteArray& picture, int headerLength, int reportLength, const QList<Page>& pages)
{
    QList<QByteArray> reports;
    qsizetype at = 0;
    for (const Page& page : pages) {
        const QByteArray header =
            QByteArray::fromHex(page.header).leftJustified(headerLength, '\0');
        reports += (header + picture.mid(at, page.payload)).leftJustified(reportLength, '\0');
        at += page.payload;
    }
    return reports;
}

} // namespace

class StreamDeckPacketsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void framesPictures()
    {
        const QByteArray fullPage = counted(1016);
        QCOMPARE(
            gen2Packets(fullPage, 31), reports(fullPage, 8, 1024, {{"02071f01f8030000", 1016}}));
        const QByteArray byteMore = counted(1017);
        QCOMPARE(gen2Packets(byteMore, 0),
            reports(byteMore, 8, 1024, {{"02070000f8030000", 1016}, {"0207000101000100", 1}}));
        const QByteArray threePages = counted(2017);
        QCOMPARE(miniPackets(threePages, 0),
            reports(threePages, 16, 1024,
                {{"020100000001", 1008}, {"020101000001", 1008}, {"020102000101", 1}}));
        const QByteArray odd = counted(15607);
        QCOMPARE(gen1Packets(odd, 14),
            reports(odd, 16, 8191, {{"02010100000f", 7803}, {"02010200010f", 7804}}));
    }
};

QTEST_APPLESS_MAIN(StreamDeckPacketsTest)
#include "tst_StreamDeckPackets.moc"

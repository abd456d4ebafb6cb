#include "helpers/DeckReports.h"
#include "helpers/FakeDecks.h"
#include "helpers/RunningProgram.h"

#include <QImage>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

using namespace Deck;

struct Picture {
    /// As the device counts it; -1 when no picture has come.
    int key = -1;
    QImage image;
};

/// Puts the next picture for a key together from its reports.
Picture takePicture(FakeDecks& decks, int number, const StreamDeckModel& model)
{
    const bool isGen1 = model.generation == StreamDeckModel::Generation::gen1;
    const bool isGen2 = model.generation == StreamDeckModel::Generation::gen2;
    QByteArray file;
    for (;;) {
        const QByteArray report = decks.takeReport(number, isGen1 ? 8191 : 1024);
        if (report.isEmpty())
            return {};
        if (isGen2) {
            const int length = quint8(report[4]) | quint8(report[5]) << 8;
            file += report.mid(8, length);
        } else {
            // The reports are filled up; the file says itself how long it is.
            file += isGen1 ? report.mid(16, model.keyPixels * model.keyPixels * 3 / 2 + 27)
                           : report.mid(16);
        }
        if (const int key = completedKey(report); key >= 0)
            return {key, QImage::fromData(file)};
    }
}

/// The keys that the next pictures are for.
QList<int> takeKeys(FakeDecks& decks, int number, const StreamDeckModel& model, int count)
{
    QList<int> keys;
    while (keys.size() < count)
        keys.append(takePicture(decks, number, model).key);
    return keys;
}

bool startWithDecks(RunningProgram& program)
{
    program.setStoredText(u"sd.enabled"_s, u"true"_s);
    return program.start();
}

bool isBlack(const QImage& image)
{
    QImage expected = image;
    expected.fill(Qt::black);
    return image == expected;
}

} // namespace

/// The whole program with a Stream Deck, through udev and hidraw.
class StreamDeckProgramTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void paintsTheKeys_data();
    void paintsTheKeys();
    void letsADeckComeAndGo();
    void endsWithADeckThatTakesNothing();
};

void StreamDeckProgramTest::paintsTheKeys_data()
{
    QTest::addColumn<int>("productID");
    QTest::newRow("15 keys of the first generation") << original;
    QTest::newRow("6 keys") << mini;
    QTest::newRow("8 keys with dials") << plus;
    QTest::newRow("no displays") << pedal;
}

void StreamDeckProgramTest::paintsTheKeys()
{
    QFETCH(const int, productID);
    const StreamDeckModel model = *StreamDeckModel::model(productID);
    FakeDecks decks;
    decks.plug(0, productID);
    RunningProgram program;
    QVERIFY(startWithDecks(program));

    QTRY_COMPARE(decks.featureReports(0).size(), 2);
    const bool isGen2 = model.generation == StreamDeckModel::Generation::gen2;
    const auto padded = [&](const char* hex) {
        return QByteArray::fromHex(hex).leftJustified(isGen2 ? 32 : 17, '\0');
    };
    QCOMPARE(decks.featureReports(0),
        (QList {padded(isGen2 ? "030846" : "0555aad10146"), padded(isGen2 ? "0302" : "0b63")}));

    const int pictures = model.hasDisplays() ? model.keyCount : 0;
    for (const bool isAtTheEnd : {false, true}) {
        if (isAtTheEnd) {
            QVERIFY(program.quits());
        }
        for (int key = 0; key < pictures; ++key) {
            const Picture picture = takePicture(decks, 0, model);
            QCOMPARE(picture.key, model.mirroredKey(key));
            QCOMPARE(picture.image.size(), QSize(model.keyPixels, model.keyPixels));
            QCOMPARE(isBlack(picture.image), isAtTheEnd);
        }
    }
    QCOMPARE(decks.takeAll(0), QByteArray());
}

void StreamDeckProgramTest::letsADeckComeAndGo()
{
    // umockdev loses the feature reports on a descriptor whose number was in use before, so they
    // are no part of this.
    FakeDecks decks;
    decks.plug(0, 0x0061);
    // What is listed as a deck, and is something else by the time it is opened.
    decks.plug(4, xl, 0x0061);
    RunningProgram program;
    QVERIFY(startWithDecks(program));
    QVERIFY(program.waitForLog("cannot open /dev/hidraw4: No such device"));

    decks.plug(1, mini);
    const StreamDeckModel first = *StreamDeckModel::model(mini);
    QCOMPARE(takeKeys(decks, 1, first, first.keyCount), (QList {0, 1, 2, 3, 4, 5}));
    // One deck at a time; what goes without having been driven changes nothing.
    decks.plug(2, xl);
    decks.unplug(2);
    program.send("BLACK");
    QCOMPARE(takeKeys(decks, 1, first, 2), (QList {0, 2}));
    QCOMPARE(decks.featureReports(2), QList<QByteArray>());

    decks.unplug(1);
    decks.plug(3, xl);
    const StreamDeckModel second = *StreamDeckModel::model(xl);
    QVERIFY(!takeKeys(decks, 3, second, second.keyCount).contains(-1));
    QCOMPARE(decks.takeAll(4), QByteArray());
}

void StreamDeckProgramTest::endsWithADeckThatTakesNothing()
{
    FakeDecks decks;
    decks.plug(0, original);
    RunningProgram program;
    QVERIFY(startWithDecks(program));
    QVERIFY(takePicture(decks, 0, *StreamDeckModel::model(original)).key >= 0);
    decks.hang(0);
    program.process().terminate();
    QVERIFY(program.waitForLog("the deck does not take what is written to it"));
    QVERIFY(program.endsWell());
}

QTEST_GUILESS_MAIN(StreamDeckProgramTest)
#include "tst_StreamDeckProgram.moc"

#include "helpers/DeckReports.h"
#include "helpers/FakeDecks.h"
#include "helpers/RunningProgram.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

using namespace Deck;

/// The keys that the next pictures are for, as the device counts them; fewer when no more come.
QList<int> takeKeys(FakeDecks& decks, int number, const StreamDeckModel& model, int count)
{
    const bool isGen1 = model.generation == StreamDeckModel::Generation::gen1;
    QList<int> keys;
    while (keys.size() < count) {
        const QByteArray report = decks.takeReport(number, isGen1 ? 8191 : 1024);
        if (report.isEmpty())
            return keys;
        if (const int key = completedKey(report); key >= 0)
            keys.append(key);
    }
    return keys;
}

bool startWithDecks(RunningProgram& program)
{
    program.setStoredText(u"sd.enabled"_s, u"true"_s);
    return program.start();
}

} // namespace

/// The whole program with a Stream Deck, through udev and hidraw.
class StreamDeckProgramTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void paintsTheKeys_data();
    void paintsTheKeys();
    void letsADeckComeAndGo();
    void goesOnAndEndsWithADeckThatTakesNothing();
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

    QList<int> keys;
    for (int key = 0; model.hasDisplays() && key < model.keyCount; ++key)
        keys.append(model.mirroredKey(key));
    const int count = static_cast<int>(keys.size());
    QCOMPARE(takeKeys(decks, 0, model, count), keys);
    QVERIFY(program.quits());
    // They go dark.
    QCOMPARE(takeKeys(decks, 0, model, count), keys);
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
    QCOMPARE(takeKeys(decks, 3, second, second.keyCount).size(), second.keyCount);
    QCOMPARE(decks.takeAll(4), QByteArray());
}

void StreamDeckProgramTest::goesOnAndEndsWithADeckThatTakesNothing()
{
    FakeDecks decks;
    decks.plug(0, original);
    decks.hang(0);
    RunningProgram program;
    QVERIFY(startWithDecks(program));
    // The pictures of all keys follow, before any command.
    QTRY_COMPARE(decks.featureReports(0).size(), 2);
    QVERIFY(program.carriesOut("GO 5"));
    program.process().terminate();
    QVERIFY(program.waitForLog("the deck does not take what is written to it"));
    QVERIFY(program.endsWell());
}

QTEST_GUILESS_MAIN(StreamDeckProgramTest)
#include "tst_StreamDeckProgram.moc"

#include "StreamDeck/StreamDeckHID.h"

#include "helpers/DeckReports.h"
#include "helpers/FakeHID.h"

#include <QRegularExpression>
#include <QTest>

#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

using namespace Deck;

HIDDeviceInfo deck(qint64 productID, const QByteArray& identity = "one")
{
    return {identity, "/dev/" + identity, productID};
}

/// A transport on fake devices, and all that it tells.
struct Rig {
    Rig()
    {
        hid.onConnect = [this](const StreamDeckModel& model) { note(u"+ "_s + model.name); };
        hid.onDisconnect = [this] { note(u"gone"_s); };
        hid.onKeyChange = [this](int key, bool pressed) {
            note(u"%1 %2"_s.arg(key).arg(pressed ? u"down"_s : u"up"_s));
        };
        hid.onAccessDenied = [this](const QString& message) { note(message); };
    }

    /// With one deck of that kind.
    void start(qint64 productID)
    {
        fake.attach(deck(productID));
        hid.start();
        fake.settle();
    }

    /// What was told since the last call.
    QStringList told()
    {
        const QMutexLocker lock(&mutex);
        return std::exchange(events, {});
    }

    FakeHID fake;
    QMutex mutex;
    QStringList events;
    StreamDeckHID hid {[this] { return fake.makeManager(); }};

private:
    void note(const QString& event)
    {
        const QMutexLocker lock(&mutex);
        events.append(event);
    }
};

QByteArray report(int productID, const QList<int>& down, char kind = 0)
{
    return keyReport(*StreamDeckModel::model(productID), down, kind);
}

} // namespace

class StreamDeckHIDTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void tellsOfKeys_data()
    {
        QTest::addColumn<int>("productID");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QStringList>("told");

        const auto row = [](const char* name, int productID, const QByteArray& bytes,
                             const QStringList& told) {
            QTest::newRow(name) << productID << bytes << told;
        };
        row("counted from the right, second row", original, report(original, {5}), {u"9 down"_s});
        row("two of 32 keys", xl, report(xl, {0, 31}), {u"0 down"_s, u"31 down"_s});
        row("header bytes mean nothing without dials", xl, report(xl, {1}, 3), {u"1 down"_s});
        row("longer than needed", plus, report(plus, {2}) + QByteArray(500, '\1'), {u"2 down"_s});
        row("a dial", plus, report(plus, {0}, 3), {});
        row("a key short, one byte of header", mini, report(mini, {0}).chopped(1), {});
        row("a key short, four bytes of header", xl, report(xl, {0}).chopped(1), {});
    }
    /// The same report again tells nothing; without a key that is down it tells that they are up.
    void tellsOfKeys()
    {
        QFETCH(const int, productID);
        QFETCH(const QByteArray, bytes);
        QFETCH(const QStringList, told);

        Rig rig;
        rig.start(productID);
        rig.told();
        rig.fake.report(bytes);
        QCOMPARE(rig.told(), told);
        rig.fake.report(bytes);
        QCOMPARE(rig.told(), QStringList());
        rig.fake.report(report(productID, {}));
        QCOMPARE(rig.told(), QStringList(told).replaceInStrings(u"down"_s, u"up"_s));
    }

    void drivesOneDeckAtATime()
    {
        Rig rig;
        rig.fake.attach(deck(xl, "one"));
        rig.fake.attach(deck(mini, "two"));
        rig.hid.start();
        rig.fake.settle();
        QCOMPARE(rig.told(), QStringList {u"+ Stream Deck XL"_s});

        rig.hid.rescan();
        rig.fake.settle();
        QCOMPARE(rig.told(), QStringList());
        rig.fake.detach("one");
        QCOMPARE(rig.told(), QStringList {u"gone"_s});
        rig.hid.rescan();
        rig.fake.settle();
        QCOMPARE(rig.told(), QStringList {u"+ Stream Deck Mini"_s});
    }

    void explainsWhyItCannotOpen()
    {
        Rig rig;
        rig.fake.deviceOpenError = EACCES;
        QTest::ignoreMessage(
            QtCriticalMsg, QRegularExpression(u"Stream Deck: cannot open /dev/one: "_s));
        rig.start(xl);
        QVERIFY(rig.told().value(0).startsWith(u"macOS blocked Stream Deck access"_s));
        QVERIFY(!rig.hid.model());
    }

    void startsAnewWhatTheSystemRefused()
    {
        Rig rig;
        rig.fake.attach(deck(xl));
        rig.fake.openError = EMFILE;
        rig.fake.endsAtOnce = true;
        QTest::ignoreMessage(QtCriticalMsg, QRegularExpression(u"cannot open the list"_s));
        rig.hid.start();
        QStringList told;
        const QString message = u"Couldn't open the Stream Deck (IOKit 0x00000018)."_s;
        QTRY_COMPARE(told += rig.told(), QStringList {message});
        rig.fake.openError = 0;
        rig.fake.endsAtOnce = false;
        // The thread may still be about to end.
        QTRY_VERIFY((rig.hid.rescan(), rig.hid.model()));
    }

    /// However long a deck takes nothing, no more waits for it than it can show.
    void writesTheLastOfEverythingInOrder()
    {
        Rig rig;
        rig.start(xl);
        const auto device = rig.fake.device();
        device->writable.acquire(device->writable.available());
        rig.hid.sendKeyPackets(0, {"begun", QByteArray(), "to be ended"});
        QTRY_COMPARE(device->writesBegun.available(), 1);
        for (const QByteArray& second : {QByteArray("1"), QByteArray("2"), QByteArray("3")}) {
            rig.hid.setBrightness(second.toInt());
            rig.hid.sendKeyPackets(1, {"one at " + second});
            rig.hid.reset();
            rig.hid.sendKeyPackets(0, {"zero at " + second, "and more"});
        }
        rig.hid.sendKeyPackets(1, {"one at the end"});
        device->writable.release(1000);
        rig.hid.flushWrites();
        const QByteArray brightness = "feature\x03\x08\x03" + QByteArray(29, '\0');
        const QByteArray reset = "feature\x03\x02" + QByteArray(30, '\0');
        QCOMPARE(rig.fake.takeWritten(),
            (QList<QByteArray> {"begun", "to be ended", brightness, reset, "zero at 3", "and more",
                "one at the end"}));
    }

    void writesNothingWithoutADeck()
    {
        Rig rig;
        rig.hid.sendKeyPackets(0, {"never started"});
        rig.hid.flushWrites();
        rig.start(xl);
        rig.fake.detach("one");
        rig.hid.setBrightness(50);
        rig.hid.reset();
        rig.hid.sendKeyPackets(0, {"gone"});
        rig.hid.flushWrites();
        QCOMPARE(rig.fake.takeWritten(), QList<QByteArray>());
    }

    void stopsWhileADeckIsBeingOpened()
    {
        Rig rig;
        rig.fake.attach(deck(xl));
        rig.fake.openable.acquire(rig.fake.openable.available());
        rig.hid.start();
        rig.fake.openings.acquire();
        rig.hid.stop();
        rig.fake.openable.release(10);
        // The thread that was held up now lets go of the deck that it has opened.
        QTRY_VERIFY(rig.fake.device() && !rig.fake.device()->isOpen);
        QCOMPARE(rig.told(), QStringList());
    }

    void keepsADeckOpenWhileItIsWrittenTo()
    {
        Rig rig;
        rig.start(xl);
        const auto device = rig.fake.device();
        device->writable.acquire(device->writable.available());
        rig.hid.sendKeyPackets(0, {"first", "second"});
        rig.fake.detach("one");
        QVERIFY(device->isOpen);
        device->writable.release(2);
        rig.hid.flushWrites();
        QCOMPARE(rig.fake.takeWritten(), (QList<QByteArray> {"first", "second"}));
        QTRY_VERIFY(!device->isOpen);
    }
};

QTEST_GUILESS_MAIN(StreamDeckHIDTest)
#include "tst_StreamDeckHID.moc"

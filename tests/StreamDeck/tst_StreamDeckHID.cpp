#include "StreamDeck/StreamDeckHID.h"

#include "helpers/FakeHID.h"

#include <QRegularExpression>
#include <QTest>

#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

constexpr int original = 0x0060;
constexpr int mini = 0x0063;
constexpr int xl = 0x006C;
constexpr int plus = 0x0084;

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
        fake.setAttached({deck(productID)});
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

QByteArray keysDown(int header, int count, const QList<int>& down, char kind = 0)
{
    QByteArray report(header + count, '\0');
    report[0] = 0x01;
    if (header > 1)
        report[1] = kind;
    for (const int key : down)
        report[header + key] = 1;
    return report;
}

} // namespace

class StreamDeckHIDTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void tellsOfKeys_data();
    void tellsOfKeys();
    void dropsForeignReports_data();
    void dropsForeignReports();
    void givesRoomForReports_data();
    void givesRoomForReports();
    void drivesOneDeckAtATime();
    void ignoresOtherProducts();
    void explainsWhyItCannotOpen_data();
    void explainsWhyItCannotOpen();
    void rescansForADeckThatCouldNotBeOpened();
    void sendsFeatureReports_data();
    void sendsFeatureReports();
    void writesInOrder();
    void writesNothingWithoutADeck();
    void closesTheDeckWithoutAWord();
    void stopsWhileADeckIsBeingOpened();
    void keepsADeckOpenWhileItIsWrittenTo();
};

void StreamDeckHIDTest::tellsOfKeys_data()
{
    QTest::addColumn<int>("productID");
    QTest::addColumn<QByteArray>("report");
    QTest::addColumn<QStringList>("told");

    QTest::newRow("first generation, top right for the device is top left")
        << original << keysDown(1, 15, {4}) << QStringList {u"0 down"_s};
    QTest::newRow("first generation, second row")
        << original << keysDown(1, 15, {5}) << QStringList {u"9 down"_s};
    QTest::newRow("six keys, last one") << mini << keysDown(1, 6, {5}) << QStringList {u"5 down"_s};
    QTest::newRow("four bytes of header")
        << xl << keysDown(4, 32, {0, 31}) << QStringList {u"0 down"_s, u"31 down"_s};
    QTest::newRow("header bytes mean nothing without dials")
        << xl << keysDown(4, 32, {1}, 3) << QStringList {u"1 down"_s};
    QTest::newRow("with dials") << plus << keysDown(4, 8, {7}) << QStringList {u"7 down"_s};
    QTest::newRow("longer than needed")
        << plus << keysDown(4, 8, {2}) + QByteArray(500, '\1') << QStringList {u"2 down"_s};
}

void StreamDeckHIDTest::tellsOfKeys()
{
    QFETCH(const int, productID);
    QFETCH(const QByteArray, report);
    QFETCH(const QStringList, told);

    Rig rig;
    rig.start(productID);
    rig.told();
    rig.fake.report(report);
    QCOMPARE(rig.told(), told);
    rig.fake.report(report);
    QCOMPARE(rig.told(), QStringList());
    rig.fake.report(report.left(1) + QByteArray(report.size() - 1, '\0'));
    QCOMPARE(rig.told(), QStringList(told).replaceInStrings(u"down"_s, u"up"_s));
}

void StreamDeckHIDTest::dropsForeignReports_data()
{
    QTest::addColumn<int>("productID");
    QTest::addColumn<QByteArray>("report");

    QTest::newRow("one key short, one byte of header") << mini << keysDown(1, 5, {0});
    QTest::newRow("one key short, four bytes of header") << xl << keysDown(4, 31, {0});
    QTest::newRow("a dial") << plus << keysDown(4, 8, {0}, 3);
    QTest::newRow("nothing") << plus << QByteArray();
}

void StreamDeckHIDTest::dropsForeignReports()
{
    QFETCH(const int, productID);
    QFETCH(const QByteArray, report);

    Rig rig;
    rig.start(productID);
    const auto model = StreamDeckModel::model(productID);
    const int header = model->generation == StreamDeckModel::Generation::gen2 ? 4 : 1;
    rig.fake.report(keysDown(header, model->keyCount, {1}));
    rig.told();
    rig.fake.report(report);
    rig.fake.report(keysDown(header, model->keyCount, {1}));
    QCOMPARE(rig.told(), QStringList());
}

void StreamDeckHIDTest::givesRoomForReports_data()
{
    QTest::addColumn<std::optional<qint64>>("said");
    QTest::addColumn<qsizetype>("room");
    QTest::newRow("not said") << std::optional<qint64>() << qsizetype(64);
    QTest::newRow("more than the keys need") << std::optional<qint64>(512) << qsizetype(512);
    QTest::newRow("less than the keys need") << std::optional<qint64>(8) << qsizetype(4 + 32 + 4);
}

void StreamDeckHIDTest::givesRoomForReports()
{
    QFETCH(const std::optional<qint64>, said);
    Rig rig;
    rig.fake.maxInputReportSize = said;
    rig.start(xl);
    QTEST(rig.fake.device()->bufferLength, "room");
}

void StreamDeckHIDTest::drivesOneDeckAtATime()
{
    Rig rig;
    rig.fake.setAttached({deck(xl, "one"), deck(mini, "two")});
    rig.hid.start();
    rig.fake.settle();
    QCOMPARE(rig.told(), QStringList {u"+ Stream Deck XL"_s});

    rig.fake.detach("two");
    rig.fake.attach(deck(plus, "three"));
    rig.hid.rescan();
    rig.fake.settle();
    QCOMPARE(rig.told(), QStringList());
    QCOMPARE(rig.hid.model()->productID, xl);

    rig.fake.detach("one");
    QCOMPARE(rig.told(), QStringList {u"gone"_s});
    QVERIFY(!rig.hid.model());
    rig.hid.rescan();
    rig.fake.settle();
    QCOMPARE(rig.told(), QStringList {u"+ Stream Deck +"_s});
}

void StreamDeckHIDTest::ignoresOtherProducts()
{
    Rig rig;
    rig.start(0x0061);
    rig.fake.attach(deck(0, "nameless"));
    QCOMPARE(rig.told(), QStringList());
    QCOMPARE(rig.fake.openings.available(), 0);
}

void StreamDeckHIDTest::explainsWhyItCannotOpen_data()
{
    QTest::addColumn<int>("error");
    QTest::addColumn<QString>("message");

    const QString notPermitted =
        u"macOS blocked Stream Deck access — grant Tarrow under System Settings ▸ Privacy & "
        "Security ▸ Input Monitoring, then Rescan."_s;
    QTest::newRow("EACCES") << EACCES << notPermitted;
    QTest::newRow("EPERM") << EPERM << notPermitted;
    QTest::newRow("EBUSY") << EBUSY
                           << u"The Stream Deck is in use by another app — fully quit the Elgato "
                              "Stream Deck software (its menu-bar helper too), then Rescan."_s;
    QTest::newRow("ENODEV") << ENODEV << u"Couldn't open the Stream Deck (IOKit 0x00000013)."_s;
    QTest::newRow("ENOTUNIQ") << ENOTUNIQ << u"Couldn't open the Stream Deck (IOKit 0x0000004C)."_s;
}

void StreamDeckHIDTest::explainsWhyItCannotOpen()
{
    QFETCH(const int, error);
    QFETCH(const QString, message);

    Rig ofADeck;
    ofADeck.fake.deviceOpenError = error;
    QTest::ignoreMessage(
        QtCriticalMsg, QRegularExpression(u"Stream Deck: cannot open /dev/one: "_s));
    ofADeck.start(xl);
    QCOMPARE(ofADeck.told(), QStringList {message});
    QVERIFY(!ofADeck.hid.model());

    Rig ofAll;
    ofAll.fake.openError = error;
    QTest::ignoreMessage(
        QtCriticalMsg, QRegularExpression(u"Stream Deck: cannot open the list of devices: "_s));
    ofAll.hid.start();
    ofAll.fake.settle();
    QCOMPARE(ofAll.told(), QStringList {message});
}

void StreamDeckHIDTest::rescansForADeckThatCouldNotBeOpened()
{
    Rig rig;
    rig.fake.deviceOpenError = EBUSY;
    QTest::ignoreMessage(QtCriticalMsg, QRegularExpression(u"cannot open /dev/one"_s));
    rig.start(xl);
    rig.told();
    rig.fake.deviceOpenError = 0;
    rig.hid.rescan();
    rig.fake.settle();
    QCOMPARE(rig.told(), QStringList {u"+ Stream Deck XL"_s});
}

void StreamDeckHIDTest::sendsFeatureReports_data()
{
    QTest::addColumn<int>("productID");
    QTest::addColumn<int>("percent");
    QTest::addColumn<QByteArray>("brightness");
    QTest::addColumn<QByteArray>("reset");

    const auto padded = [](const char* hex, int length) {
        return "feature" + QByteArray::fromHex(hex).leftJustified(length, '\0');
    };
    const QByteArray newReset = padded("0302", 32);
    const QByteArray oldReset = padded("0b63", 17);
    QTest::newRow("first generation") << original << 70 << padded("0555aad10146", 17) << oldReset;
    QTest::newRow("six keys") << mini << 5 << padded("0555aad10105", 17) << oldReset;
    QTest::newRow("second generation") << xl << 100 << padded("030864", 32) << newReset;
    QTest::newRow("too bright") << xl << 150 << padded("030864", 32) << newReset;
    QTest::newRow("too dark") << xl << -3 << padded("030800", 32) << newReset;
}

void StreamDeckHIDTest::sendsFeatureReports()
{
    QFETCH(const int, productID);
    QFETCH(const int, percent);
    QFETCH(const QByteArray, brightness);
    QFETCH(const QByteArray, reset);

    Rig rig;
    rig.start(productID);
    rig.hid.setBrightness(percent);
    rig.hid.reset();
    rig.hid.flushWrites();
    QCOMPARE(rig.fake.written(), (QList {brightness, reset}));
}

void StreamDeckHIDTest::writesInOrder()
{
    Rig rig;
    rig.start(xl);
    QList<QByteArray> expected;
    for (int key = 0; key < 200; ++key) {
        const QByteArray number = QByteArray::number(key);
        rig.hid.sendKeyPackets({number + "a", QByteArray(), number + "b"});
        expected += {number + "a", number + "b"};
    }
    rig.hid.flushWrites();
    QCOMPARE(rig.fake.written(), expected);
}

void StreamDeckHIDTest::writesNothingWithoutADeck()
{
    Rig rig;
    rig.hid.sendKeyPackets({"never started"});
    rig.hid.flushWrites();
    rig.start(xl);
    rig.fake.detach("one");
    rig.hid.setBrightness(50);
    rig.hid.reset();
    rig.hid.sendKeyPackets({"gone"});
    rig.hid.flushWrites();
    QCOMPARE(rig.fake.written(), QList<QByteArray>());
}

void StreamDeckHIDTest::closesTheDeckWithoutAWord()
{
    Rig rig;
    rig.start(xl);
    rig.told();
    rig.hid.stop();
    QVERIFY(!rig.fake.device()->isOpen);
    QVERIFY(!rig.hid.model());
    QCOMPARE(rig.told(), QStringList());
    rig.hid.start();
    rig.fake.settle();
    QCOMPARE(rig.told(), QStringList {u"+ Stream Deck XL"_s});
}

void StreamDeckHIDTest::stopsWhileADeckIsBeingOpened()
{
    Rig rig;
    rig.fake.setAttached({deck(xl)});
    rig.fake.openable.acquire(rig.fake.openable.available());
    rig.hid.start();
    rig.fake.openings.acquire();
    rig.hid.stop();
    rig.fake.openable.release(10);
    // The thread that was held up now lets go of the deck that it has opened.
    QTRY_VERIFY(rig.fake.device() && !rig.fake.device()->isOpen);
    QCOMPARE(rig.told(), QStringList());
}

void StreamDeckHIDTest::keepsADeckOpenWhileItIsWrittenTo()
{
    Rig rig;
    rig.start(xl);
    const auto device = rig.fake.device();
    device->writable.acquire(device->writable.available());
    rig.hid.sendKeyPackets({"first", "second"});
    rig.fake.detach("one");
    QVERIFY(device->isOpen);
    device->writable.release(2);
    rig.hid.flushWrites();
    QCOMPARE(rig.fake.written(), (QList<QByteArray> {"first", "second"}));
    QTRY_VERIFY(!device->isOpen);
}

QTEST_GUILESS_MAIN(StreamDeckHIDTest)
#include "tst_StreamDeckHID.moc"

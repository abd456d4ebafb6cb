#include "StreamDeck/StreamDeckManager.h"

#include "StreamDeck/StreamDeckPackets.h"
#include "helpers/FakeHID.h"
#include "helpers/MemoryPreferences.h"

#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

constexpr int original = 0x0060;
constexpr int mini = 0x0063;
constexpr int mk2 = 0x0080;
constexpr int xl = 0x006C;
constexpr int pedal = 0x0086;

using Phase = TimerEngine::Phase;
using StreamDeckImage::KeyFace;

using Stored = QMap<QString, QString>;
const Stored switchedOn {{u"sd.enabled"_s, u"true"_s}};

/// Deck control with fake devices.
struct Rig {
    explicit Rig(const Stored& stored = switchedOn)
    {
        preferences.texts = stored;
        auto transport = std::make_unique<StreamDeckHID>([this] { return fake.makeManager(); });
        hid = transport.get();
        manager.emplace(engine, cues, settings, preferences, std::move(transport));
    }

    /// Plugs one deck in; what it has been sent by then is taken.
    QList<QByteArray> connect(qint64 productID)
    {
        fake.attach({"one", "/dev/one", productID});
        QCoreApplication::processEvents();
        return takeWritten();
    }

    QList<QByteArray> takeWritten()
    {
        hid->flushWrites();
        const QMutexLocker lock(&fake.device()->mutex);
        return std::exchange(fake.device()->written, {});
    }

    /// One report with this key down, as the device counts them, or with none.
    void report(std::optional<int> key)
    {
        const int header = hid->model()->generation == StreamDeckModel::Generation::gen2 ? 4 : 1;
        QByteArray bytes(header + hid->model()->keyCount, '\0');
        if (key)
            bytes[header + *key] = 1;
        fake.report(bytes);
        QCoreApplication::processEvents();
    }
    void press(int key)
    {
        report(key);
        report(std::nullopt);
    }

    MemoryPreferences preferences;
    AppSettings settings {preferences};
    TimerEngine engine {settings};
    CueController cues {engine, settings, preferences};
    FakeHID fake;
    StreamDeckHID* hid = nullptr;
    std::optional<StreamDeckManager> manager;
};

/// The device's numbers of the keys that got pictures.
QList<int> keysOf(const QList<QByteArray>& written)
{
    QList<int> keys;
    for (const QByteArray& report : written) {
        const bool isGen2 = report[1] == 0x07;
        if (report[isGen2 ? 3 : 4] == 1)
            keys.append(isGen2 ? report[2] : report[5] - 1);
    }
    return keys;
}

QList<QByteArray> picture(const KeyFace& face, int key, const StreamDeckModel& model)
{
    const auto image =
        StreamDeckImage::encode(StreamDeckImage::render(face, model.keyPixels), model);
    return StreamDeckImage::packets(*image, key, model);
}

using Prepare = void (*)(Rig&);
using Holds = bool (*)(Rig&);

} // namespace

class StreamDeckManagerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void remembersItsSettings_data();
    void remembersItsSettings();
    void clampsTheBrightness_data();
    void clampsTheBrightness();
    void paintsADeckThatConnects_data();
    void paintsADeckThatConnects();
    void sendsWhatChangedAlone();
    void actsOnKeys_data();
    void actsOnKeys();
    void takesNoMinuteBelowSixtyOneSeconds();
    void stepsThroughTheRunningOrder();
    void goesAwayWithTheDeck();
    void sendsADeckNothingThatWasMeantForAnother();
    void switchesOffWithoutAWord();
    void rescanSwitchesOn();
    void clearsTheMessageBeforeItLooksAgain();
    void blackensEveryKeyAtTheEnd_data();
    void blackensEveryKeyAtTheEnd();
};

void StreamDeckManagerTest::remembersItsSettings_data()
{
    QTest::addColumn<Stored>("stored");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<qint64>("brightness");

    QTest::newRow("nothing") << Stored() << false << qint64(70);
    QTest::newRow("both") << Stored {{u"sd.enabled"_s, u"true"_s}, {u"sd.brightness"_s, u"35"_s}}
                          << true << qint64(35);
    QTest::newRow("not clamped") << Stored {{u"sd.brightness"_s, u"900"_s}} << false << qint64(900);
    QTest::newRow("no such values")
        << Stored {{u"sd.enabled"_s, u"yes"_s}, {u"sd.brightness"_s, u"bright"_s}} << false
        << qint64(70);
}

void StreamDeckManagerTest::remembersItsSettings()
{
    QFETCH(const Stored, stored);
    Rig rig(stored);
    QTEST(rig.manager->enabled.value(), "enabled");
    QTEST(rig.manager->brightness.value(), "brightness");
    QCOMPARE(rig.preferences.writes, 0);
}

void StreamDeckManagerTest::clampsTheBrightness_data()
{
    QTest::addColumn<qint64>("asked");
    QTest::addColumn<qint64>("set");
    QTest::newRow("too dark") << qint64(2) << qint64(5);
    QTest::newRow("too bright") << qint64(250) << qint64(100);
    QTest::newRow("between") << qint64(44) << qint64(44);
}

void StreamDeckManagerTest::clampsTheBrightness()
{
    QFETCH(const qint64, asked);
    QFETCH(const qint64, set);
    Rig rig;
    rig.connect(xl);
    rig.manager->setBrightness(asked);
    QCOMPARE(rig.manager->brightness.value(), set);
    QCOMPARE(rig.preferences.texts.value(u"sd.brightness"_s), QString::number(set));
    QCOMPARE(rig.takeWritten().constLast().mid(7, 3), "\x03\x08" + QByteArray(1, char(set)));
}

void StreamDeckManagerTest::paintsADeckThatConnects_data()
{
    QTest::addColumn<int>("productID");
    QTest::addColumn<int>("pictures");
    QTest::newRow("32 keys") << xl << 32;
    QTest::newRow("15 keys") << mk2 << 15;
    QTest::newRow("15 keys, first generation") << original << 15;
    QTest::newRow("6 keys") << mini << 6;
    QTest::newRow("no displays") << pedal << 0;
}

void StreamDeckManagerTest::paintsADeckThatConnects()
{
    QFETCH(const int, productID);
    QFETCH(const int, pictures);
    Rig rig;
    QList<QByteArray> written = rig.connect(productID);
    const StreamDeckModel model = *StreamDeckModel::model(productID);
    QCOMPARE(rig.manager->connectedModelName.value(), std::optional(model.name));

    const bool isGen2 = model.generation == StreamDeckModel::Generation::gen2;
    QVERIFY(written.takeFirst().startsWith(isGen2 ? "feature\x03\x08\x46" : "feature\x05\x55"));
    QVERIFY(written.takeFirst().startsWith(isGen2 ? "feature\x03\x02" : "feature\x0B\x63"));
    QList<int> keys = keysOf(written);
    QCOMPARE(keys.size(), pictures);
    // Every key got one, in the operator's order.
    for (int key = 0; key < pictures; ++key)
        QCOMPARE(keys[key], model.mirroredKey(key));
    if (pictures == 0)
        return;
    const StreamDeckState state = StreamDeckState::of(rig.engine, rig.settings, rig.cues);
    const KeyFace first = ::face(defaultRoles(model).constFirst(), state);
    const QList<QByteArray> expected = picture(first, model.mirroredKey(0), model);
    QCOMPARE(written.first(expected.size()), expected);
}

void StreamDeckManagerTest::sendsWhatChangedAlone()
{
    Rig rig;
    rig.connect(xl);
    rig.engine.setMessage(u"Doors open"_s);
    // The message keys light up at the next refresh.
    QList<int> keys;
    QTRY_COMPARE(keys += keysOf(rig.takeWritten()), (QList {25, 26, 27}));
    rig.report(std::nullopt);
    QCOMPARE(rig.takeWritten(), QList<QByteArray>());
}

void StreamDeckManagerTest::actsOnKeys_data()
{
    QTest::addColumn<int>("productID");
    QTest::addColumn<int>("key");
    QTest::addColumn<Prepare>("prepare");
    QTest::addColumn<Holds>("holds");

    const auto row = [](const char* name, int productID, int key, Prepare prepare, Holds holds) {
        QTest::newRow(name) << productID << key << prepare << holds;
    };
    const Prepare nothing = [](Rig&) {};
    const Prepare running = [](Rig& rig) {
        rig.engine.setSeconds = 300;
        rig.engine.start(TimerEngine::RunOrigin::cue);
    };
    row("time", xl, 0, running, [](Rig& rig) { return rig.engine.phase == Phase::running; });
    row("go", xl, 1, running, [](Rig& rig) {
        return rig.engine.phase == Phase::running && !rig.engine.currentRunFromCue
            && rig.engine.remaining() == 300;
    });
    row("go without a time counts up", xl, 1, nothing,
        [](Rig& rig) { return rig.engine.phase == Phase::running && rig.engine.pureCountUp; });
    row("pause", xl, 2, running, [](Rig& rig) { return rig.engine.phase == Phase::paused; });
    row("subtract a minute", xl, 3, running,
        [](Rig& rig) { return rig.engine.remaining() == 240; });
    row("add a minute", xl, 4, running, [](Rig& rig) { return rig.engine.remaining() == 360; });
    row("stop", xl, 7, running, [](Rig& rig) { return rig.engine.phase == Phase::idle; });
    row("follow", xl, 11, nothing, [](Rig& rig) { return rig.settings.cueFollow.value(); });
    row("blackout", xl, 14, nothing,
        [](Rig& rig) { return rig.engine.snapshot.value().isBlackout; });
    row("clock", xl, 15, nothing, [](Rig& rig) { return rig.engine.phase == Phase::clock; });
    row(
        "clock off", xl, 15, [](Rig& rig) { rig.engine.setClock(true); },
        [](Rig& rig) { return rig.engine.phase == Phase::idle; });
    row("ten minutes leave the run alone", mk2, 11, running,
        [](Rig& rig) { return rig.engine.setSeconds == 600 && rig.engine.remaining() == 300; });
    row("loop", xl, 22, nothing, [](Rig& rig) { return rig.engine.loop.value(); });
    row("overtime", xl, 23, nothing, [](Rig& rig) { return !rig.settings.allowCountUp; });
    row("attention", xl, 24, nothing, [](Rig& rig) { return rig.engine.strobeCount == 1; });
    row("message", xl, 26, nothing,
        [](Rig& rig) { return rig.engine.snapshot.value().message == u"5 MINUTES"_s; });
    row(
        "clear the message", xl, 31, [](Rig& rig) { rig.engine.setMessage(u"on air"_s); },
        [](Rig& rig) { return !rig.engine.snapshot.value().message; });
    row("a deck that counts from the right", original, 9, running,
        [](Rig& rig) { return rig.engine.phase == Phase::running; });
    row("a deck without displays", pedal, 1, nothing,
        [](Rig& rig) { return rig.engine.phase == Phase::running; });
}

void StreamDeckManagerTest::actsOnKeys()
{
    QFETCH(const int, productID);
    QFETCH(const int, key);
    QFETCH(const Prepare, prepare);
    QFETCH(const Holds, holds);
    Rig rig;
    rig.settings.allowCountUp = true;
    rig.connect(productID);
    prepare(rig);
    rig.press(key);
    QVERIFY(holds(rig));
}

void StreamDeckManagerTest::takesNoMinuteBelowSixtyOneSeconds()
{
    Rig rig;
    rig.connect(xl);
    rig.engine.setSeconds = 121;
    rig.engine.start(TimerEngine::RunOrigin::operatorRequest);
    rig.engine.togglePause();
    for (int press = 0; press < 3; ++press)
        rig.press(3);
    QCOMPARE(rig.engine.remaining(), 1);
}

void StreamDeckManagerTest::stepsThroughTheRunningOrder()
{
    Rig rig;
    rig.connect(xl);
    constexpr int previous = 8;
    constexpr int next = 9;
    constexpr int go = 10;
    for (const int key : {previous, go})
        rig.press(key);
    QCOMPARE(rig.engine.phase.value(), Phase::idle);

    for (const double minutes : {1.0, 2.0, 3.0})
        rig.cues.add(QString(), minutes);
    rig.cues.currentCueID = std::nullopt;
    rig.press(previous);
    QCOMPARE(rig.cues.currentIndex(), std::nullopt);
    rig.press(go);
    QCOMPARE(rig.cues.currentIndex(), 0);
    QCOMPARE(rig.engine.remaining(), 60);
    rig.press(previous);
    QCOMPARE(rig.cues.currentIndex(), 0);
    rig.press(next);
    QCOMPARE(rig.cues.currentIndex(), 1);
    rig.press(go);
    QCOMPARE(rig.engine.remaining(), 120);
    rig.press(previous);
    QCOMPARE(rig.cues.currentIndex(), 0);
    QCOMPARE(rig.engine.remaining(), 120);
}

void StreamDeckManagerTest::goesAwayWithTheDeck()
{
    Rig rig;
    rig.connect(xl);
    rig.fake.detach("one");
    QCoreApplication::processEvents();
    QCOMPARE(rig.manager->connectedModelName.value(), std::nullopt);
    QVERIFY(rig.manager->enabled);
    rig.manager->blankToBlack();

    rig.connect(mini);
    QCOMPARE(rig.manager->connectedModelName.value(), u"Stream Deck Mini"_s);
    rig.press(3);
    QCOMPARE(rig.engine.phase.value(), Phase::running);
}

void StreamDeckManagerTest::sendsADeckNothingThatWasMeantForAnother()
{
    // Decks come and go while the main thread is busy; then it hears of all at once.
    Rig rig;
    rig.fake.attach({"one", "/dev/one", xl});
    rig.fake.detach("one");
    const QList<QByteArray> freshMini = rig.connect(mini);
    QCOMPARE(rig.manager->connectedModelName.value(), u"Stream Deck Mini"_s);
    QCOMPARE(keysOf(freshMini), (QList {0, 1, 2, 3, 4, 5}));

    // The mini's blackout key, which changes two faces.
    QByteArray down(7, '\0');
    down[3] = 1;
    rig.fake.report(down);
    rig.fake.detach("one");
    QCOMPARE(rig.connect(xl).constFirst().first(9), "feature\x03\x08");
}

void StreamDeckManagerTest::switchesOffWithoutAWord()
{
    Rig rig;
    rig.connect(xl);
    rig.manager->setEnabled(false);
    QCOMPARE(rig.takeWritten(), QList<QByteArray>());
    QVERIFY(!rig.fake.device()->isOpen);
    QCOMPARE(rig.manager->connectedModelName.value(), std::nullopt);
    QCOMPARE(rig.preferences.texts.value(u"sd.enabled"_s), u"false"_s);
    rig.manager->setEnabled(true);
    QTRY_COMPARE(rig.manager->connectedModelName.value(), u"Stream Deck XL"_s);
}

void StreamDeckManagerTest::rescanSwitchesOn()
{
    Rig rig(Stored {});
    rig.fake.setAttached({{"one", "/dev/one", xl}});
    rig.manager->rescan();
    QVERIFY(rig.manager->enabled);
    QCOMPARE(rig.preferences.texts.value(u"sd.enabled"_s), u"true"_s);
    QTRY_COMPARE(rig.manager->connectedModelName.value(), u"Stream Deck XL"_s);
}

void StreamDeckManagerTest::clearsTheMessageBeforeItLooksAgain()
{
    Rig rig;
    rig.fake.deviceOpenError = EBUSY;
    QTest::ignoreMessage(QtCriticalMsg, QRegularExpression(u"cannot open"_s));
    rig.fake.attach({"one", "/dev/one", xl});
    QTRY_VERIFY(rig.manager->statusMessage.value().contains(u"in use by another app"_s));
    rig.fake.deviceOpenError = 0;
    rig.manager->rescan();
    QCOMPARE(rig.manager->statusMessage.value(), QString());
    QTRY_VERIFY(rig.manager->connectedModelName.value());
}

void StreamDeckManagerTest::blackensEveryKeyAtTheEnd_data()
{
    QTest::addColumn<int>("productID");
    QTest::newRow("JPEG") << xl;
    QTest::newRow("BMP, counted from the right") << original;
    QTest::newRow("no displays") << pedal;
}

void StreamDeckManagerTest::blackensEveryKeyAtTheEnd()
{
    QFETCH(const int, productID);
    Rig rig;
    rig.connect(productID);
    rig.manager->blankToBlack();
    const StreamDeckModel model = *StreamDeckModel::model(productID);
    QList<QByteArray> expected;
    if (model.hasDisplays()) {
        for (int key = 0; key < model.keyCount; ++key)
            expected += picture(KeyFace(), model.mirroredKey(key), model);
    }
    const QMutexLocker lock(&rig.fake.device()->mutex);
    QCOMPARE(rig.fake.device()->written, expected);
}

QTEST_MAIN(StreamDeckManagerTest)
#include "tst_StreamDeckManager.moc"

#include "StreamDeck/StreamDeckManager.h"

#include "StreamDeck/StreamDeckPackets.h"
#include "helpers/DeckReports.h"
#include "helpers/EngineRig.h"
#include "helpers/FakeHID.h"

#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

using namespace Deck;
using Phase = TimerEngine::Phase;

using Stored = QMap<QString, QString>;
const Stored switchedOn {{u"sd.enabled"_s, u"true"_s}};

/// Deck control with fake devices.
struct Rig : EngineRig {
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
        return fake.takeWritten();
    }

    /// As the device counts the keys.
    void press(int key)
    {
        for (const QList<int>& down : {QList {key}, {}})
            fake.report(keyReport(*hid->model(), down));
        QCoreApplication::processEvents();
    }

    CueController cues {engine, settings, preferences};
    FakeHID fake;
    StreamDeckHID* hid = nullptr;
    std::optional<StreamDeckManager> manager;
};

using Holds = bool (*)(Rig&);

} // namespace

class StreamDeckManagerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void remembersItsSettings()
    {
        const Rig fresh(Stored {});
        QVERIFY(!fresh.manager->enabled);
        QCOMPARE(fresh.manager->brightness.value(), 70);
        // Nobody clamps what is stored; a deck is sent what it can do.
        Rig used({{u"sd.enabled"_s, u"true"_s}, {u"sd.brightness"_s, u"900"_s}});
        QVERIFY(used.manager->enabled);
        QCOMPARE(used.manager->brightness.value(), 900);
        QCOMPARE(used.preferences.writes, 0);
        QCOMPARE(used.connect(xl).constFirst().first(10), "feature\x03\x08\x64");
        used.manager->setBrightness(2);
        QCOMPARE(used.manager->brightness.value(), 5);
        QCOMPARE(used.preferences.texts.value(u"sd.brightness"_s), u"5"_s);
        QCOMPARE(used.takeWritten().constLast().first(10), "feature\x03\x08\x05");
    }

    /// Which pictures they are: on the first key, as the device counts, is the last one of the row.
    void paintsADeckThatConnects()
    {
        Rig rig;
        const QList<QByteArray> written = rig.connect(original);
        const StreamDeckModel model = *StreamDeckModel::model(original);
        QCOMPARE(rig.manager->connectedModelName.value(), std::optional(model.name));
        const StreamDeckState state = StreamDeckState::of(rig.engine, rig.settings, rig.cues);
        QList<QByteArray> pictures;
        for (int key = 0; key < model.keyCount; ++key) {
            const QImage picture = StreamDeckImage::render(
                ::face(defaultRoles(model).at(key), state), model.keyPixels);
            pictures += StreamDeckImage::packets(
                *StreamDeckImage::encode(picture, model), key / 5 * 5 + 4 - key % 5, model);
        }
        // Behind brightness and reset.
        QCOMPARE(written.mid(2), pictures);
    }

    void actsOnKeys_data()
    {
        QTest::addColumn<int>("productID");
        QTest::addColumn<QList<int>>("keys");
        QTest::addColumn<Holds>("holds");

        const auto row = [](const char* name, int productID, const QList<int>& keys, Holds holds) {
            QTest::newRow(name) << productID << keys << holds;
        };
        const Holds startsAnew = [](Rig& rig) {
            return rig.engine.phase == Phase::running && !rig.engine.currentRunFromCue
                && rig.engine.remaining() == 300;
        };
        row("go", xl, {1}, startsAnew);
        row("pause", xl, {2}, [](Rig& rig) { return rig.engine.phase == Phase::paused; });
        row("subtract a minute", xl, {3}, [](Rig& rig) { return rig.engine.remaining() == 240; });
        row("add a minute", xl, {4}, [](Rig& rig) { return rig.engine.remaining() == 360; });
        row("stop", xl, {7}, [](Rig& rig) { return rig.engine.phase == Phase::idle; });
        row("follow", xl, {11}, [](Rig& rig) { return rig.settings.cueFollow.value(); });
        row("blackout", xl, {14}, [](Rig& rig) { return rig.engine.snapshot.value().isBlackout; });
        row("clock", xl, {15}, [](Rig& rig) { return rig.engine.phase == Phase::clock; });
        row("clock off", xl, {15, 15}, [](Rig& rig) { return rig.engine.phase == Phase::idle; });
        row("ten minutes leave the run alone", mk2, {11},
            [](Rig& rig) { return rig.engine.setSeconds == 600 && rig.engine.remaining() == 300; });
        row("loop", xl, {22}, [](Rig& rig) { return rig.engine.loop.value(); });
        row("overtime", xl, {23}, [](Rig& rig) { return !rig.settings.allowCountUp; });
        row("attention", xl, {24}, [](Rig& rig) { return rig.engine.strobeCount == 1; });
        row("message", xl, {26},
            [](Rig& rig) { return rig.engine.snapshot.value().message == u"5 MINUTES"_s; });
        row("clear the message", xl, {26, 31},
            [](Rig& rig) { return !rig.engine.snapshot.value().message; });
        row("a deck without displays", pedal, {1}, startsAnew);
    }
    void actsOnKeys()
    {
        QFETCH(const int, productID);
        QFETCH(const QList<int>, keys);
        QFETCH(const Holds, holds);
        Rig rig;
        rig.settings.allowCountUp = true;
        rig.connect(productID);
        rig.engine.setSeconds = 300;
        rig.engine.start(TimerEngine::RunOrigin::cue);
        for (const int key : keys)
            rig.press(key);
        QVERIFY(holds(rig));
    }

    void stepsThroughTheRunningOrder()
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
        // What is pressed; the cue then and what is left of it. The second run goes on as it is.
        using Step = std::tuple<int, std::optional<qint64>, qint64>;
        for (const auto& [key, cue, remaining] :
            {Step {previous, std::nullopt, 0}, Step {go, 0, 60}, Step {previous, 0, 60},
                Step {next, 1, 60}, Step {go, 1, 120}, Step {previous, 0, 120}}) {
            rig.press(key);
            QCOMPARE(rig.cues.currentIndex(), cue);
            QCOMPARE(rig.engine.remaining(), remaining);
        }
    }

    void sendsADeckNothingThatWasMeantForAnother()
    {
        // Decks come and go while the main thread is busy; then it hears of all at once.
        Rig rig;
        rig.fake.attach({"one", "/dev/one", xl});
        rig.fake.detach("one");
        const QList<QByteArray> freshMini = rig.connect(mini);
        QCOMPARE(rig.manager->connectedModelName.value(), u"Stream Deck Mini"_s);
        QCOMPARE(std::ranges::count_if(
                     freshMini, [](const auto& report) { return completedKey(report) >= 0; }),
            6);

        // The mini's blackout key, which changes two faces.
        rig.fake.report(keyReport(*StreamDeckModel::model(mini), {2}));
        rig.fake.detach("one");
        QCOMPARE(rig.connect(xl).constFirst().first(9), "feature\x03\x08");
    }

    void switchesOffWithoutAWordAndOnByRescan()
    {
        Rig rig;
        rig.connect(xl);
        rig.manager->setEnabled(false);
        QCOMPARE(rig.takeWritten(), QList<QByteArray>());
        QVERIFY(!rig.fake.device()->isOpen);
        QCOMPARE(rig.manager->connectedModelName.value(), std::nullopt);
        QCOMPARE(rig.preferences.texts.value(u"sd.enabled"_s), u"false"_s);
        rig.manager->rescan();
        QCOMPARE(rig.preferences.texts.value(u"sd.enabled"_s), u"true"_s);
        QTRY_COMPARE(rig.manager->connectedModelName.value(), u"Stream Deck XL"_s);
    }

    void clearsTheMessageBeforeItLooksAgain()
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
};

QTEST_MAIN(StreamDeckManagerTest)
#include "tst_StreamDeckManager.moc"

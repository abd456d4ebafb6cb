#include "NDI/NDISender.h"

#include "helpers/ChildProcess.h"
#include "helpers/EngineRig.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString standIns = QStringLiteral(STAND_INS);

void setRuntime(const char* variable, const QString& folder)
{
    if (folder.isEmpty())
        qunsetenv(variable);
    else
        qputenv(variable, QFile::encodeName(standIns + u'/' + folder));
}

/// All that a sender needs, with colours that are told apart in a buffer.
struct Stage : EngineRig {
    Stage()
    {
        settings.backgroundColor = {0.2, 0.4, 0.6, 1};
        settings.ndiSourceName = u"Bühne"_s;
        settings.ndiWidth = 64;
        settings.ndiHeight = 32;
    }

    void start()
    {
        QTest::ignoreMessage(
            QtInfoMsg, qUtf8Printable(u"NDI sending as \"%1\""_s.arg(settings.ndiSourceName)));
        sender.start();
    }

    MessageAnimator animator {engine, clock.clock()};
    NDISender sender {engine, settings, animator};
};

} // namespace

class NDISenderTest : public QObject {
    Q_OBJECT

private:
    /// What the runtime has been asked for since the last time.
    QStringList calls()
    {
        QFile log(m_folder.filePath(u"log"_s));
        if (!log.open(QIODevice::ReadOnly))
            return {};
        const QString text = QString::fromUtf8(log.readAll());
        log.remove();
        return text.split(u'\n', Qt::SkipEmptyParts);
    }

    QTemporaryDir m_folder;

private Q_SLOTS:
    void init()
    {
        qputenv("STAND_IN_NDI_LOG", QFile::encodeName(m_folder.filePath(u"log"_s)));
        qunsetenv("STAND_IN_NDI");
        setRuntime("NDI_RUNTIME_DIR_V6", u"runtime6"_s);
        setRuntime("NDI_RUNTIME_DIR_V5", {});
        (void)calls();
    }

    void looksForTheRuntime()
    {
        const auto callsWith = [this](const QString& version6, const QString& version5) {
            (void)calls();
            setRuntime("NDI_RUNTIME_DIR_V6", version6);
            setRuntime("NDI_RUNTIME_DIR_V5", version5);
            return NDIBridge().isRuntimeAvailable() ? calls().join(u", "_s) : u"no runtime"_s;
        };
        QCOMPARE(callsWith(u"runtime6"_s, u"runtime5"_s), u"load runtime6, initialize"_s);
        QCOMPARE(callsWith(u"missing"_s, u"runtime5"_s), u"load runtime5, initialize"_s);
        QCOMPARE(callsWith({}, u"runtime6"_s), u"load runtime6, initialize"_s);
    }

    void looksInThePlacesOfTheSystemLast()
    {
        setRuntime("NDI_RUNTIME_DIR_V6", u"runtime6"_s);
        setRuntime("NDI_RUNTIME_DIR_V5", {});
        const QStringList expected {standIns + u"/runtime6/libndi.so.6"_s,
            QCoreApplication::applicationDirPath() + u"/../lib/tarrow/libndi.so.6"_s,
            u"/usr/local/lib/libndi.so.6"_s, u"/usr/lib/libndi.so.6"_s, u"libndi.so.6"_s};
        QCOMPARE(NDIBridge::runtimeCandidates().filter(u".6"_s), expected);
    }

    void saysWhatIsMissing_data()
    {
        QTest::addColumn<QString>("line");
        QTest::newRow("no table")
            << u"NDI runtime not found — install the NDI Tools/SDK runtime to enable NDI output"_s;
        for (const char* const special : {"empty table", "refuses"})
            QTest::newRow(special) << u"NDI: failed to create sender"_s;
    }
    void saysWhatIsMissing()
    {
        QFETCH(const QString, line);
        qputenv("STAND_IN_NDI", QTest::currentDataTag());
        Stage stage;
        QTest::ignoreMessage(QtCriticalMsg, qUtf8Printable(line));
        stage.sender.start();
        QVERIFY(!stage.sender.isRunning());
        stage.sender.tick();
        QVERIFY(calls().filter(u"frame"_s).isEmpty());
    }

    void startsAndStops()
    {
        {
            Stage stage;
            stage.start();
            stage.sender.start();
            QVERIFY(stage.sender.isRunning());
            stage.settings.ndiSourceName = u"Saal"_s;
            stage.sender.tick();
            stage.sender.stop();
            stage.sender.stop();
            QVERIFY(!stage.sender.isRunning());
            stage.sender.tick();
            stage.start();
        }
        const QStringList expected {u"load runtime6"_s, u"initialize"_s, u"create Bühne none 1 0"_s,
            u"frame"_s, u"destroy sender"_s, u"create Saal none 1 0"_s, u"destroy sender"_s,
            u"destroy"_s};
        QStringList made = calls();
        made.replaceInStrings(QRegularExpression(u"^frame .*"_s), u"frame"_s);
        QCOMPARE(made, expected);
    }

    /// A new size holds from the next frame on.
    void sendsFrames()
    {
        Stage stage;
        stage.start();
        const auto sent = [&](qint64 width, qint64 height) {
            stage.sender.tick();
            (void)calls();
            stage.settings.ndiWidth = width;
            stage.settings.ndiHeight = height;
            stage.sender.tick();
            return calls();
        };
        const auto frame = [](const QString& size, const QString& aspect, int stride) {
            const QString form =
                u"frame %1 41524742 30000/1000 %2 1 synthesized %3 none 0, ends in 996633FF"_s;
            return QStringList {form.arg(size, aspect).arg(stride)};
        };
        // As many pixels as before.
        QCOMPARE(sent(32, 64), frame(u"32x64"_s, u"0.5000"_s, 128));
        QCOMPARE(sent(1920, 1080), frame(u"1920x1080"_s, u"1.7778"_s, 7680));
        QCOMPARE(sent(15, -3), frame(u"16x16"_s, u"1.0000"_s, 64));
        QCOMPARE(stage.sender.paintedFrames(), 4);
    }

    void stopsAtASizeBeyondCounting()
    {
        const auto stopsAt = [](qint64 width, qint64 height) {
            const ChildResult result = runInChild([&] {
                Stage stage;
                stage.sender.start();
                stage.settings.ndiWidth = width;
                stage.settings.ndiHeight = height;
                stage.sender.tick();
            });
            return result.signal != 0;
        };
        QVERIFY(stopsAt(4'294'967'296 + 64, 64));
        QVERIFY(stopsAt(2'147'483'647, 2'147'483'647));
        // There is no such memory.
        QVERIFY(!stopsAt(300'000'000, 2'000'000'000));
        // The painter counts no further than 32767.
        QVERIFY(!stopsAt(40'000, 16));
        QVERIFY(calls().filter(u"frame"_s).isEmpty());
    }

    /// The frames between are the same buffer once more, and the message moves as it does
    /// elsewhere.
    void paintsWhatChanged()
    {
        Stage stage;
        stage.start();
        const auto paintedIn = [&](int frames) {
            const qint64 before = stage.sender.paintedFrames();
            for (int i = 0; i < frames; ++i)
                stage.sender.tick();
            return stage.sender.paintedFrames() - before;
        };
        QCOMPARE(paintedIn(10), 1);
        stage.settings.textColor = {0, 1, 0, 1};
        QCOMPARE(paintedIn(10), 1);
        stage.engine.setMessage(u"Doors"_s);
        stage.clock.advance(100ms);
        QCOMPARE(paintedIn(1), 1);
        stage.clock.advance(100ms);
        QCOMPARE(paintedIn(2), 1);
        stage.engine.toggleBlackout();
        QCOMPARE(paintedIn(10), 1);
        stage.clock.advance(50ms);
        QCOMPARE(paintedIn(10), 0);
        // What lies below shines through, and grows denser with every frame.
        stage.settings.backgroundColor = {0, 0, 0, 0.5};
        QCOMPARE(paintedIn(10), 10);
    }

    void knowsWhenTheRuntimeTakesFrames()
    {
        const auto heldBackFor = [](const QList<int>& sentAt) {
            const SendSlots::Instant start(1h);
            SendSlots slots(33ms);
            QList<qint64> times;
            for (const int at : sentAt)
                times.append(slots.take(start + std::chrono::milliseconds(at)) / 1ms);
            return times;
        };
        QCOMPARE(heldBackFor({0, 30, 61, 99}), (QList<qint64> {0, 3, 5, 0}));
        // So late that the grid begins anew.
        QCOMPARE(heldBackFor({0, 51, 66, 99, 134}), (QList<qint64> {0, 0, 18, 18, 16}));
    }

    /// A frame out of step begins the runtime's grid anew, which would hold every later one back.
    void fallsIntoStepWithTheRuntime()
    {
        qputenv("STAND_IN_NDI", "paces");
        Stage stage;
        stage.start();
        QTest::qSleep(15);
        stage.sender.tick();
        qsizetype inStep = 0;
        QTRY_VERIFY([&] {
            for (const QString& call : calls())
                inStep = call == u"in step" ? inStep + 1 : 0;
            return inStep >= 4;
        }());
    }

    /// Points that nobody has come for are one call.
    void callsOnAGrid()
    {
        int calls = 0;
        GridTimer timer(1ms, [&] { ++calls; });
        timer.start();
        QTRY_VERIFY(calls >= 3);
        calls = 0;
        const QDeadlineTimer deadline(50);
        while (!deadline.hasExpired()) { }
        QCoreApplication::processEvents();
        QVERIFY(calls > 0 && calls < 25);
    }
};

QTEST_MAIN(NDISenderTest)
#include "tst_NDISender.moc"

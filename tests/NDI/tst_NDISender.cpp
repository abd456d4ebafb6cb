#include "NDI/NDISender.h"

#include "Support/ControlLog.h"
#include "helpers/ChildProcess.h"
#include "helpers/ManualClock.h"
#include "helpers/MemoryPreferences.h"

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
struct Stage {
    Stage()
    {
        settings.backgroundColor = {0.2, 0.4, 0.6, 1};
        settings.ndiSourceName = u"Bühne"_s;
        settings.ndiWidth = 64;
        settings.ndiHeight = 32;
    }

    MemoryPreferences preferences;
    AppSettings settings {preferences};
    ManualClock clock;
    TimerEngine engine {settings, clock.clock()};
    MessageAnimator animator {engine, clock.clock()};
    NDISender sender {engine, settings, animator};
};

} // namespace

class NDISenderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void looksForTheRuntime_data();
    void looksForTheRuntime();
    void saysWhatIsMissing_data();
    void saysWhatIsMissing();
    void startsAndStops();
    void sendsFrames_data();
    void sendsFrames();
    void stopsAtASizeBeyondCounting_data();
    void stopsAtASizeBeyondCounting();
    void paintsWhatChanged();
    void keepsStepWithTheRuntime_data();
    void keepsStepWithTheRuntime();
    void callsOnAGrid();

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
};

void NDISenderTest::init()
{
    qputenv("STAND_IN_NDI_LOG", QFile::encodeName(m_folder.filePath(u"log"_s)));
    qunsetenv("STAND_IN_NDI");
    setRuntime("NDI_RUNTIME_DIR_V6", u"runtime6"_s);
    setRuntime("NDI_RUNTIME_DIR_V5", {});
    (void)calls();
}

void NDISenderTest::looksForTheRuntime_data()
{
    QTest::addColumn<QString>("version6");
    QTest::addColumn<QString>("version5");
    QTest::addColumn<QString>("loaded");

    const QString none = u"missing"_s;
    QTest::newRow("the newer first") << u"runtime6"_s << u"runtime5"_s << u"runtime6"_s;
    QTest::newRow("older library in the first place")
        << u"runtime5"_s << u"runtime6"_s << u"runtime5"_s;
    QTest::newRow("the next place") << none << u"runtime5"_s << u"runtime5"_s;
    QTest::newRow("only the second is set") << QString() << u"runtime6"_s << u"runtime6"_s;
    // The first library that opens is the only one that is asked.
    QTest::newRow("no runtime in the library") << u"other"_s << u"runtime6"_s << QString();
}

void NDISenderTest::looksForTheRuntime()
{
    QFETCH(QString, version6);
    QFETCH(QString, version5);
    QFETCH(QString, loaded);
    setRuntime("NDI_RUNTIME_DIR_V6", version6);
    setRuntime("NDI_RUNTIME_DIR_V5", version5);
    {
        const NDIBridge bridge;
        QCOMPARE(bridge.isRuntimeAvailable(), !loaded.isEmpty());
    }
    const QStringList expected {u"load "_s + loaded, u"initialize"_s, u"destroy"_s};
    QCOMPARE(calls(), loaded.isEmpty() ? QStringList() : expected);
}

void NDISenderTest::saysWhatIsMissing_data()
{
    QTest::addColumn<QByteArray>("amiss");
    QTest::addColumn<QString>("line");

    QTest::newRow("no table")
        << QByteArray("no table")
        << u"NDI runtime not found — install the NDI Tools/SDK runtime to enable NDI output"_s;
    QTest::newRow("no sender") << QByteArray("refuses") << u"NDI: failed to create sender"_s;
}

void NDISenderTest::saysWhatIsMissing()
{
    QFETCH(QByteArray, amiss);
    QFETCH(QString, line);
    qputenv("STAND_IN_NDI", amiss);
    Stage stage;
    for (int attempt = 0; attempt < 2; ++attempt) {
        QTest::ignoreMessage(QtCriticalMsg, qUtf8Printable(line));
        stage.sender.start();
        QVERIFY(!stage.sender.isRunning());
    }
    stage.sender.tick();
    QVERIFY(calls().filter(u"frame"_s).isEmpty());
}

void NDISenderTest::startsAndStops()
{
    {
        Stage stage;
        QTest::ignoreMessage(QtInfoMsg, "NDI sending as \"Bühne\"");
        stage.sender.start();
        stage.sender.start();
        QVERIFY(stage.sender.isRunning());
        stage.settings.ndiSourceName = u"Saal"_s;
        stage.sender.tick();
        stage.sender.stop();
        stage.sender.stop();
        QVERIFY(!stage.sender.isRunning());
        stage.sender.tick();
        QTest::ignoreMessage(QtInfoMsg, "NDI sending as \"Saal\"");
        stage.sender.start();
    }
    QStringList expected {u"load runtime6"_s, u"initialize"_s, u"create Bühne none 1 0"_s,
        u"frame"_s, u"destroy sender"_s, u"create Saal none 1 0"_s, u"destroy sender"_s,
        u"destroy"_s};
    QStringList seen = calls();
    seen.replaceInStrings(QRegularExpression(u"^frame .*"_s), u"frame"_s);
    QCOMPARE(seen, expected);
}

void NDISenderTest::sendsFrames_data()
{
    QTest::addColumn<qint64>("width");
    QTest::addColumn<qint64>("height");
    QTest::addColumn<QString>("frame");

    const QString form =
        u"frame %1x%2 41524742 30000/1000 %3 1 synthesized %4 none 0, ends in 996633FF"_s;
    QTest::newRow("full HD") << qint64(1920) << qint64(1080)
                             << form.arg(1920).arg(1080).arg(u"1.7778"_s).arg(7680);
    QTest::newRow("small") << qint64(15) << qint64(-3)
                           << form.arg(16).arg(16).arg(u"1.0000"_s).arg(64);
    QTest::newRow("odd") << qint64(17) << qint64(1001)
                         << form.arg(17).arg(1001).arg(u"0.0170"_s).arg(68);
}

void NDISenderTest::sendsFrames()
{
    QFETCH(qint64, width);
    QFETCH(qint64, height);
    QFETCH(QString, frame);
    Stage stage;
    QTest::ignoreMessage(QtInfoMsg, "NDI sending as \"Bühne\"");
    stage.sender.start();
    stage.sender.tick();
    (void)calls();
    // A new size holds from the next frame on.
    stage.settings.ndiWidth = width;
    stage.settings.ndiHeight = height;
    stage.sender.tick();
    QCOMPARE(calls(), QStringList {frame});
}

void NDISenderTest::stopsAtASizeBeyondCounting_data()
{
    QTest::addColumn<qint64>("width");
    QTest::addColumn<qint64>("height");
    QTest::addColumn<bool>("stops");

    constexpr qint64 most = std::numeric_limits<qint64>::max();
    QTest::newRow("width beyond 32 bits") << qint64(4'294'967'296 + 64) << qint64(64) << true;
    QTest::newRow("height beyond 32 bits") << qint64(64) << qint64(4'294'967'296 + 64) << true;
    QTest::newRow("beyond 64 bits") << most << most << true;
    QTest::newRow("no such memory") << qint64(300'000'000) << qint64(2'000'000'000) << false;
    QTest::newRow("beyond the painter") << qint64(40'000) << qint64(16) << false;
}

void NDISenderTest::stopsAtASizeBeyondCounting()
{
    QFETCH(qint64, width);
    QFETCH(qint64, height);
    QFETCH(bool, stops);
    const ChildResult result = runInChild([&] {
        Stage stage;
        stage.sender.start();
        stage.settings.ndiWidth = width;
        stage.settings.ndiHeight = height;
        stage.sender.tick();
    });
    QCOMPARE(result.signal != 0, stops);
    QVERIFY(calls().filter(u"frame"_s).isEmpty());
}

/// The frames between are the same buffer once more, and the message moves as it does elsewhere.
void NDISenderTest::paintsWhatChanged()
{
    Stage stage;
    QTest::ignoreMessage(QtInfoMsg, "NDI sending as \"Bühne\"");
    stage.sender.start();
    const auto paintedIn = [&](int frames) {
        const qint64 before = stage.sender.paintedFrames();
        for (int i = 0; i < frames; ++i)
            stage.sender.tick();
        return stage.sender.paintedFrames() - before;
    };
    QCOMPARE(paintedIn(10), 1);
    stage.settings.udpPort = 7000;
    QCOMPARE(paintedIn(10), 0);
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

void NDISenderTest::keepsStepWithTheRuntime_data()
{
    QTest::addColumn<QList<int>>("sentAt");
    QTest::addColumn<QList<int>>("heldBackFor");

    QTest::newRow("in step") << QList {5, 38, 71, 104} << QList {0, 0, 0, 0};
    QTest::newRow("early") << QList {0, 30, 61, 99} << QList {0, 3, 5, 0};
    QTest::newRow("a little late") << QList {0, 49, 66, 98} << QList {0, 0, 0, 1};
    QTest::newRow("so late that the grid begins anew")
        << QList {0, 51, 66, 99, 134} << QList {0, 0, 18, 18, 16};
    QTest::newRow("frames left out are not made up for")
        << QList {0, 99, 132, 133} << QList {0, 0, 0, 32};
}

void NDISenderTest::keepsStepWithTheRuntime()
{
    QFETCH(QList<int>, sentAt);
    QFETCH(QList<int>, heldBackFor);
    const SendSlots::Instant start(1h);
    SendSlots slots(33ms);
    for (qsizetype i = 0; i < sentAt.size(); ++i)
        QCOMPARE(slots.take(start + std::chrono::milliseconds(sentAt[i])) / 1ms, heldBackFor[i]);
}

/// Points that nobody has come for are one call, and none comes after the stop.
void NDISenderTest::callsOnAGrid()
{
    int calls = 0;
    GridTimer timer(1ms, [&] { ++calls; });
    const auto pass = [](int points) {
        const QDeadlineTimer deadline(points);
        while (!deadline.hasExpired()) { }
    };
    timer.start();
    QTRY_VERIFY(calls >= 3);
    calls = 0;
    pass(50);
    QCoreApplication::processEvents();
    QVERIFY(calls > 0 && calls < 25);

    pass(2);
    timer.stop();
    timer.shift(-10ms);
    calls = 0;
    pass(2);
    QCoreApplication::processEvents();
    QCOMPARE(calls, 0);
}

QTEST_MAIN(NDISenderTest)
#include "tst_NDISender.moc"

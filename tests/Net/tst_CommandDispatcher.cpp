#include "Net/CommandDispatcher.h"

#include "helpers/ChildProcess.h"
#include "helpers/ManualClock.h"
#include "helpers/MemoryPreferences.h"

#include <QTest>

#include <array>
#include <csignal>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

class CueSpy final : public CueControlling {
public:
    void load(qint64 index) override { calls += u" load %1"_s.arg(index); }
    void next() override { calls += u" next"_s; }
    void previous() override { calls += u" previous"_s; }

    QString calls;
};

/// An engine under remote control, with time that stands still.
struct Stage {
    MemoryPreferences preferences;
    AppSettings settings {preferences};
    ManualClock clock;
    TimerEngine engine {settings, clock.clock(), [](Instant) { return u"20:15"_s; }};
    CommandDispatcher dispatcher {engine};
    std::unique_ptr<CueSpy> cues = std::make_unique<CueSpy>();

    Stage() { dispatcher.cues = cues.get(); }

    /// Sends one line after the other. "@63" is no line: it lets 63 seconds pass.
    void play(const QStringList& script)
    {
        for (const QString& line : script) {
            if (line.startsWith(u'@')) {
                clock.advance(std::chrono::seconds(line.sliced(1).toInt()));
                engine.tick();
            } else {
                dispatcher.dispatch(Command::parse(line).value());
            }
        }
    }

    /// Everything that a command may change: "running 300/300 05:00", then what is out of the
    /// ordinary, then what was asked of the running order.
    [[nodiscard]] QString state() const
    {
        static const std::array phases {u"idle"_s, u"running"_s, u"paused"_s, u"clock"_s};
        const DisplaySnapshot& shown = engine.snapshot.value();
        QString text = u"%1 %2/%3 %4"_s.arg(phases.at(static_cast<size_t>(engine.phase.value())))
                           .arg(engine.remaining())
                           .arg(engine.setSeconds)
                           .arg(shown.timeText);
        text += engine.pureCountUp ? u" up"_s : u""_s;
        text += engine.currentRunFromCue ? u" cue"_s : u""_s;
        text += shown.isBlackout ? u" blackout"_s : u""_s;
        text += shown.strobe ? u" strobe"_s : u""_s;
        text += shown.message ? u" \"%1\""_s.arg(*shown.message) : u""_s;
        return cues ? text + cues->calls : text;
    }
};

} // namespace

class CommandDispatcherTest : public QObject {
    Q_OBJECT

private:
    /// What was logged, and what observeLog gave at each of these moments.
    static inline QStringList log;
    static inline QStringList observations;
    static inline std::function<QString()> observeLog;
    QtMessageHandler m_frameworkHandler = nullptr;

private Q_SLOTS:
    void init()
    {
        log.clear();
        observations.clear();
        observeLog = [] { return QString(); };
        m_frameworkHandler = qInstallMessageHandler(
            [](QtMsgType type, const QMessageLogContext& context, const QString& text) {
                log.append(u"%1 %2: %3"_s.arg(type).arg(QLatin1StringView(context.category), text));
                observations.append(observeLog());
            });
    }
    void cleanup() { qInstallMessageHandler(m_frameworkHandler); }

    void logsBeforeActing_data()
    {
        QTest::addColumn<QStringList>("before");
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("logged");
        QTest::addColumn<bool>("acts");
        const auto add = [](const char* name, const QStringList& before, const QString& line,
                             const QString& logged, bool acts) {
            QTest::newRow(name) << before << line << logged << acts;
        };
        const QStringList idle;
        const QStringList running {u"GO 5"_s};
        add("set", idle, u"SET 5"_s, u"set(minutes: 5.0)"_s, true);
        add("set the same", running, u"SET 5"_s, u"set(minutes: 5.0)"_s, false);
        add("go", idle, u"go 2.5"_s, u"go(minutes: 2.5)"_s, true);
        add("start", idle, u"START"_s, u"start"_s, true);
        add("stop", running, u"STOPTIME"_s, u"stop"_s, true);
        add("stop while idle", idle, u"STOPTIME"_s, u"stop"_s, false);
        add("clock", idle, u"TIME"_s, u"toggleClock"_s, true);
        add("blackout", idle, u"BLACK"_s, u"toggleBlackout"_s, true);
        add("pause", running, u"PAUSE"_s, u"pause"_s, true);
        add("pause while idle", idle, u"PAUSE"_s, u"pause"_s, false);
        add("strobe", idle, u"FLASH"_s, u"strobe"_s, true);
        add("add", running, u"+1"_s, u"addMinute"_s, true);
        add("add while idle", idle, u"+1"_s, u"addMinute"_s, false);
        add("subtract", running, u"-1"_s, u"subtractMinute"_s, true);
        add("subtract while idle", idle, u"-1"_s, u"subtractMinute"_s, false);
        add("message", idle, u"MSG \"5\"\nleft"_s, u"message(\"\\\"5\\\"\\nleft\")"_s, true);
        add("empty message", idle, u"MSG"_s, u"message(\"\")"_s, false);
        add("clear", {u"MSG a"_s}, u"CLEARMSG"_s, u"clearMessage"_s, true);
        add("clear nothing", idle, u"CLEARMSG"_s, u"clearMessage"_s, false);
        add("reset", running, u"RESET"_s, u"reset"_s, true);
        add("cue", idle, u"CUE 3"_s, u"cue(3)"_s, true);
        add("next", idle, u"NEXT"_s, u"nextCue"_s, true);
        add("previous", idle, u"PREV"_s, u"prevCue"_s, true);
    }
    void logsBeforeActing()
    {
        QFETCH(const QStringList, before);
        QFETCH(const QString, line);
        QFETCH(const QString, logged);
        QFETCH(const bool, acts);
        Stage stage;
        stage.play(before);
        const QString stateBefore = stage.state();
        log.clear();
        observations.clear();
        observeLog = [&] { return stage.state(); };
        stage.play({line});
        const QString expected = u"%1 com.quillfen.tarrow.control: command %2"_s;
        QCOMPARE(log, QStringList(expected.arg(QtInfoMsg).arg(logged)));
        QCOMPARE(observations, QStringList(stateBefore));
        QCOMPARE(stage.state() != stateBefore, acts);
    }

    void plays_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("state");
        const auto add = [](const char* script, const QString& state) {
            QTest::newRow(script) << QString::fromLatin1(script) << state;
        };
        add("SET 1.5", u"idle 0/90 00:00"_s);
        add("SET 0.01", u"idle 0/1 00:00"_s);
        add("SET 9, SET 0.008", u"idle 0/0 00:00"_s);
        add("SET 9, SET 0.0083", u"idle 0/0 00:00"_s);
        add("SET 0.0084", u"idle 0/1 00:00"_s);
        add("SET 9, SET -3", u"idle 0/0 00:00"_s);
        add("SET 9, SET -1.5e17", u"idle 0/0 00:00"_s);
        // Halves of a second go away from zero, not to the even one.
        add("SET 0.041666666666666664", u"idle 0/3 00:00"_s);
        add("SET 0.375", u"idle 0/23 00:00"_s);
        add("GO 0.125", u"running 8/8 00:08"_s);
        // The last minutes whose seconds fit.
        add("SET 153722867280912896", u"idle 0/9223372036854773760 00:00"_s);
        // The set time is for the next start.
        add("SET 2, START", u"running 120/120 02:00"_s);
        add("SET 2, GO", u"running 120/120 02:00"_s);
        add("GO 5, SET 2", u"running 300/120 05:00"_s);
        add("GO 5, SET 0, @1", u"running 299/0 04:59"_s);
        add("GO 5, PAUSE, SET 2", u"paused 300/120 05:00"_s);
        // Nothing to count down from counts up.
        add("GO 0, @63", u"running -63/0 01:03 up"_s);
        add("GO -5, @63", u"running -63/0 01:03 up"_s);
        add("GO 0.0083, @1", u"running -1/0 00:01 up"_s);
        add("START, @1", u"running -1/0 00:01 up"_s);
        add("GO, @1", u"running -1/0 00:01 up"_s);
        // A start is a fresh start, whatever was before.
        add("GO 0, @9, GO 2, @1", u"running 119/120 01:59"_s);
        add("GO 0, @9, SET 2, START, @1", u"running 119/120 01:59"_s);
        add("GO 5, @9, GO, @1", u"running 299/300 04:59"_s);
        add("GO 5, @9, PAUSE, START, @1", u"running 299/300 04:59"_s);
        add("GO 5, TIME, GO", u"running 300/300 05:00"_s);
        add("GO 5, STOPTIME, START", u"running 300/300 05:00"_s);
        add("GO 5, @9, STOPTIME", u"idle 0/300 00:00"_s);
        add("GO 5, @9, PAUSE", u"paused 291/300 04:51"_s);
        add("GO 5, PAUSE, @9, PAUSE, @1", u"running 299/300 04:59"_s);
        add("GO 5, TIME", u"clock 300/300 20:15"_s);
        add("GO 5, TIME, TIME", u"idle 300/300 00:00"_s);
        add("TIME, STOPTIME", u"idle 0/0 00:00"_s);
        // A minute is taken off only while 61 seconds are left.
        add("SET 1.0167, GO, -1", u"running 1/61 00:01"_s);
        add("SET 1.0167, GO, PAUSE, -1", u"paused 1/61 00:01"_s);
        add("SET 1.0167, GO, @1, -1", u"running 60/61 01:00"_s);
        add("GO 1, -1", u"running 60/60 01:00"_s);
        add("GO 1, PAUSE, -1", u"paused 60/60 01:00"_s);
        add("GO 3, -1, -1, -1, -1", u"running 60/180 01:00"_s);
        add("GO 0, @90, -1", u"running -90/0 01:30 up"_s);
        add("GO 5, TIME, -1", u"clock 300/300 20:15"_s);
        add("GO 5, TIME, +1", u"clock 300/300 20:15"_s);
        add("GO 5, +1, +1", u"running 420/300 07:00"_s);
        add("GO 5, PAUSE, +1", u"paused 360/300 06:00"_s);
        add("MSG a, MSG Doors  open", u"idle 0/0 00:00 \"Doors  open\""_s);
        add("MSG a, GO 5, TIME, STOPTIME", u"idle 0/300 00:00 \"a\""_s);
        add("MSG a, CLEARMSG", u"idle 0/0 00:00"_s);
        add("MSG a, MSG", u"idle 0/0 00:00"_s);
        add("BLACK, STROBE", u"idle 0/0 00:00 blackout strobe"_s);
        add("GO 5, BLACK, BLACK", u"running 300/300 05:00"_s);
        add("GO 5, BLACK, STROBE, MSG a, RESET", u"idle 0/300 00:00"_s);
        // The first cue has the index 0; the running order knows what to do with the others.
        add("CUE 1", u"idle 0/0 00:00 load 0"_s);
        add("CUE 0", u"idle 0/0 00:00 load -1"_s);
        add("CUE -1", u"idle 0/0 00:00 load -2"_s);
        add("CUE 9223372036854775807", u"idle 0/0 00:00 load 9223372036854775806"_s);
        add("CUE -9223372036854775807", u"idle 0/0 00:00 load -9223372036854775808"_s);
        add("NEXT, PREV, NEXT", u"idle 0/0 00:00 next previous next"_s);
    }
    void plays()
    {
        QFETCH(const QString, script);
        Stage stage;
        stage.play(script.split(u", "_s));
        QTEST(stage.state(), "state");
    }

    void startIsNoCueRun()
    {
        for (const QString& line : {u"START"_s, u"GO"_s, u"GO 5"_s, u"GO 0"_s}) {
            Stage stage;
            stage.engine.start(TimerEngine::RunOrigin::cue);
            stage.play({line});
            QVERIFY2(!stage.engine.currentRunFromCue, qPrintable(line));
        }
    }

    void setAlonePublishesNothing()
    {
        Stage stage;
        stage.play({u"GO 5"_s});
        int publications = 0;
        const auto count = [&] { ++publications; };
        const auto snapshots = stage.engine.snapshot.addNotifier(count);
        const auto phases = stage.engine.phase.addNotifier(count);
        stage.play({u"SET 2"_s, u"SET 0"_s});
        QCOMPARE(publications, 0);
    }

    void cueCommandsNeedARunningOrder()
    {
        const QStringList script {u"CUE 1"_s, u"NEXT"_s, u"PREV"_s};
        Stage stage;
        stage.cues.reset();
        stage.play(script);
        stage.dispatcher.cues = nullptr;
        stage.play(script);
        QCOMPARE(stage.state(), u"idle 0/0 00:00"_s);
        QCOMPARE(log.size(), 6);
    }

    void fatalConversions_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QByteArray>("value");
        const auto add = [](const char* line, const QByteArray& value) {
            QTest::newRow(line) << QString::fromLatin1(line) << value;
        };
        add("SET inf", "inf");
        add("GO -inf", "-inf");
        add("SET nan", "nan");
        add("GO nan", "nan");
        add("GO 1e999", "inf");
        // Finite as minutes, but not as seconds.
        add("SET 1e308", "inf");
        add("SET 1.6e17", "9.6");
        add("GO -1.6e17", "-9.6");
        // Seconds that round to 2^63.
        add("SET 153722867280912928", "922337203685477");
        add("CUE -9223372036854775808", "-9223372036854775808");
    }
    void fatalConversions()
    {
        QFETCH(const QString, line);
        QFETCH(const QByteArray, value);
        const ChildResult result = runInChild([&] { Stage().play({line}); });
        QCOMPARE(result.signal, SIGABRT);
        const QList<QByteArray> lines = result.standardError.trimmed().split('\n');
        QCOMPARE(lines.size(), 2);
        QVERIFY2(lines[0].contains("info com.quillfen.tarrow.control: command "), lines[0]);
        QVERIFY2(!lines[0].contains("fatal") && lines[1].contains(": fatal: "), lines[1]);
        QVERIFY2(lines[1].contains(" is " + value), lines[1]);
    }
};

QTEST_GUILESS_MAIN(CommandDispatcherTest)
#include "tst_CommandDispatcher.moc"

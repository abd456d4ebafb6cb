#include "Model/TimerEngine.h"

#include "helpers/EngineRig.h"

#include <QTest>

#include <array>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

using Microseconds = std::chrono::microseconds;
using Origin = TimerEngine::RunOrigin;

namespace {

const char* name(TimeThreshold threshold)
{
    return std::array {"normal", "amber", "red"}.at(static_cast<size_t>(threshold));
}

const char* name(TimerEngine::Phase phase)
{
    return std::array {"idle", "running", "paused", "clock"}.at(static_cast<size_t>(phase));
}

/// "14:05:09", in UTC.
QString timeOfDay(Instant instant)
{
    const std::chrono::hh_mm_ss time(instant - floor<std::chrono::days>(instant));
    return QString::asprintf("%02d:%02d:%02d", static_cast<int>(time.hours().count()),
        static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
}

/// An engine with a record of what it tells others.
struct Stage : EngineRig {
    /// In order: "finish", "ask" for the auto-advance handler, and every new phase.
    QByteArrayList events;
    /// The answer to "ask": a cue of 20 seconds follows.
    bool hasNextCue = false;
    int publications = 0;
    QPropertyNotifier phaseNotifier =
        engine.phase.addNotifier([this] { events += name(engine.phase); });
    QPropertyNotifier snapshotNotifier = engine.snapshot.addNotifier([this] { ++publications; });

    Stage()
        : EngineRig(timeOfDay)
    {
        engine.onFinish = [this] { events += "finish"; };
        engine.autoAdvanceHandler = [this] {
            events += "ask";
            if (hasNextCue)
                start(20, Origin::cue);
            return hasNextCue;
        };
    }

    void start(qint64 seconds, Origin origin)
    {
        engine.setSeconds = seconds;
        engine.start(origin);
    }

    /// "04:59 amber running", and what lies over it: " [message] black lit".
    QByteArray shown() const
    {
        const DisplaySnapshot& snapshot = engine.snapshot.value();
        QByteArray text =
            snapshot.timeText.toUtf8() + ' ' + name(snapshot.threshold) + ' ' + name(engine.phase);
        if (snapshot.message)
            text += " [" + snapshot.message->toUtf8() + ']';
        return text + (snapshot.isBlackout ? " black" : "") + (snapshot.strobe ? " lit" : "");
    }

    /// Does what a line such as "loop on; go 300; wait 1.5; pause" says.
    void play(const char* script)
    {
        for (const QString& step : QString::fromUtf8(script).split(u"; "_s)) {
            const QString rest = step.section(u' ', 1);
            const qint64 number = rest.toLongLong();
            const bool on = rest == u"on";
            const QHash<QString, std::function<void()>> requests {
                {u"go"_s, [&] { start(number, Origin::operatorRequest); }},
                {u"cue"_s, [&] { start(number, Origin::cue); }},
                {u"set"_s, [&] { engine.setSeconds = number; }},
                {u"start"_s, [&] { engine.start(Origin::operatorRequest); }},
                {u"rearm"_s, [&] { engine.rearm(number); }},
                {u"stop"_s, [&] { engine.stop(); }},
                {u"pause"_s, [&] { engine.togglePause(); }},
                {u"add"_s, [&] { engine.addMinute(); }},
                {u"subtract"_s, [&] { engine.subtractMinute(); }},
                {u"clock"_s, [&] { engine.setClock(on); }},
                {u"loop"_s, [&] { engine.loop = on; }},
                {u"next"_s, [&] { hasNextCue = on; }},
                {u"countUp"_s, [&] { settings.allowCountUp = on; }},
                {u"colors"_s, [&] { settings.useThresholdColors = on; }},
                {u"amber"_s, [&] { settings.amberThresholdSeconds = number; }},
                {u"red"_s, [&] { settings.redThresholdSeconds = number; }},
                // Time passes, and no tick sees it.
                {u"miss"_s, [&] { clock.advance(Microseconds(qRound64(rest.toDouble() * 1e6))); }},
                {u"tick"_s, [&] { engine.tick(); }},
                {u"wait"_s, [&] { play(qPrintable(u"miss %1; tick"_s.arg(rest))); }},
                {u"message"_s, [&] { engine.setMessage(rest); }},
                {u"blackout"_s, [&] { engine.toggleBlackout(); }},
                {u"strobe"_s, [&] { engine.strobe(); }},
                {u"reset"_s, [&] { engine.reset(); }},
            };
            requests[step.section(u' ', 0, 0)]();
        }
    }
};

/// Rows of a script, what is shown after it and, where they matter, the events up to then.
void addColumns()
{
    QTest::addColumn<QByteArray>("shown");
    QTest::addColumn<QByteArray>("events");
}

void row(const char* script, const char* shown, const char* events = nullptr)
{
    QTest::newRow(script) << QByteArray(shown) << QByteArray(events);
}

void checkRow()
{
    QFETCH(const QByteArray, shown);
    QFETCH(const QByteArray, events);
    Stage stage;
    stage.play(QTest::currentDataTag());
    QCOMPARE(stage.shown(), shown);
    if (!events.isNull())
        QCOMPARE(stage.events.join(' '), events);
}

} // namespace

class TimerEngineTest : public QObject {
    Q_OBJECT

public:
    /// Qt reads the environment's locale once per process.
    static void initMain()
    {
        qputenv("LC_ALL", "en_US.UTF-8");
        qputenv("TZ", "UTC");
    }

private Q_SLOTS:
    void countsDown_data()
    {
        addColumns();
        row("wait 3600", "00:00 normal idle", "");
        // Each value is shown for a full second after it was reached.
        row("go 300; wait 0.999999", "05:00 amber running");
        row("go 300; wait 1", "04:59 amber running");
        row("countUp on; go 300; wait 301.999999", "-00:01 red running");
        // The clock is set back.
        row("go 300; wait -1", "05:01 normal running");
        row("go 300; wait -3600", "65:00 normal running", "running");
        // The ends of 64 bits hold.
        row("rearm 9223372036854775807; add", "153722867280912930:07 normal running");
        row("countUp on; rearm -9223372036854775808; wait 9", "-153722867280912930:08 red running");
    }
    void countsDown() { checkRow(); }

    void countsUp_data()
    {
        addColumns();
        row("go 0; wait 0.999999", "00:00 normal running");
        row("go 0; wait 1", "00:01 normal running");
        row("loop on; next on; cue 0; wait 1; wait 3600", "60:01 normal running", "running");
        // The number underneath is negative: what is added brings it nearer to zero, or past it.
        row("go 0; wait 90; add", "00:30 normal running");
        row("go 0; wait 30; add", "00:30 normal running");
        row("go 0; wait 90; subtract", "01:30 normal running");
        row("go 0; wait 90; pause; wait 9; pause; wait 1", "01:31 normal running");
    }
    void countsUp() { checkRow(); }

    void thresholds_data()
    {
        addColumns();
        row("go 301", "05:01 normal running");
        row("go 300", "05:00 amber running");
        row("go 61", "01:01 amber running");
        row("go 60", "01:00 red running");
        row("colors off; go 30", "00:30 normal running");
        row("colors off; rearm -30", "-00:30 red running");
        row("amber 60; red 300; go 300", "05:00 red running");
        row("go 100; red 100; tick", "01:40 red running");
    }
    void thresholds() { checkRow(); }

    void finishes_data()
    {
        addColumns();
        row("go 10; wait 10.999999", "00:00 red running", "running");
        row("go 10; wait 11; wait 1", "00:00 red idle", "running finish idle");
        row("countUp on; go 10; wait 11; wait 1", "-00:02 red running", "running finish");
        // A loop comes before the next cue, which comes before overtime.
        row("loop on; countUp on; next on; cue 10; wait 11", "00:10 red running", "running finish");
        row("countUp on; next on; cue 10; wait 11", "00:20 red running", "running finish ask");

        row("loop on; go 10; set 120; wait 11", "02:00 amber running");
        row("loop on; go 10; set 0; wait 11; wait 1", "00:00 red running", "running finish finish");
        row("loop on; go 10; stop; go 10; wait 11", "00:00 red idle",
            "running idle running finish idle");

        // An hour at once, as when the clock is set ahead, is one finish and not a round for each.
        row("loop on; go 10; wait 3600.5; wait 0.999999", "00:10 red running", "running finish");
        row("countUp on; go 10; wait 3600; wait -3600", "00:10 red running", "running finish");
        row("next on; cue 10; wait 3600; wait 1", "00:19 red running", "running finish ask");

        // What was decided at zero stays decided, until time is added up to zero at least.
        row("countUp on; go 10; wait 11; countUp off; wait 1", "-00:02 red running",
            "running finish");
        row("countUp on; go 10; wait 70; countUp off; add; wait 1", "00:00 red idle",
            "running finish finish idle");

        // Resuming overtime decides again.
        row("countUp on; go 10; wait 15; pause; pause; tick", "-00:05 red running",
            "running finish paused running finish");
    }
    void finishes() { checkRow(); }

    void requests_data()
    {
        addColumns();
        row("go 300; wait 1.9; pause; wait 9; pause; wait 0.999999", "04:59 amber running");
        row("go 300; miss 1; pause; pause", "05:00 amber running");
        row("clock on; pause", "00:00:00 normal clock", "clock");

        row("go 250; wait 1.9; add; wait 0.999999", "05:09 normal running");
        row("rearm -5; add", "00:55 red running");
        row("go 300; stop; add", "00:00 normal idle");
        row("go 300; clock on; add", "00:00:00 normal clock");

        row("go 300; wait 1.9; subtract; wait 0.999999", "03:59 amber running");
        row("go 61; subtract", "00:01 red running");
        row("go 60; subtract", "01:00 red running");

        row("go 300; wait 1; stop; wait 1", "00:00 normal idle", "running idle");
        // Nothing of the run is left but the set time.
        row("go 300; wait 9; stop; start", "05:00 amber running");
        row("next on; cue 10; stop; rearm 10; wait 11", "00:00 red idle",
            "running idle running finish idle");
    }
    void requests() { checkRow(); }

    void clock_data()
    {
        addColumns();
        row("clock on; wait 3723.499999", "01:02:03 normal clock");
        row("clock on; wait 3723.999999", "01 02 03 normal clock");
        // The countdown ends with it.
        row("go 10; clock on; wait 11", "00:00:11 normal clock", "running clock");
        row("clock on; go 300", "05:00 amber running", "clock idle running");
        row("go 300; clock off", "05:00 amber running", "running");
    }
    void clock() { checkRow(); }

    void clockFollowsTheLocale()
    {
        const QString text = TimerEngine::localShortTime()(ManualClock().now + 14h + 359s);
        QCOMPARE(text.simplified(), u"2:05 PM"_s);
    }

    void overlays_data()
    {
        addColumns();
        row("message Hi", "00:00 normal idle [Hi]");
        row("message \u00a0\u2003\u2028Hi\u0085", "00:00 normal idle [Hi]");
        // They outlive everything but a reset.
        row("message Hi; blackout; strobe; go 1; wait 2; clock on; stop",
            "00:00 normal idle [Hi] black lit");
        row("message Hi; blackout; strobe; go 300; reset", "00:00 normal idle");
        row("loop on; clock on; reset; go 10; wait 11", "00:00 red idle",
            "clock idle running finish idle");
    }
    void overlays() { checkRow(); }

    void strobes()
    {
        Stage stage;
        const auto strobeAndTick = [&](int ticks) {
            QString lit;
            stage.engine.strobe();
            for (int i = 0; i <= ticks; ++i) {
                lit += stage.engine.snapshot.value().strobe ? u'*' : u'-';
                stage.engine.strobeTick();
            }
            return lit;
        };
        QCOMPARE(strobeAndTick(10), u"*-*-*-*-*--"_s);
        QCOMPARE(stage.engine.strobeCount, 1);
        // Begun anew from the dark half.
        QCOMPARE(strobeAndTick(2), u"*-*"_s);
        QCOMPARE(strobeAndTick(10), u"*-*-*-*-*--"_s);
        QCOMPARE(stage.engine.strobeCount, 3);
    }

    void timersDriveTheEngine()
    {
        Stage stage;
        stage.play("go 300; miss 1");
        QTRY_COMPARE(stage.shown(), QByteArray("04:59 amber running"));
        stage.play("pause; pause; miss 1");
        QTRY_COMPARE(stage.shown(), QByteArray("04:58 amber running"));
        stage.play("clock on; miss 0.5");
        QTRY_COMPARE(stage.shown(), QByteArray("00 00 02 normal clock"));
    }

    void strobeTimerRunsUntilReset()
    {
        Stage reset;
        Stage other;
        reset.engine.strobe();
        reset.engine.reset();
        reset.publications = 0;
        // The other's whole strobe is time enough for a timer that was left running to show.
        other.engine.strobe();
        QTRY_COMPARE(other.publications, 10);
        QCOMPARE(reset.publications, 0);
    }
};

QTEST_GUILESS_MAIN(TimerEngineTest)
#include "tst_TimerEngine.moc"

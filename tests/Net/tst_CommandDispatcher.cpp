#include "Net/CommandDispatcher.h"

#include "helpers/CapturedLog.h"
#include "helpers/ChildProcess.h"
#include "helpers/EngineRig.h"

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
struct Stage : EngineRig {
    CommandDispatcher dispatcher {engine};
    std::unique_ptr<CueSpy> cues = std::make_unique<CueSpy>();

    Stage() { dispatcher.cues = cues.get(); }

    /// Sends a line. "@63" is no line: it lets 63 seconds pass.
    void play(const QString& line)
    {
        if (line.startsWith(u'@')) {
            clock.advance(std::chrono::seconds(line.sliced(1).toInt()));
            engine.tick();
        } else {
            dispatcher.dispatch(Command::parse(line).value());
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

private Q_SLOTS:
    void plays_data()
    {
        QTest::addColumn<QString>("state");
        const auto add = [](const char* script, const QString& state) {
            QTest::newRow(script) << state;
        };
        // Halves of a second go away from zero, not to the even one.
        add("SET 0.041666666666666664", u"idle 0/3 00:00"_s);
        add("GO 0.125", u"running 8/8 00:08"_s);
        // The last minutes whose seconds fit.
        add("SET 153722867280912896", u"idle 0/9223372036854773760 00:00"_s);
        // The set time is for the next start.
        add("SET 2, START", u"running 120/120 02:00"_s);
        add("GO -5, @63", u"running -63/0 01:03 up"_s);
        add("GO 5, @9, STOPTIME", u"idle 0/300 00:00"_s);
        add("GO 5, @9, PAUSE", u"paused 291/300 04:51"_s);
        add("GO 5, TIME, TIME", u"idle 300/300 00:00"_s);
        add("GO 5, +1, +1, -1", u"running 360/300 06:00"_s);
        add("MSG a, MSG \"Doors\"  open", u"idle 0/0 00:00 \"\"Doors\"  open\""_s);
        add("MSG a, CLEARMSG", u"idle 0/0 00:00"_s);
        add("BLACK, STROBE", u"idle 0/0 00:00 blackout strobe"_s);
        add("BLACK, STROBE, MSG a, RESET", u"idle 0/0 00:00"_s);
        // The first cue has the index 0; the running order knows what to do with the others.
        add("CUE 1", u"idle 0/0 00:00 load 0"_s);
        add("CUE -9223372036854775807", u"idle 0/0 00:00 load -9223372036854775808"_s);
        add("NEXT, PREV, NEXT", u"idle 0/0 00:00 next previous next"_s);
    }
    /// Every command is logged before it is carried out.
    void plays()
    {
        Stage stage;
        QStringList seen;
        QStringList expected;
        const CapturedLog log(
            [&](const QString& line) { seen += line + u" at "_s + stage.state(); });
        for (const QString& line : QString::fromLatin1(QTest::currentDataTag()).split(u", "_s)) {
            if (const auto command = Command::parse(line))
                expected += u"command %1 at %2"_s.arg(command->description(), stage.state());
            stage.play(line);
        }
        QTEST(stage.state(), "state");
        QCOMPARE(seen, expected);
    }

    void cueCommandsNeedARunningOrder()
    {
        Stage stage;
        stage.cues.reset();
        for (const QString& line : {u"CUE 1"_s, u"NEXT"_s, u"PREV"_s})
            stage.play(line);
        QCOMPARE(stage.state(), u"idle 0/0 00:00"_s);
    }

    void fatalConversions_data()
    {
        QTest::addColumn<QByteArray>("value");
        // Seconds that round to 2^63.
        QTest::newRow("SET 153722867280912928") << QByteArray("922337203685477");
        QTest::newRow("CUE -9223372036854775808") << QByteArray("-9223372036854775808");
    }
    void fatalConversions()
    {
        QFETCH(const QByteArray, value);
        const ChildResult result =
            runInChild([] { Stage().play(QString::fromLatin1(QTest::currentDataTag())); });
        QCOMPARE(result.signal, SIGABRT);
        const QList<QByteArray> lines = result.standardError.trimmed().split('\n');
        QCOMPARE(lines.size(), 2);
        QVERIFY2(lines[0].contains("info com.quillfen.tarrow.control: command "), lines[0]);
        QVERIFY2(lines[1].contains(": fatal: "), lines[1]);
        QVERIFY2(lines[1].contains(" is " + value), lines[1]);
    }
};

QTEST_GUILESS_MAIN(CommandDispatcherTest)
#include "tst_CommandDispatcher.moc"

#include "helpers/RunningProgram.h"
#include "helpers/XServer.h"

#include <QRect>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr int screenWidth = 1440;
/// Where the operator's window keeps its distance from.
constexpr int lowestBottom = 900 - 8;

/// What the mouse finds where, from the upper right corner of the window's frame.
const QMap<QString, QPoint> places {
    {u"close"_s, {-10, 10}},
    {u"background"_s, {-334, 100}},
    {u"timer"_s, {-267, 275}},
    {u"cues"_s, {-188, 275}},
    {u"clock"_s, {-95, 275}},
    {u"settings"_s, {-22, 275}},
    {u"go"_s, {-199, 322}},
    {u"pause"_s, {-124, 322}},
    {u"stop"_s, {-51, 322}},
    {u"five"_s, {-308, 368}},
    {u"more"_s, {-32, 368}},
    {u"next-cue"_s, {-35, 347}},
    {u"go-cue"_s, {-235, 347}},
    {u"blackout"_s, {-284, 511}},
};

} // namespace

/// The operator's window of the whole program, on a real X server with a window manager, used with
/// mouse and keys alone.
class ConsoleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_server = std::make_unique<XServer>();
        QVERIFY(m_server->isRunning());
        // On a busy machine, a key would seem to be held down.
        m_server->run(u"xset r off"_s);
        m_program = std::make_unique<RunningProgram>();
        m_program->setSettings({{u"webRemoteEnabled"_s, true}});
        m_program->setStored(RunningProgram::cuesKey,
            R"([{"id":"6f9619ff-8b86-d011-b42d-00c04fc964f1","title":"Welcome","seconds":180},)"
            R"({"id":"6f9619ff-8b86-d011-b42d-00c04fc964f2","title":"Keynote","seconds":2400}])");
        m_program->setShownOn(*m_server);
        QVERIFY(m_program->start());
        QTRY_COMPARE(m_server->focusedWindow(), u"Tarrow"_s);
        QTRY_COMPARE(frame().right(), screenWidth - 1);
    }

    void cleanup()
    {
        m_program.reset();
        m_server.reset();
    }

    void growsAndShrinksInPlace()
    {
        const QRect docked = frame();
        QCOMPARE(docked.topRight(), QPoint(screenWidth - 1, 0));
        // A click on the background does not take the window along.
        act(u"click background"_s);
        act(u"click settings"_s);
        // There is more than the screen has room for.
        QTRY_COMPARE(frame().bottom(), lowestBottom - 1);
        QCOMPARE(frame().topRight(), docked.topRight());
        act(u"click settings"_s);
        QTRY_COMPARE(frame(), docked);

        // Dragged by its background to the bottom, it moves up when it grows.
        const auto movePointer = [&, start = docked.topLeft() + QPoint(6, 100)](int x, int y) {
            run(u"xdotool mousemove %1 %2"_s.arg(start.x() + x).arg(start.y() + y));
        };
        movePointer(0, 0);
        run(u"xdotool mousedown 1"_s);
        int way = 10;
        QTRY_VERIFY((movePointer(-++way, 0), frame() != docked));
        movePointer(-500, 400);
        QTRY_COMPARE(frame().top(), docked.top() + 400);
        const int left = frame().left();
        run(u"xdotool mouseup 1"_s);
        // The window manager has let go once keys arrive again.
        QTRY_VERIFY((act(u"Return"_s), state().startsWith(u"running"_s)));
        act(u"click settings"_s);
        QTRY_COMPARE(frame(), QRect(left, 0, docked.width(), lowestBottom));
    }

    void staysAboveOtherWindowsOnRequest()
    {
        const auto isAbove = [&] {
            return run(u"xprop -name Tarrow _NET_WM_STATE"_s).contains(u"STATE_ABOVE"_s);
        };
        act(u"click settings"_s);
        QTRY_COMPARE(frame().bottom(), lowestBottom - 1);
        const QRect place = frame();
        QVERIFY(!isAbove());
        // Backwards from the first field: the settings' button, the modes, and the last toggles.
        act(u"shift+Tab shift+Tab shift+Tab shift+Tab space"_s);
        QTRY_VERIFY(isAbove());
        QCOMPARE(frame(), place);
        act(u"space"_s);
        QTRY_VERIFY(!isAbove());
        QCOMPARE(frame(), place);
    }

    /// What the operator does, and how the show stands then; the last act ends the program.
    void runsAShow_data()
    {
        using Steps = QList<QStringList>;
        QTest::addColumn<Steps>("steps");
        QTest::addColumn<QString>("end");
        QTest::newRow("by mouse") << Steps {
            {u"click five"_s, u"idle 0"_s},
            {u"click go"_s, u"running 5"_s},
            {u"click pause"_s, u"paused 5"_s},
            {u"click more"_s, u"paused 6"_s},
            {u"click pause"_s, u"running 6"_s},
            {u"click stop"_s, u"idle 0"_s},
            {u"click cues click go-cue"_s, u"running 3"_s},
            {u"click next-cue click go-cue"_s, u"running 40"_s},
            {u"click timer click settings click blackout"_s, u"running 40 blackout"_s},
            {u"click blackout"_s, u"running 40"_s},
            {u"click clock"_s, u"clock"_s},
            {u"click timer"_s, u"idle 0"_s},
            // The keyboard is back where the mouse did not mean to take it from.
            {u"7 Return"_s, u"running 57"_s},
        } << u"click close"_s;
        QTest::newRow("by keyboard") << Steps {
            {u"9 0 Return"_s, u"running 90"_s},
            // On GO, and then on Pause.
            {u"Tab Tab space"_s, u"paused 90"_s},
            {u"Tab space"_s, u"idle 0"_s},
            // Back to the modes, and over the settings' button to the first cue's GO.
            {u"shift+Tab shift+Tab shift+Tab shift+Tab shift+Tab Right"_s, u"idle 0"_s},
            {u"Tab Tab Tab space"_s, u"running 3"_s},
            {u"Tab Tab Tab space shift+Tab shift+Tab shift+Tab space"_s, u"running 40"_s},
            {u"shift+Tab shift+Tab space Tab Tab Tab Tab Tab Tab d o o r s Return"_s,
                u"running 40 doors"_s},
            {u"Tab Tab Tab space"_s, u"running 40 doors blackout"_s},
            {u"space shift+Tab space"_s, u"running 40"_s},
            // Back over the message to the modes' STOP.
            {u"shift+Tab shift+Tab shift+Tab shift+Tab space"_s, u"idle 0"_s},
            {u"shift+Tab shift+Tab shift+Tab shift+Tab shift+Tab Right"_s, u"clock"_s},
        } << u"ctrl+q"_s;
    }
    void runsAShow()
    {
        QFETCH(const QList<QStringList>, steps);
        QFETCH(const QString, end);
        for (const QStringList& step : steps) {
            act(step[0]);
            QTRY_COMPARE(state(), step[1]);
        }
        act(end);
        QVERIFY(m_program->endsWell());
    }

private:
    // NOLINTNEXTLINE(modernize-use-nodiscard): most are run for what they do.
    QString run(const QString& command) const { return m_server->run(command); }

    /// Clicks on places, "click place …", or presses keys.
    void act(const QString& request) const
    {
        if (!request.startsWith(u"click "_s)) {
            run(u"xdotool key --delay 20 "_s + request);
            return;
        }
        for (const QString& word : request.split(u"click "_s, Qt::SkipEmptyParts)) {
            // The window grows in steps.
            const QPoint place = places[word.trimmed()];
            (void)QTest::qWaitFor([&] { return frame().height() > place.y(); });
            const QPoint point = frame().topRight() + place;
            run(u"xdotool mousemove %1 %2 click 1"_s.arg(point.x()).arg(point.y()));
        }
    }

    /// With what the window manager draws around the window.
    [[nodiscard]] QRect frame() const
    {
        const QString extents = run(u"xprop -name Tarrow _NET_FRAME_EXTENTS"_s);
        const QStringList sides = extents.section(u"= "_s, 1).split(u", "_s);
        if (sides.size() != 4)
            return {};
        return m_server->windowPlace(u"Tarrow"_s)
            .adjusted(-sides[0].toInt(), -sides[2].toInt(), sides[1].toInt(), sides[3].toInt());
    }

    /// The phase, the minutes left, begun ones included, and what else the audience sees.
    [[nodiscard]] QString state() const
    {
        const QJsonObject state = m_program->state();
        QStringList words {state[u"phase"].toString()};
        const QStringList time = state[u"time"].toString().split(u':');
        if (words.first() != u"clock")
            words.append(QString::number(time[0].toInt() + (time.last().toInt() > 0 ? 1 : 0)));
        words.append(state[u"message"].toString());
        words.append(state[u"blackout"].toBool() ? u"blackout"_s : QString());
        words.removeAll(QString());
        return words.join(u' ');
    }

    std::unique_ptr<XServer> m_server;
    std::unique_ptr<RunningProgram> m_program;
};

QTEST_GUILESS_MAIN(ConsoleTest)
#include "tst_Console.moc"

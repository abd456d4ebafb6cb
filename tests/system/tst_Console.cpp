#include "helpers/HTTPPeer.h"
#include "helpers/RunningProgram.h"
#include "helpers/XServer.h"

#include <QJsonDocument>
#include <QRect>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr int screenWidth = 1440;
/// Where the operator's window keeps its distance from.
constexpr int lowestBottom = 900 - 8;

} // namespace

/// The operator's window of the whole program, on a real X server with a window manager, used with
/// mouse and keys alone.
class ConsoleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void docksAtTheTopRight();
    void growsAndShrinksInPlace();
    void staysOnTheScreen();
    void staysAboveOtherWindowsOnRequest();
    void runsAShowByKeyboard();
    void opensTheHelpByItsKeys();
    void endsTheProgramWhenClosed();
    void endsTheProgramByItsKeys();

private:
    // NOLINTNEXTLINE(modernize-use-nodiscard): most are run for what they do.
    QString run(const QString& command) const
    {
        QStringList words = command.split(u' ');
        const QString program = words.takeFirst();
        return m_server->run(program, words).trimmed();
    }
    [[nodiscard]] QRect frame() const;
    void clickAt(const QPoint& point) const
    {
        run(u"xdotool mousemove %1 %2 click 1"_s.arg(point.x()).arg(point.y()));
    }
    void press(const QString& keys) const { run(u"xdotool key --delay 20 "_s + keys); }
    /// The button that shows and hides the settings.
    [[nodiscard]] QPoint expandButton() const { return frame().topRight() + QPoint(-22, 275); }
    [[nodiscard]] QJsonObject state() const;

    std::unique_ptr<XServer> m_server;
    std::unique_ptr<RunningProgram> m_program;
    quint16 m_webPort = 0;
    QString m_window;
};

void ConsoleTest::init()
{
    m_server = std::make_unique<XServer>();
    QVERIFY(m_server->isRunning());
    m_program = std::make_unique<RunningProgram>();
    m_program->setStored(u"TarrowSettings.v1"_s,
        RunningProgram::settingsDocument({{u"webRemoteEnabled"_s, true}, {u"webPort"_s, 0}}));
    m_program->environment().insert(u"DISPLAY"_s, m_server->name());
    m_program->environment().insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
    QVERIFY(m_program->start());
    QVERIFY(m_program->waitForLog("Web remote on port"));
    static const QRegularExpression form(u"Web remote on port (\\d+)"_s);
    m_webPort = form.match(QString::fromUtf8(m_program->log())).captured(1).toUShort();
    QTRY_COMPARE(run(u"xdotool getwindowfocus getwindowname"_s), u"Tarrow"_s);
    m_window = run(u"xdotool getactivewindow"_s);
    QTRY_COMPARE(frame().right(), screenWidth - 1);
}

void ConsoleTest::cleanup()
{
    m_program.reset();
    m_server.reset();
}

/// With what the window manager draws around the window.
QRect ConsoleTest::frame() const
{
    const QString info = run(u"xwininfo -id "_s + m_window);
    const QString extents = run(u"xprop -id %1 _NET_FRAME_EXTENTS"_s.arg(m_window));
    const auto number = [&](const QString& name) {
        return QRegularExpression(name + u": +(\\d+)"_s).match(info).captured(1).toInt();
    };
    const QStringList sides = extents.section(u"= "_s, 1).split(u", "_s);
    if (sides.size() != 4)
        return {};
    return QRect(number(u"upper-left X"_s), number(u"upper-left Y"_s), number(u"Width"_s),
        number(u"Height"_s))
        .adjusted(-sides[0].toInt(), -sides[2].toInt(), sides[1].toInt(), sides[3].toInt());
}

QJsonObject ConsoleTest::state() const
{
    HTTPPeer peer(m_webPort);
    peer.send("GET /state HTTP/1.1\r\n\r\n");
    if (!QTest::qWaitFor([&] { return peer.receiveAll(); }))
        return {};
    const QByteArray received = peer.received();
    return QJsonDocument::fromJson(received.sliced(received.indexOf("\r\n\r\n") + 4)).object();
}

void ConsoleTest::docksAtTheTopRight()
{
    QCOMPARE(frame().topRight(), QPoint(screenWidth - 1, 0));
    const QString info = run(u"xprop -id %1 WM_NORMAL_HINTS"_s.arg(m_window));
    QVERIFY2(info.contains(u"maximum size: 340 by"_s), qUtf8Printable(info));
}

void ConsoleTest::growsAndShrinksInPlace()
{
    const QRect collapsed = frame();
    clickAt(expandButton());
    // There is more than the screen has room for.
    QTRY_COMPARE(frame().bottom(), lowestBottom - 1);
    QCOMPARE(frame().topRight(), collapsed.topRight());
    clickAt(expandButton());
    QTRY_COMPARE(frame(), collapsed);
}

/// Dragged by its background to the bottom, it moves up when it grows.
void ConsoleTest::staysOnTheScreen()
{
    const QRect docked = frame();
    const QPoint start = docked.topLeft() + QPoint(6, 100);
    run(u"xdotool mousemove %1 %2 mousedown 1"_s.arg(start.x()).arg(start.y()));
    for (int step = 1; step <= 10; ++step)
        run(u"xdotool mousemove %1 %2"_s.arg(start.x() - step * 50).arg(start.y() + step * 40));
    // A button let go before the last step has been seen ends the drag short of it.
    QTRY_COMPARE(frame(), docked.translated(-500, 400));
    run(u"xdotool mouseup 1"_s);
    clickAt(expandButton());
    QTRY_COMPARE(frame(), QRect(docked.x() - 500, 0, docked.width(), lowestBottom));
}

void ConsoleTest::staysAboveOtherWindowsOnRequest()
{
    const auto isAbove = [&] {
        return run(u"xprop -id %1 _NET_WM_STATE"_s.arg(m_window)).contains(u"STATE_ABOVE"_s);
    };
    clickAt(expandButton());
    QTRY_COMPARE(frame().bottom(), lowestBottom - 1);
    const QRect place = frame();
    QVERIFY(!isAbove());
    // Backwards from the first field: the settings' button, the modes, and the last two toggles.
    press(u"shift+Tab shift+Tab shift+Tab shift+Tab space"_s);
    QTRY_VERIFY(isAbove());
    QVERIFY(run(u"xwininfo -id "_s + m_window).contains(u"IsViewable"_s));
    QCOMPARE(frame(), place);
    press(u"space"_s);
    QTRY_VERIFY(!isAbove());
    QCOMPARE(frame(), place);
}

void ConsoleTest::runsAShowByKeyboard()
{
    press(u"9 0 Return"_s);
    QTRY_COMPARE(state()[u"phase"].toString(), u"running"_s);
    // On GO, and then on Pause.
    press(u"Tab Tab space"_s);
    QTRY_COMPARE(state()[u"phase"].toString(), u"paused"_s);
    press(u"Tab space"_s);
    QTRY_COMPARE(state()[u"phase"].toString(), u"idle"_s);
    // Back to the modes, and two to the right.
    press(u"shift+Tab shift+Tab shift+Tab shift+Tab shift+Tab Right Right"_s);
    QTRY_COMPARE(state()[u"phase"].toString(), u"clock"_s);
}

void ConsoleTest::opensTheHelpByItsKeys()
{
    press(u"ctrl+question"_s);
    QTRY_COMPARE(run(u"xdotool getwindowfocus getwindowname"_s), u"Tarrow Help"_s);
    // The menu's keys work here, too.
    press(u"ctrl+m"_s);
    QTRY_VERIFY(run(u"xdotool search --onlyvisible --name ^Tarrow.Help$"_s).isEmpty());
}

void ConsoleTest::endsTheProgramWhenClosed()
{
    run(u"wmctrl -i -c "_s + m_window);
    QVERIFY(m_program->waitForEnd());
    QCOMPARE(m_program->process().exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_program->process().exitCode(), 0);
}

void ConsoleTest::endsTheProgramByItsKeys()
{
    press(u"ctrl+question"_s);
    QTRY_COMPARE(run(u"xdotool getwindowfocus getwindowname"_s), u"Tarrow Help"_s);
    press(u"ctrl+q"_s);
    QVERIFY(m_program->waitForEnd());
    QCOMPARE(m_program->process().exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_program->process().exitCode(), 0);
}

QTEST_GUILESS_MAIN(ConsoleTest)
#include "tst_Console.moc"

#include "helpers/RunningProgram.h"
#include "helpers/XServer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString second = u"DUMMY1"_s;
const QString wholeSecond = u"1920x1080+1440+0"_s;
const QString title = u"Tarrow — DUMMY1"_s;

/// "1920x1080+1440+0", empty when there is no such window on screen.
QString geometry(const QString& windowInfo)
{
    static const QRegularExpression form(
        u"Absolute upper-left X: +(\\d+)\n.*Absolute upper-left Y: +(\\d+)\n.*"
        "Width: (\\d+)\n.*Height: (\\d+)\n.*Map State: IsViewable"_s,
        QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpressionMatch match = form.match(windowInfo);
    if (!match.hasMatch())
        return {};
    return u"%1x%2+%3+%4"_s.arg(
        match.captured(3), match.captured(4), match.captured(1), match.captured(2));
}

} // namespace

/// The whole program on a real X server, with displays that come and go.
class DisplaysTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_server = std::make_unique<XServer>();
        QVERIFY(m_server->isRunning());
        m_server->plug(second, u"large"_s, u"1440x0"_s);
        m_program = std::make_unique<RunningProgram>();
        m_program->setStored(u"TarrowSettings.v1"_s,
            RunningProgram::settingsDocument({{u"backgroundColor"_s,
                QJsonObject {{u"r"_s, 0.125}, {u"g"_s, 0.25}, {u"b"_s, 0.375}, {u"a"_s, 1}}}}));
        m_program->environment().insert(u"DISPLAY"_s, m_server->name());
        m_program->environment().insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        QVERIFY(m_program->start());
        QTRY_COMPARE(shown(), wholeSecond);
    }

    void cleanup()
    {
        m_program.reset();
        m_server.reset();
    }

    void coversTheSecondDisplayAndKnowsItAgain()
    {
        // Out of the window manager's hands: above panels, and on every virtual desktop.
        QVERIFY(m_server->windowInfo(title).contains(u"Override Redirect State: yes"_s));
        QCOMPARE(m_server->windowInfo(u"Tarrow — DUMMY0"_s), QString());
        const QJsonArray before = enabledScreens();
        QCOMPARE(before.size(), 1);

        m_program->process().terminate();
        QVERIFY(m_program->waitForEnd());
        QVERIFY(m_program->start());
        QTRY_COMPARE(shown(), wholeSecond);
        QCOMPARE(enabledScreens(), before);
    }

    void followsTheDisplay()
    {
        // Once with the desktop's size, and once within it.
        m_server->plug(second, u"small"_s, u"1440x100"_s);
        QTRY_COMPARE(shown(), u"1440x900+1440+100"_s);
        m_server->plug(second, u"small"_s, u"1440x50"_s);
        QTRY_COMPARE(shown(), u"1440x900+1440+50"_s);
        m_server->unplug(second);
        QTRY_COMPARE(shown(), QString());
        m_server->plug(second, u"large"_s, u"1440x0"_s);
        QTRY_COMPARE(shown(), wholeSecond);

        m_server->unplug(second);
        m_server->unplug(u"DUMMY0"_s);
        QTRY_COMPARE(shown(), QString());
        m_program->send("GO 5");
        QVERIFY(m_program->waitForLog("command go"));
        m_server->plug(u"DUMMY0"_s, u"small"_s, u"0x0"_s);
        m_server->plug(second, u"large"_s, u"1440x0"_s);
        QTRY_COMPARE(shown(), wholeSecond);
    }

    /// Another program's window lies full-screen on the display, has the focus and gets the clicks;
    /// all that can be seen is the time.
    void staysOutOfTheOperatorsWay()
    {
        QProcess other;
        other.setProcessEnvironment(m_program->environment());
        other.start(u"stdbuf"_s,
            {u"-oL"_s, u"xev"_s, u"-name"_s, u"other"_s, u"-geometry"_s, u"200x200+1500+50"_s});
        QTRY_COMPARE(geometry(m_server->windowInfo(u"other"_s)).section(u'+', 0, 0), u"200x200"_s);
        m_server->run(u"wmctrl"_s, {u"-r"_s, u"other"_s, u"-b"_s, u"add,fullscreen"_s});
        QTRY_COMPARE(geometry(m_server->windowInfo(u"other"_s)), wholeSecond);
        m_server->run(u"wmctrl"_s, {u"-a"_s, u"other"_s});
        const auto focused = [this] {
            return m_server->run(u"xdotool"_s, {u"getwindowfocus"_s, u"getwindowname"_s});
        };
        QTRY_COMPARE(focused(), u"other\n"_s);

        const auto isSeen = [this](const QString& color) {
            return m_server
                ->run(u"import"_s,
                    {u"-window"_s, u"root"_s, u"-crop"_s, u"1x1+1460+20"_s, u"-depth"_s, u"8"_s,
                        u"txt:-"_s})
                .contains(color);
        };
        QTRY_VERIFY(isSeen(u"#204060"_s));
        m_server->run(u"xdotool"_s, {u"set_desktop"_s, u"1"_s});
        QTRY_COMPARE(m_server->run(u"xdotool"_s, {u"get_desktop"_s}), u"1\n"_s);
        QVERIFY(isSeen(u"#204060"_s));
        m_server->run(u"xdotool"_s, {u"set_desktop"_s, u"0"_s});
        QTRY_COMPARE(focused(), u"other\n"_s);

        m_server->run(u"xdotool"_s, {u"mousemove"_s, u"1460"_s, u"20"_s, u"click"_s, u"1"_s});
        QByteArray events;
        QTRY_VERIFY((events += other.readAllStandardOutput()).contains("ButtonPress event"));

        m_server->unplug(second);
        QTRY_COMPARE(shown(), QString());
        m_server->plug(second, u"large"_s, u"1440x0"_s);
        QTRY_COMPARE(shown(), wholeSecond);
        QCOMPARE(focused(), u"other\n"_s);
        other.terminate();
        QVERIFY(other.waitForFinished());
    }

private:
    [[nodiscard]] QString shown() const { return geometry(m_server->windowInfo(title)); }
    [[nodiscard]] QJsonArray enabledScreens() const
    {
        return QJsonDocument::fromJson(m_program->stored(u"TarrowSettings.v1"_s))
            .object()[u"enabledScreenIDs"]
            .toArray();
    }

    std::unique_ptr<XServer> m_server;
    std::unique_ptr<RunningProgram> m_program;
};

QTEST_GUILESS_MAIN(DisplaysTest)
#include "tst_Displays.moc"

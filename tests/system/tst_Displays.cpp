#include "helpers/RunningProgram.h"
#include "helpers/XServer.h"

#include <QJsonArray>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString second = u"DUMMY1"_s;
const QString title = u"Tarrow — DUMMY1"_s;
constexpr QRect wholeSecond(1440, 0, 1920, 1080);

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
        m_program->setSettings({{u"backgroundColor"_s,
            QJsonObject {{u"r"_s, 0.125}, {u"g"_s, 0.25}, {u"b"_s, 0.375}, {u"a"_s, 1}}}});
        m_program->setShownOn(*m_server);
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
        QVERIFY(m_server->run(u"xwininfo -name \"%1\""_s.arg(title))
                    .contains(u"Override Redirect State: yes"_s));
        QCOMPARE(m_server->windowPlace(u"Tarrow — DUMMY0"_s), QRect());
        const QJsonArray before = enabledScreens();
        QCOMPARE(before.size(), 1);

        QVERIFY(m_program->quits());
        QVERIFY(m_program->start());
        QTRY_COMPARE(shown(), wholeSecond);
        QCOMPARE(enabledScreens(), before);
    }

    void followsTheDisplay()
    {
        // Once with the desktop's size, and once within it.
        m_server->plug(second, u"small"_s, u"1440x100"_s);
        QTRY_COMPARE(shown(), QRect(1440, 100, 1440, 900));
        m_server->plug(second, u"small"_s, u"1440x50"_s);
        QTRY_COMPARE(shown(), QRect(1440, 50, 1440, 900));
        m_server->unplug(second);
        QTRY_COMPARE(shown(), QRect());
        m_server->plug(second, u"large"_s, u"1440x0"_s);
        QTRY_COMPARE(shown(), wholeSecond);

        m_server->unplug(second);
        m_server->unplug(u"DUMMY0"_s);
        QTRY_COMPARE(shown(), QRect());
        QVERIFY(m_program->carriesOut("GO 5"));
        m_server->plug(u"DUMMY0"_s, u"small"_s, u"0x0"_s);
        m_server->plug(second, u"large"_s, u"1440x0"_s);
        QTRY_COMPARE(shown(), wholeSecond);
        QTRY_VERIFY(QRect(0, 0, 1440, 900).contains(m_server->windowPlace(u"Tarrow"_s)));
    }

    /// Another program's window lies full-screen on the display, has the focus and gets the clicks;
    /// all that can be seen is the time.
    void staysOutOfTheOperatorsWay()
    {
        QProcess other;
        other.setProcessEnvironment(m_program->environment());
        other.startCommand(u"stdbuf -oL xev -name other -geometry 200x200+1500+50"_s);
        QTRY_COMPARE(m_server->windowPlace(u"other"_s).width(), 200);
        m_server->run(u"wmctrl -r other -b add,fullscreen"_s);
        QTRY_COMPARE(m_server->windowPlace(u"other"_s), wholeSecond);
        m_server->run(u"wmctrl -a other"_s);
        QTRY_COMPARE(m_server->focusedWindow(), u"other"_s);

        const auto isSeen = [this] {
            return m_server->run(u"import -window root -crop 1x1+1460+20 -depth 8 txt:-"_s)
                .contains(u"#204060"_s);
        };
        QTRY_VERIFY(isSeen());
        m_server->run(u"xdotool set_desktop 1"_s);
        QTRY_COMPARE(m_server->run(u"xdotool get_desktop"_s), u"1"_s);
        QVERIFY(isSeen());
        m_server->run(u"xdotool set_desktop 0"_s);
        QTRY_COMPARE(m_server->focusedWindow(), u"other"_s);

        m_server->run(u"xdotool mousemove 1460 20 click 1"_s);
        QByteArray events;
        QTRY_VERIFY((events += other.readAllStandardOutput()).contains("ButtonPress event"));

        m_server->unplug(second);
        QTRY_COMPARE(shown(), QRect());
        m_server->plug(second, u"large"_s, u"1440x0"_s);
        QTRY_COMPARE(shown(), wholeSecond);
        QCOMPARE(m_server->focusedWindow(), u"other"_s);
        other.terminate();
        QVERIFY(other.waitForFinished());
    }

private:
    [[nodiscard]] QRect shown() const { return m_server->windowPlace(title); }
    [[nodiscard]] QJsonArray enabledScreens() const
    {
        return m_program->storedSettings()[u"enabledScreenIDs"].toArray();
    }

    std::unique_ptr<XServer> m_server;
    std::unique_ptr<RunningProgram> m_program;
};

QTEST_GUILESS_MAIN(DisplaysTest)
#include "tst_Displays.moc"

#include "helpers/RunningProgram.h"
#include "helpers/XServer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString second = u"DUMMY1"_s;
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
    void init();
    void cleanup();
    void coversTheSecondDisplay();
    void followsTheDisplay();
    void knowsADisplayAgain();

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

void DisplaysTest::init()
{
    m_server = std::make_unique<XServer>();
    QVERIFY(m_server->isRunning());
    m_server->plug(second, u"large"_s, u"1440x0"_s);
    m_program = std::make_unique<RunningProgram>();
    m_program->environment().insert(u"DISPLAY"_s, m_server->name());
    m_program->environment().insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
    QVERIFY(m_program->start());
}

void DisplaysTest::cleanup()
{
    m_program.reset();
    m_server.reset();
}

void DisplaysTest::coversTheSecondDisplay()
{
    QTRY_COMPARE(shown(), u"1920x1080+1440+0"_s);
    // Out of the window manager's hands: above panels, and on every virtual desktop.
    QVERIFY(m_server->windowInfo(title).contains(u"Override Redirect State: yes"_s));
    QCOMPARE(m_server->windowInfo(u"Tarrow — DUMMY0"_s), QString());
    QCOMPARE(enabledScreens().size(), 1);
}

void DisplaysTest::followsTheDisplay()
{
    QTRY_COMPARE(shown(), u"1920x1080+1440+0"_s);
    // Once with the desktop's size, and once within it.
    m_server->plug(second, u"small"_s, u"1440x100"_s);
    QTRY_COMPARE(shown(), u"1440x900+1440+100"_s);
    m_server->plug(second, u"small"_s, u"1440x50"_s);
    QTRY_COMPARE(shown(), u"1440x900+1440+50"_s);
    m_server->unplug(second);
    QTRY_COMPARE(shown(), QString());
    m_server->plug(second, u"large"_s, u"1440x0"_s);
    QTRY_COMPARE(shown(), u"1920x1080+1440+0"_s);

    m_server->unplug(second);
    m_server->unplug(u"DUMMY0"_s);
    QTRY_COMPARE(shown(), QString());
    m_program->send("GO 5");
    QVERIFY(m_program->waitForLog("command go"));
    m_server->plug(u"DUMMY0"_s, u"small"_s, u"0x0"_s);
    m_server->plug(second, u"large"_s, u"1440x0"_s);
    QTRY_COMPARE(shown(), u"1920x1080+1440+0"_s);
}

void DisplaysTest::knowsADisplayAgain()
{
    QTRY_COMPARE(shown(), u"1920x1080+1440+0"_s);
    const QJsonArray before = enabledScreens();
    m_program->process().terminate();
    QVERIFY(m_program->waitForEnd());
    QVERIFY(m_program->start());
    QTRY_COMPARE(shown(), u"1920x1080+1440+0"_s);
    QCOMPARE(enabledScreens(), before);
}

QTEST_GUILESS_MAIN(DisplaysTest)
#include "tst_Displays.moc"

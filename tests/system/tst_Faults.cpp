#include "helpers/RunningProgram.h"
#include "helpers/SessionBus.h"
#include "helpers/XServer.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QPoint>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTest>
#include <QUdpSocket>

#include <csignal>

#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace {

const QString settingsKey = u"TarrowSettings.v1"_s;
const QString cuesKey = u"TarrowCues.v1"_s;
const QByteArray cues =
    R"([{"id":"6f9619ff-8b86-d011-b42d-00c04fc964ff","seconds":90,"title":"Keynote"}])";

/// Distances from the top right corner of the display, in the console with its settings shown.
constexpr QPoint expandButton(-26, 255);
constexpr QPoint overtimeChip(-58, 491);
constexpr QPoint warningToggle(-311, 638);
constexpr QPoint webToggle(-311, 903);
constexpr int displayWidth = 1920;

/// Every write of the process fails from now on, or may succeed.
void setDiskIsFull(RunningProgram& program, bool isFull)
{
    const rlimit limits {isFull ? 0 : RLIM_INFINITY, RLIM_INFINITY};
    prlimit(static_cast<pid_t>(program.process().processId()), RLIMIT_FSIZE, &limits, nullptr);
}

/// The preferences give way to a folder, and come back.
void setIsUnreadable(RunningProgram& program, bool isUnreadable)
{
    const QString path = program.configFile();
    const QString aside = path + u".aside"_s;
    if (isUnreadable)
        QVERIFY(QFile::rename(path, aside) && QDir().mkpath(path + u"/folder"_s));
    else
        QVERIFY(QDir(path).removeRecursively() && QFile::rename(aside, path));
}

bool isStopped(pid_t process)
{
    QFile status(u"/proc/%1/stat"_s.arg(process));
    return status.open(QIODevice::ReadOnly) && status.readAll().contains(") T ");
}

using Fault = void (*)(RunningProgram&, bool);

} // namespace

/// Something breaks in the middle of a show, and the timer goes on.
class FaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void goesOnAfterASuspension();
    void storesLaterWhatItCouldNot_data();
    void storesLaterWhatItCouldNot();
    void outlivesTheSessionBus();
    void takesPortsThatAreFreeAgain();
    void losesNothingButTheTimeWhenKilled_data();
    void losesNothingButTheTimeWhenKilled();

private:
    static void setOnDisplay(RunningProgram& program, XServer& server);
    static void showSettings(const XServer& server);
    static void press(const XServer& server, QPoint place);
    [[nodiscard]] static QJsonObject state(RunningProgram& program)
    {
        return QJsonDocument::fromJson(program.webAnswer("/state")).object();
    }
};

void FaultsTest::press(const XServer& server, QPoint place)
{
    server.run(u"xdotool"_s,
        {u"mousemove"_s, QString::number(displayWidth + place.x()), QString::number(place.y()),
            u"click"_s, u"1"_s});
}

void FaultsTest::setOnDisplay(RunningProgram& program, XServer& server)
{
    server.plug(u"DUMMY0"_s, u"large"_s, u"0x0"_s);
    program.environment().insert(u"DISPLAY"_s, server.name());
    program.environment().insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
}

void FaultsTest::showSettings(const XServer& server)
{
    const auto isAt = [&](const QString& pattern) {
        return server.windowInfo(u"Tarrow"_s).contains(QRegularExpression(pattern));
    };
    QTRY_VERIFY(isAt(u"X: +1579\n"_s));
    press(server, expandButton);
    QTRY_VERIFY(isAt(u"Height: 1\\d\\d\\d\n"_s));
}

/// What comes meanwhile waits for it.
void FaultsTest::goesOnAfterASuspension()
{
    RunningProgram program;
    program.setStored(
        settingsKey, RunningProgram::settingsDocument({{u"webRemoteEnabled"_s, true}}));
    QVERIFY(program.start());
    program.send("GO 5");
    QVERIFY(program.waitForLog("command go"));
    const auto process = static_cast<pid_t>(program.process().processId());
    kill(process, SIGSTOP);
    QTRY_VERIFY(isStopped(process));
    for (const char* const command : {"MSG one", "MSG two", "PAUSE"})
        program.send(command);
    kill(process, SIGCONT);
    QVERIFY(program.waitForLog("command pause"));
    QCOMPARE(state(program)[u"message"], u"two"_s);
    QCOMPARE(state(program)[u"phase"], u"paused"_s);
}

void FaultsTest::storesLaterWhatItCouldNot_data()
{
    QTest::addColumn<Fault>("set");

    QTest::newRow("disk full") << Fault(setDiskIsFull);
    QTest::newRow("preferences unreadable") << Fault(setIsUnreadable);
}

void FaultsTest::storesLaterWhatItCouldNot()
{
    QFETCH(const Fault, set);

    XServer server;
    QVERIFY(server.isRunning());
    RunningProgram program;
    program.setStored(cuesKey, cues);
    program.process().setChildProcessModifier([] { std::signal(SIGXFSZ, SIG_IGN); });
    setOnDisplay(program, server);
    QVERIFY(program.start());
    showSettings(server);
    const auto storedValue = [&](const QString& key) {
        return QJsonDocument::fromJson(program.stored(settingsKey))[key];
    };

    set(program, true);
    press(server, overtimeChip);
    QVERIFY(program.waitForLog("Preferences: cannot write"));
    program.send("GO 5");
    QVERIFY(program.waitForLog("command go"));
    set(program, false);
    QCOMPARE(storedValue(u"allowCountUp"_s), false);

    press(server, warningToggle);
    QTRY_COMPARE(storedValue(u"useThresholdColors"_s), false);
    QCOMPARE(storedValue(u"allowCountUp"_s), true);
    QCOMPARE(program.stored(cuesKey), cues);
    QCOMPARE(program.log().count("Preferences: cannot write"), 1);
}

void FaultsTest::outlivesTheSessionBus()
{
    SessionBus bus(SessionBus::Services::screenSaver);
    RunningProgram program;
    program.environment().insert(u"DBUS_SESSION_BUS_ADDRESS"_s, QString::fromUtf8(bus.address()));
    QVERIFY(program.start());
    QTRY_COMPARE(bus.screenSaver().inhibitors.size(), 1);
    bus.kill();
    program.send("GO 5");
    QVERIFY(program.waitForLog("command go"));
    program.process().terminate();
    QVERIFY(program.waitForEnd());
    QCOMPARE(program.process().exitStatus(), QProcess::NormalExit);
}

/// The web remote at its switch, the datagrams at the next launch, and neither by itself.
void FaultsTest::takesPortsThatAreFreeAgain()
{
    QUdpSocket datagrams;
    QVERIFY(datagrams.bind(QHostAddress::Any));
    QTcpServer streams;
    QVERIFY(streams.listen(QHostAddress::Any));
    const quint16 udpPort = datagrams.localPort();
    XServer server;
    QVERIFY(server.isRunning());
    RunningProgram program;
    program.setStored(settingsKey,
        RunningProgram::settingsDocument({{u"udpPort"_s, udpPort}, {u"webRemoteEnabled"_s, true},
            {u"webPort"_s, streams.serverPort()}}));
    setOnDisplay(program, server);
    program.process().setProcessEnvironment(program.environment());
    program.process().start();
    QVERIFY(program.waitForLog("Web remote: cannot bind port"));
    showSettings(server);
    datagrams.close();
    streams.close();

    press(server, webToggle);
    QTRY_VERIFY(
        !QJsonDocument::fromJson(program.stored(settingsKey))[u"webRemoteEnabled"].toBool());
    QVERIFY(!program.log().contains("Web remote on port"));
    press(server, webToggle);
    QCOMPARE(state(program)[u"phase"], u"idle"_s);
    QVERIFY(datagrams.bind(QHostAddress::Any, udpPort));
    datagrams.close();

    program.process().terminate();
    QVERIFY(program.waitForEnd());
    QVERIFY(program.start());
    QCOMPARE(program.port(), udpPort);
}

void FaultsTest::losesNothingButTheTimeWhenKilled_data()
{
    QTest::addColumn<QByteArrayList>("commands");
    QTest::addColumn<QString>("phase");
    QTest::addColumn<QString>("timeBegins");

    QTest::newRow("idle") << QByteArrayList() << u"idle"_s << u"00:00"_s;
    QTest::newRow("running") << QByteArrayList {"CUE 1"} << u"running"_s << u"01:"_s;
    QTest::newRow("paused") << QByteArrayList {"GO 5", "PAUSE"} << u"paused"_s << u"0"_s;
    QTest::newRow("clock") << QByteArrayList {"TIME"} << u"clock"_s << QString();
    QTest::newRow("overtime") << QByteArrayList {"GO 0.01"} << u"running"_s << u"-00:"_s;
}

void FaultsTest::losesNothingButTheTimeWhenKilled()
{
    QFETCH(const QByteArrayList, commands);
    QFETCH(const QString, phase);
    QFETCH(const QString, timeBegins);

    const QByteArray settings = RunningProgram::settingsDocument(
        {{u"webRemoteEnabled"_s, true}, {u"allowCountUp"_s, true}, {u"ndiWidth"_s, 1280}});
    RunningProgram program;
    program.setStored(settingsKey, settings);
    program.setStored(cuesKey, cues);
    QVERIFY(program.start());
    for (const QByteArray& command : commands)
        program.send(command);
    QTRY_COMPARE(state(program)[u"phase"].toString(), phase);
    QTRY_VERIFY(state(program)[u"time"].toString().startsWith(timeBegins));
    program.process().kill();
    QVERIFY(program.waitForEnd());

    QVERIFY(program.start());
    QCOMPARE(state(program)[u"phase"], u"idle"_s);
    QCOMPARE(state(program)[u"time"], u"00:00"_s);
    QCOMPARE(program.webAnswer("/cues"),
        R"([{"index":1,"title":"Keynote","duration":"01:30","current":false}])");
    QCOMPARE(program.stored(settingsKey), settings);
    QCOMPARE(program.stored(cuesKey), cues);
}

QTEST_GUILESS_MAIN(FaultsTest)
#include "tst_Faults.moc"

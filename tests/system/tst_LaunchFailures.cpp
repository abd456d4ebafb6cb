#include "helpers/RunningProgram.h"
#include "helpers/XServer.h"

#include <QDir>
#include <QFile>
#include <QTcpServer>
#include <QTest>
#include <QUdpSocket>

#include <csignal>

#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace {

const QString settingsKey = u"TarrowSettings.v1"_s;

/// What a row breaks; it lives as long as the program.
struct Breakage {
    RunningProgram program;
    QUdpSocket datagrams;
    QTemporaryDir folder;

    void store(QJsonObject changes)
    {
        changes.insert(u"webRemoteEnabled"_s, true);
        program.setStored(settingsKey, RunningProgram::settingsDocument(changes));
    }
};

using Break = std::function<void(Breakage&)>;

} // namespace

/// One thing that the launch uses is broken, and the timer runs all the same.
class LaunchFailuresTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void runsTheTimer_data();
    void runsTheTimer();
    void runsTheTimerWithoutTheWebPort();
    void runsTheTimerWithoutADisplay();
    void startsWithoutReadablePreferences_data();
    void startsWithoutReadablePreferences();
};

void LaunchFailuresTest::runsTheTimer_data()
{
    QTest::addColumn<Break>("breakIt");
    QTest::addColumn<QByteArray>("told");

    const auto row = [](const char* name, const QByteArray& told, const Break& breakIt) {
        QTest::newRow(name) << breakIt << told;
    };
    row("datagram port taken", {}, [](Breakage& breakage) {
        QVERIFY(breakage.datagrams.bind(QHostAddress::Any));
        breakage.store({{u"udpPort"_s, breakage.datagrams.localPort()}});
    });
    row("no session bus", "Displays are not kept awake", [](Breakage& breakage) {
        breakage.program.environment().insert(
            u"DBUS_SESSION_BUS_ADDRESS"_s, u"unix:path=/nonexistent"_s);
    });
    row("no NDI runtime", "NDI", [](Breakage& breakage) {
        for (const QString& place : {u"NDI_RUNTIME_DIR_V6"_s, u"NDI_RUNTIME_DIR_V5"_s})
            breakage.program.environment().insert(place, breakage.folder.path());
        breakage.store({{u"ndiEnabled"_s, true}});
    });
    row("no deck", {},
        [](Breakage& breakage) { breakage.program.setStored(u"sd.enabled"_s, "true"); });
    // As on a disk that is full, or with a home that is not ours.
    row("nothing can be written", {}, [](Breakage& breakage) {
        breakage.program.process().setChildProcessModifier([] {
            const rlimit nothing {0, 0};
            signal(SIGXFSZ, SIG_IGN);
            setrlimit(RLIMIT_FSIZE, &nothing);
        });
    });
    row("garbled running order", {},
        [](Breakage& breakage) { breakage.program.setStored(u"TarrowCues.v1"_s, "{\"cues\":["); });
    row("no resources", "Info.json is not where the program's resources are",
        [](Breakage& breakage) {
            const QString copy = breakage.folder.filePath(u"tarrow"_s);
            QVERIFY(QFile::copy(breakage.program.process().program(), copy));
            breakage.program.process().setProgram(copy);
        });
}

void LaunchFailuresTest::runsTheTimer()
{
    QFETCH(Break, breakIt);
    QFETCH(QByteArray, told);

    Breakage breakage;
    breakage.store({});
    breakIt(breakage);
    RunningProgram& program = breakage.program;
    program.process().setProcessEnvironment(program.environment());
    program.process().start();
    QVERIFY2(program.webAnswer("/cmd?c=GO5").contains("true"), program.log().constData());
    const QByteArray state = program.webAnswer("/state");
    QVERIFY2(state.contains(R"("phase":"running")"), state.constData());
    QVERIFY2(program.log().contains(told), program.log().constData());
    program.process().terminate();
    QVERIFY(program.waitForEnd());
    QCOMPARE(program.process().exitStatus(), QProcess::NormalExit);
}

void LaunchFailuresTest::runsTheTimerWithoutTheWebPort()
{
    QTcpServer other;
    QVERIFY(other.listen(QHostAddress::Any));
    RunningProgram program;
    program.setStored(settingsKey,
        RunningProgram::settingsDocument(
            {{u"webRemoteEnabled"_s, true}, {u"webPort"_s, other.serverPort()}}));
    QVERIFY(program.start());
    QVERIFY(program.waitForLog("Web remote: cannot bind port"));
    program.send("GO 5");
    QVERIFY(program.waitForLog("command go"));
}

/// The server is there, but nothing is plugged in; and then something is.
void LaunchFailuresTest::runsTheTimerWithoutADisplay()
{
    XServer server;
    QVERIFY(server.isRunning());
    server.unplug(u"DUMMY0"_s);
    RunningProgram program;
    program.environment().insert(u"DISPLAY"_s, server.name());
    program.environment().insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
    QVERIFY2(program.start(), program.log().constData());
    program.send("GO 5");
    QVERIFY(program.waitForLog("command go"));
    server.plug(u"DUMMY0"_s, u"small"_s, u"0x0"_s);
    QTRY_VERIFY(server.windowInfo(u"Tarrow"_s).contains(u"IsViewable"_s));
    program.send("STOPTIME");
    QVERIFY(program.waitForLog("command stop"));
}

void LaunchFailuresTest::startsWithoutReadablePreferences_data()
{
    QTest::addColumn<bool>("isFolder");

    QTest::newRow("garbage") << false;
    QTest::newRow("folder in their place") << true;
}

/// The defaults hold then, with their ports, which may be taken on this machine: the log tells of
/// the listener in either case.
void LaunchFailuresTest::startsWithoutReadablePreferences()
{
    QFETCH(bool, isFolder);

    RunningProgram program;
    const QString path = program.configFile();
    QVERIFY(QFile::remove(path));
    if (isFolder) {
        QVERIFY(QDir().mkpath(path));
    } else {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(4096, '\xff'));
    }
    program.process().setProcessEnvironment(program.environment());
    program.process().start();
    QVERIFY2(program.waitForLog("port 6969"), program.log().constData());
    program.process().terminate();
    QVERIFY(program.waitForEnd());
    QCOMPARE(program.process().exitStatus(), QProcess::NormalExit);
}

QTEST_GUILESS_MAIN(LaunchFailuresTest)
#include "tst_LaunchFailures.moc"

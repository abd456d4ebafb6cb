#include "helpers/HTTPPeer.h"
#include "helpers/RunningProgram.h"
#include "helpers/XServer.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
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
    QTcpServer streams;
    QTemporaryDir folder;

    void store(QJsonObject changes)
    {
        changes.insert(u"webRemoteEnabled"_s, true);
        program.setStored(settingsKey, RunningProgram::settingsDocument(changes));
    }

    /// The answer to a request on the port that the log tells; empty while there is none.
    [[nodiscard]] QByteArray request(const QByteArray& path)
    {
        static const QRegularExpression listening(u"Web remote on port (\\d+)"_s);
        const auto match = listening.match(QString::fromUtf8(program.log()));
        HTTPPeer peer(match.captured(1).toUShort());
        peer.send("GET " + path + " HTTP/1.1\r\n\r\n");
        (void)QTest::qWaitFor([&] { return peer.receiveAll(); });
        return peer.received();
    }
};

using Break = std::function<void(Breakage&)>;

void takeTheDatagramPort(Breakage& breakage)
{
    QVERIFY(breakage.datagrams.bind(QHostAddress::Any));
    breakage.store({{u"udpPort"_s, breakage.datagrams.localPort()}});
}

void breakTheSessionBus(Breakage& breakage)
{
    breakage.program.environment().insert(
        u"DBUS_SESSION_BUS_ADDRESS"_s, u"unix:path=/nonexistent"_s);
}

void leaveOutTheRuntime(Breakage& breakage)
{
    breakage.program.environment().insert(u"NDI_RUNTIME_DIR_V6"_s, breakage.folder.path());
    breakage.program.environment().insert(u"NDI_RUNTIME_DIR_V5"_s, breakage.folder.path());
    breakage.store({{u"ndiEnabled"_s, true}});
}

/// As on a disk that is full, or with a home that is not ours.
void refuseEveryWrite(Breakage& breakage)
{
    breakage.program.process().setChildProcessModifier([] {
        const rlimit nothing {0, 0};
        signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &nothing);
    });
}

void garbleTheRunningOrder(Breakage& breakage)
{
    breakage.program.setStored(u"TarrowCues.v1"_s, "{\"cues\":[");
}

void loseTheResources(Breakage& breakage)
{
    const QString copy = breakage.folder.filePath(u"tarrow"_s);
    QVERIFY(QFile::copy(breakage.program.process().program(), copy));
    breakage.program.process().setProgram(copy);
}

void enableTheMissingDeck(Breakage& breakage)
{
    breakage.program.setStored(u"sd.enabled"_s, "true");
}

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

    QTest::newRow("datagram port taken") << Break(takeTheDatagramPort) << QByteArray();
    QTest::newRow("no session bus")
        << Break(breakTheSessionBus) << QByteArray("Displays are not kept awake");
    QTest::newRow("no NDI runtime") << Break(leaveOutTheRuntime) << QByteArray("NDI");
    QTest::newRow("no deck") << Break(enableTheMissingDeck) << QByteArray();
    QTest::newRow("nothing can be written") << Break(refuseEveryWrite) << QByteArray();
    QTest::newRow("garbled running order") << Break(garbleTheRunningOrder) << QByteArray();
    QTest::newRow("no resources") << Break(
        loseTheResources) << QByteArray("Info.json is not where the program's resources are");
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
    QVERIFY2(program.waitForLog("Web remote on port"), program.log().constData());
    (void)breakage.request("/cmd?c=GO5");
    QVERIFY2(program.waitForLog("command go"), program.log().constData());
    const QByteArray state = breakage.request("/state");
    QVERIFY2(state.contains(R"("phase":"running")"), state.constData());
    QVERIFY2(program.log().contains(told), program.log().constData());
    program.process().terminate();
    QVERIFY(program.waitForEnd());
    QCOMPARE(program.process().exitStatus(), QProcess::NormalExit);
}

void LaunchFailuresTest::runsTheTimerWithoutTheWebPort()
{
    Breakage breakage;
    QVERIFY(breakage.streams.listen(QHostAddress::Any));
    breakage.store({{u"webPort"_s, breakage.streams.serverPort()}});
    RunningProgram& program = breakage.program;
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

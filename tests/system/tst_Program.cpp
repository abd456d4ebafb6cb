#include "helpers/RunningProgram.h"
#include "helpers/SessionBus.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLocalServer>
#include <QScopeGuard>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString settingsKey = u"TarrowSettings.v1"_s;
const QString cuesKey = u"TarrowCues.v1"_s;

QByteArray runningOrder(const QList<int>& seconds)
{
    QJsonArray cues;
    for (const int duration : seconds) {
        cues.append(QJsonObject {
            {u"id"_s, u"6F9619FF-8B86-D011-B42D-00C04FC964F%1"_s.arg(cues.size())},
            {u"title"_s, u"Cue"_s},
            {u"seconds"_s, duration},
        });
    }
    return QJsonDocument(cues).toJson(QJsonDocument::Compact);
}

} // namespace

/// The program as a user meets it: started as a process, driven by datagrams, ended by signals.
class ProgramTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void obeysDatagrams();
    void followGoesOnToTheNextCue();
    void playsTheFinishSound();
    void goesOnWhileTheSoundServerHangs();
    void stopsOnACommandThatIsFatal_data();
    void stopsOnACommandThatIsFatal();
    void endsOnSignals_data();
    void endsOnSignals();
    void holdsThePortWithinItsRange_data();
    void holdsThePortWithinItsRange();
    void keepsTheDisplaysAwakeUntilItEnds();
    void asksTheFeedOfItsPackage();
    void outlivesTheReaderOfItsLog();
    void startsWithItsStreamsClosed();
};

void ProgramTest::obeysDatagrams()
{
    RunningProgram program;
    QVERIFY(program.start());
    QVERIFY(program.waitForLog("No display: running on Qt's offscreen platform, UDP port "
        + QByteArray::number(program.port())));
    for (const char* datagram : {"GO 5", "STOP", "\xff", "", "msg Doors \"open\"", "pause\r\n"})
        program.send(datagram);
    QVERIFY(program.waitForLog("command pause"));

    QList<QByteArray> commands;
    for (const QByteArray& line : program.log().split('\n')) {
        if (const auto start = line.indexOf("command "); start >= 0)
            commands.append(line.mid(start));
    }
    QCOMPARE(commands,
        (QList<QByteArray> {
            "command go(minutes: 5.0)", R"(command message("Doors \"open\""))", "command pause"}));
}

void ProgramTest::followGoesOnToTheNextCue()
{
    RunningProgram program;
    program.setStored(settingsKey,
        RunningProgram::settingsDocument({{u"cueFollow"_s, true}, {u"playFinishSound"_s, true}}));
    program.setStored(cuesKey, runningOrder({60, 0, 1, 1}));
    QVERIFY(program.start());

    // The second cue counts up and never ends; the third and fourth last a second each. Where
    // there is no sound, each finish costs a line.
    program.send("CUE 2");
    program.send("CUE 3");
    QVERIFY(program.waitForLog("Tarrow: failed to play finalBuzzer.wav: "));
    QTRY_COMPARE_WITH_TIMEOUT(program.log().count("Tarrow: failed to play"), 2, 10'000);
}

void ProgramTest::playsTheFinishSound()
{
    const QTemporaryDir folder;
    const QString address = u"unix:"_s + folder.filePath(u"sound-server"_s);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString& name : {u"HOME"_s, u"XDG_RUNTIME_DIR"_s, u"XDG_CONFIG_HOME"_s})
        environment.insert(name, folder.path());
    environment.insert(u"PULSE_SERVER"_s, address);

    QProcess server;
    server.setProcessEnvironment(environment);
    server.start(u"pulseaudio"_s,
        {u"-n"_s, u"--daemonize=no"_s, u"--exit-idle-time=-1"_s, u"-L"_s,
            u"module-null-sink sink_name=silence"_s, u"-L"_s,
            u"module-native-protocol-unix auth-anonymous=1 socket="_s
                + folder.filePath(u"sound-server"_s)});
    const auto endServer = qScopeGuard([&] {
        server.kill();
        server.waitForFinished();
    });
    QTRY_VERIFY(QFileInfo::exists(folder.filePath(u"sound-server"_s)));
    QProcess recorder;
    recorder.setProcessEnvironment(environment);
    recorder.start(u"parec"_s, {u"-d"_s, u"silence.monitor"_s, u"--latency-msec=50"_s});
    const auto endRecorder = qScopeGuard([&] {
        recorder.kill();
        recorder.waitForFinished();
    });
    QTRY_VERIFY2(recorder.bytesAvailable() > 0,
        (recorder.readAllStandardError() + server.readAllStandardError()).constData());

    RunningProgram program;
    program.environment().insert(u"PULSE_SERVER"_s, address);
    program.setStored(
        settingsKey, RunningProgram::settingsDocument({{u"playFinishSound"_s, true}}));
    QVERIFY(program.start());
    program.send("GO 0.01");
    QByteArray sound;
    QTRY_VERIFY_WITH_TIMEOUT((sound += recorder.readAll()).count('\0') < sound.size(), 20'000);
    program.process().terminate();
    QVERIFY(program.waitForEnd());
    QCOMPARE(program.process().exitStatus(), QProcess::NormalExit);
    QVERIFY(!program.log().contains("failed to play"));
}

void ProgramTest::goesOnWhileTheSoundServerHangs()
{
    const QTemporaryDir folder;
    QLocalServer silent;
    QVERIFY(silent.listen(folder.filePath(u"pulse"_s)));
    RunningProgram program;
    program.environment().insert(u"PULSE_SERVER"_s, u"unix:"_s + silent.fullServerName());
    program.setStored(
        settingsKey, RunningProgram::settingsDocument({{u"playFinishSound"_s, true}}));
    QVERIFY(program.start());

    program.send("GO 0.01");
    QVERIFY(silent.waitForNewConnection(10'000));
    program.send("STOPTIME");
    QVERIFY(program.waitForLog("command stop"));
    program.process().terminate();
    QVERIFY(program.waitForEnd());
    QCOMPARE(program.process().exitStatus(), QProcess::NormalExit);
}

void ProgramTest::stopsOnACommandThatIsFatal_data()
{
    QTest::addColumn<QByteArray>("datagram");
    QTest::addColumn<QByteArray>("named");

    QTest::newRow("infinite") << QByteArray("SET inf") << QByteArray("inf");
    QTest::newRow("no number") << QByteArray("go nan") << QByteArray("nan");
    QTest::newRow("index") << QByteArray("CUE -9223372036854775808")
                           << QByteArray("-9223372036854775808 - 1");
}

void ProgramTest::stopsOnACommandThatIsFatal()
{
    QFETCH(QByteArray, datagram);
    QFETCH(QByteArray, named);

    RunningProgram program;
    const QByteArray settings =
        RunningProgram::settingsDocument({{u"amberThresholdSeconds"_s, 120}});
    program.setStored(settingsKey, settings);
    program.setStored(cuesKey, runningOrder({60, 90}));
    QVERIFY(program.start());
    program.send(datagram);
    QVERIFY(program.waitForEnd());
    QCOMPARE(program.process().exitStatus(), QProcess::CrashExit);
    QCOMPARE(program.log().count("fatal: "), 1);
    QVERIFY2(program.log().contains(" is " + named + ","), program.log().constData());

    QVERIFY(program.start());
    program.send("CUE 2");
    QVERIFY(program.waitForLog("command cue(2)"));
    QCOMPARE(program.stored(settingsKey), settings);
    QCOMPARE(program.stored(cuesKey), runningOrder({60, 90}));
}

void ProgramTest::endsOnSignals_data()
{
    QTest::addColumn<int>("signal");

    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void ProgramTest::endsOnSignals()
{
    QFETCH(int, signal);

    RunningProgram program;
    QVERIFY(program.start());
    program.send("GO 5");
    QVERIFY(program.waitForLog("command go"));
    kill(static_cast<pid_t>(program.process().processId()), signal);
    QVERIFY(program.waitForEnd());
    QCOMPARE(program.process().exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.process().exitCode(), 0);
}

void ProgramTest::holdsThePortWithinItsRange_data()
{
    QTest::addColumn<qint64>("stored");
    QTest::addColumn<std::optional<int>>("bound");

    QTest::newRow("above") << qint64(70000) << std::optional(65535);
    // 0, and with it any free port.
    QTest::newRow("below") << qint64(-1) << std::optional<int>();
}

void ProgramTest::holdsThePortWithinItsRange()
{
    QFETCH(qint64, stored);
    QFETCH(std::optional<int>, bound);

    RunningProgram program;
    program.setStored(settingsKey, RunningProgram::settingsDocument({{u"udpPort"_s, stored}}));
    QVERIFY(program.start());
    if (bound)
        QCOMPARE(program.port(), *bound);
    program.send("STOPTIME");
    QVERIFY(program.waitForLog("command stop"));
}

void ProgramTest::keepsTheDisplaysAwakeUntilItEnds()
{
    SessionBus bus(SessionBus::Services::screenSaver);
    RunningProgram program;
    program.environment().insert(u"DBUS_SESSION_BUS_ADDRESS"_s, QString::fromUtf8(bus.address()));
    QVERIFY(program.start());
    const QStringList inhibitors {u"Tarrow: Tarrow stage timer is running"_s};
    QTRY_COMPARE(bus.screenSaver().inhibitors, inhibitors);
    // The identifier is known to the program as soon as it does what was sent after it.
    program.send("STOPTIME");
    QVERIFY(program.waitForLog("command stop"));
    QCOMPARE(bus.screenSaver().released, QList<uint>());

    program.process().terminate();
    QVERIFY(program.waitForEnd());
    QTRY_COMPARE(bus.screenSaver().released, QList<uint> {FakeScreenSaver::cookie});
}

void ProgramTest::asksTheFeedOfItsPackage()
{
    const QTemporaryDir folder;
    QTcpServer feed;
    QVERIFY(feed.listen(QHostAddress::LocalHost));
    RunningProgram program;
    const QString copy = folder.filePath(u"tarrow"_s);
    QVERIFY(QFile::copy(program.process().program(), copy));
    QVERIFY(QDir(folder.path()).mkpath(u"share/tarrow"_s));
    QFile information(folder.filePath(u"share/tarrow/Info.json"_s));
    QVERIFY(information.open(QIODevice::WriteOnly));
    information.write(R"({"TRUpdateFeedURL":"http://127.0.0.1:)"
        + QByteArray::number(feed.serverPort()) + R"(/feed"})");
    information.close();
    program.process().setProgram(copy);
    QVERIFY(program.start());
    QVERIFY(feed.waitForNewConnection(10'000));
    QTcpSocket* request = feed.nextPendingConnection();
    QVERIFY(request->waitForReadyRead(10'000));
    QVERIFY(request->readAll().startsWith("GET /feed HTTP/1.1"));
}

void ProgramTest::outlivesTheReaderOfItsLog()
{
    RunningProgram program;
    QVERIFY(program.start());
    program.process().closeReadChannel(QProcess::StandardError);
    for (int i = 0; i < 100; ++i)
        program.send("GO 5");
    program.process().terminate();
    QVERIFY(program.waitForEnd());
    QCOMPARE(program.process().exitStatus(), QProcess::NormalExit);
}

/// The listener must not get the number of a closed stream: what is written there would go out to
/// the network, or come in as a command.
void ProgramTest::startsWithItsStreamsClosed()
{
    RunningProgram program;
    program.process().setChildProcessModifier([] {
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
    });
    QVERIFY(program.start());
    const QString streams = u"/proc/%1/fd/%2"_s.arg(program.process().processId());
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO})
        QCOMPARE(QFile::symLinkTarget(streams.arg(stream)), u"/dev/null"_s);
}

QTEST_GUILESS_MAIN(ProgramTest)
#include "tst_Program.moc"

#include "helpers/RunningProgram.h"

#include <QLocalServer>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString settingsKey = u"TarrowSettings.v1"_s;
const QString cuesKey = u"TarrowCues.v1"_s;

const QByteArray runningOrder =
    R"([{"id":"6F9619FF-8B86-D011-B42D-00C04FC964F0","title":"Cue","seconds":60}])";

} // namespace

/// The program as a user meets it: started as a process, driven by datagrams, ended by signals.
class ProgramTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void obeysDatagrams();
    void goesOnWhileTheSoundServerHangs();
    void stopsOnACommandThatIsFatal_data();
    void stopsOnACommandThatIsFatal();
    void endsOnSignals_data();
    void endsOnSignals();
    void holdsThePortWithinItsRange_data();
    void holdsThePortWithinItsRange();
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
    program.setStored(cuesKey, runningOrder);
    QVERIFY(program.start());
    program.send(datagram);
    QVERIFY(program.waitForEnd());
    QCOMPARE(program.process().exitStatus(), QProcess::CrashExit);
    QCOMPARE(program.log().count("fatal: "), 1);
    QVERIFY2(program.log().contains(" is " + named + ","), program.log().constData());

    QVERIFY(program.start());
    program.send("CUE 1");
    QVERIFY(program.waitForLog("command cue(1)"));
    QCOMPARE(program.stored(settingsKey), settings);
    QCOMPARE(program.stored(cuesKey), runningOrder);
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

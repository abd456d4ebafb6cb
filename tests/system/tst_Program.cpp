#include "helpers/HTTPPeer.h"
#include "helpers/RunningProgram.h"

#include <QLocalServer>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

/// The program as a user meets it: started as a process, driven by datagrams, ended by signals.
class ProgramTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void goesOnWhileTheSoundServerHangs()
    {
        const QTemporaryDir folder;
        QLocalServer silent;
        QVERIFY(silent.listen(folder.filePath(u"pulse"_s)));
        RunningProgram program;
        program.environment().insert(u"PULSE_SERVER"_s, u"unix:"_s + silent.fullServerName());
        program.setSettings({{u"playFinishSound"_s, true}});
        QVERIFY(program.start());

        program.send("GO 0.01");
        QVERIFY(silent.waitForNewConnection(10'000));
        QVERIFY(program.carriesOut("STOPTIME"));
        QVERIFY(program.quits());
    }

    void stopsOnWhatIsFatal()
    {
        RunningProgram program;
        program.setSettings({{u"webRemoteEnabled"_s, true}});
        QVERIFY(program.start());
        program.send("SET inf");
        QVERIFY(program.waitForEnd());
        QCOMPARE(program.process().exitStatus(), QProcess::CrashExit);
        QCOMPARE(program.log().count("fatal: "), 1);

        QVERIFY(program.start());
        HTTPPeer(program.webPort()).get("/x?c=1&==");
        QVERIFY(program.waitForEnd());
        QCOMPARE(program.process().exitStatus(), QProcess::CrashExit);
        QCOMPARE(program.log().count("fatal: "), 1);
    }

    void endsOnSignals()
    {
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            RunningProgram program;
            QVERIFY(program.start());
            QVERIFY(program.carriesOut("GO 5"));
            kill(static_cast<pid_t>(program.process().processId()), signal);
            QVERIFY2(program.endsWell(), qPrintable(QString::number(signal)));
        }
    }

    void holdsItsPortsWithinTheirRange()
    {
        RunningProgram program;
        program.setSettings(
            {{u"webRemoteEnabled"_s, true}, {u"webPort"_s, 70'000}, {u"udpPort"_s, 70'000}});
        QVERIFY(program.start());
        QCOMPARE(program.port(), 65535);
        QCOMPARE(program.webPort(), 65535);
        QVERIFY(program.carriesOut("STOPTIME"));
        QVERIFY(program.quits());
        // 0, and with it any free port.
        program.setSettings({{u"udpPort"_s, -1}});
        QVERIFY(program.start());
    }

    void outlivesTheReaderOfItsLog()
    {
        RunningProgram program;
        program.setSettings({{u"webRemoteEnabled"_s, true}, {u"webPort"_s, 65535}});
        program.process().setChildProcessModifier([] {
            std::array<int, 2> ends {};
            (void)!pipe2(ends.data(), O_CLOEXEC);
            dup2(ends[1], STDERR_FILENO);
        });
        program.launch();
        QTRY_VERIFY(HTTPPeer(65535).isConnected());
        QVERIFY(program.quits());
    }

    /// The listener must not get the number of a closed stream: what is written there would go out
    /// to the network, or come in as a command.
    void startsWithItsStreamsClosed()
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
};

QTEST_GUILESS_MAIN(ProgramTest)
#include "tst_Program.moc"

#include "Platform/ProcessSetup.h"

#include "helpers/HTTPPeer.h"
#include "helpers/RunningProgram.h"
#include "helpers/SessionBus.h"
#include "helpers/XServer.h"

#include <QDir>
#include <QFile>
#include <QTcpServer>
#include <QTest>
#include <QUdpSocket>

#include <algorithm>
#include <csignal>
#include <memory>
#include <vector>

#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace {

const QByteArray cues =
    R"([{"id":"6f9619ff-8b86-d011-b42d-00c04fc964ff","seconds":90,"title":"Keynote"}])";

/// Distances from the top right corner of the display, in the console with its settings shown.
constexpr QPoint expandButton(-26, 255);
constexpr QPoint overtimeChip(-58, 491);
constexpr QPoint warningToggle(-311, 638);
constexpr QPoint webToggle(-311, 903);
constexpr int displayWidth = 1920;

void press(const XServer& server, QPoint place)
{
    server.run(u"xdotool mousemove %1 %2 click 1"_s.arg(displayWidth + place.x()).arg(place.y()));
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

/// No file may become larger than `room`: as on a disk that is full.
template <rlim_t room> void setIsFull(RunningProgram& program, bool isFull)
{
    const rlimit limit {isFull ? room : RLIM_INFINITY, RLIM_INFINITY};
    const auto process = static_cast<pid_t>(program.process().processId());
    QCOMPARE(prlimit(process, RLIMIT_FSIZE, &limit, nullptr), 0);
}

bool isStopped(pid_t process)
{
    QFile status(u"/proc/%1/stat"_s.arg(process));
    return status.open(QIODevice::ReadOnly) && status.readAll().contains(") T ");
}

qsizetype openDescriptors(RunningProgram& program)
{
    const QDir folder(u"/proc/%1/fd"_s.arg(program.process().processId()));
    return folder.entryList(QDir::Files | QDir::System).size();
}

void startWithSettingsShown(RunningProgram& program, XServer& server)
{
    QVERIFY(server.isRunning());
    server.plug(u"DUMMY0"_s, u"large"_s, u"0x0"_s);
    program.setShownOn(server);
    program.launch();
    // Within a frame of one pixel.
    QTRY_COMPARE(server.windowPlace(u"Tarrow"_s).right(), displayWidth - 2);
    press(server, expandButton);
    QTRY_VERIFY(server.windowPlace(u"Tarrow"_s).height() > 1000);
}

using Break = std::function<void(RunningProgram&)>;
using Switch = std::function<void(RunningProgram&, bool)>;

} // namespace

/// Something is broken at the launch, or breaks in the middle of a show, and the timer goes on.
class FaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { prepareProcess(); }

    void runsTheTimer_data()
    {
        QTest::addColumn<Break>("breakIt");
        QTest::addColumn<QByteArray>("told");

        const auto row = [](const char* name, const QByteArray& told, const Break& breakIt) {
            QTest::newRow(name) << breakIt << told;
        };
        row("no session bus", "Displays are not kept awake", [](RunningProgram& program) {
            program.environment().insert(
                u"DBUS_SESSION_BUS_ADDRESS"_s, u"unix:path=/nonexistent"_s);
        });
        row("no NDI runtime", "NDI runtime not found", [](RunningProgram& program) {
            for (const QString& place : {u"NDI_RUNTIME_DIR_V6"_s, u"NDI_RUNTIME_DIR_V5"_s})
                program.environment().insert(place, u"/nonexistent"_s);
            program.setSettings({{u"webRemoteEnabled"_s, true}, {u"ndiEnabled"_s, true}});
        });
        // As on a disk that is full, or with a home that is not ours. The choice of the second
        // display is to be stored.
        row("nothing can be written", "Preferences: cannot write", [](RunningProgram& program) {
            QFile displays(program.configFile() + u".displays"_s);
            QVERIFY(displays.open(QIODevice::WriteOnly));
            displays.write(R"({"screens":[{"name":"1","width":800,"height":600,"dpr":1},)"
                           R"({"name":"2","x":800,"width":800,"height":600,"dpr":1}]})");
            program.environment().insert(
                u"QT_QPA_PLATFORM"_s, u"offscreen:configfile="_s + displays.fileName());
            program.process().setChildProcessModifier([] {
                const rlimit nothing {0, 0};
                signal(SIGXFSZ, SIG_IGN);
                setrlimit(RLIMIT_FSIZE, &nothing);
            });
        });
        row("no resources", "Info.json is not where the program's resources are",
            [](RunningProgram& program) {
                const QString copy = program.configFile() + u".program"_s;
                QVERIFY(QFile::copy(program.process().program(), copy));
                program.process().setProgram(copy);
            });
    }

    void runsTheTimer()
    {
        QFETCH(Break, breakIt);
        QFETCH(QByteArray, told);

        RunningProgram program;
        program.setSettings({{u"webRemoteEnabled"_s, true}});
        breakIt(program);
        program.launch();
        QVERIFY2(program.webAnswer("/cmd?c=GO5").contains("true"), program.log().constData());
        QCOMPARE(program.state()[u"phase"], u"running"_s);
        QVERIFY2(program.waitForLog(told), program.log().constData());
        QVERIFY(program.quits());
    }

    /// The server is there, but nothing is plugged in; and then something is.
    void runsTheTimerWithoutADisplay()
    {
        XServer server;
        QVERIFY(server.isRunning());
        server.unplug(u"DUMMY0"_s);
        RunningProgram program;
        program.setShownOn(server);
        QVERIFY2(program.start(), program.log().constData());
        QVERIFY(program.carriesOut("GO 5"));
        server.plug(u"DUMMY0"_s, u"small"_s, u"0x0"_s);
        QTRY_VERIFY(!server.windowPlace(u"Tarrow"_s).isNull());
        QVERIFY(program.carriesOut("STOPTIME"));
    }

    /// The defaults hold then, with their ports, which may be taken on this machine: the log tells
    /// of the listener in either case.
    void startsWithoutReadablePreferences()
    {
        for (const bool isFolder : {false, true}) {
            RunningProgram program;
            QFile file(program.configFile());
            if (isFolder) {
                QVERIFY(file.remove() && QDir().mkpath(file.fileName()));
            } else {
                QVERIFY(file.open(QIODevice::WriteOnly));
                file.write(QByteArray(4096, '\xff'));
                file.close();
            }
            program.launch();
            QVERIFY2(program.waitForLog("port 6969"), program.log().constData());
            QVERIFY(program.quits());
        }
    }

    /// What comes meanwhile waits for it.
    void goesOnAfterASuspension()
    {
        RunningProgram program;
        program.setSettings({{u"webRemoteEnabled"_s, true}});
        QVERIFY(program.start());
        QVERIFY(program.carriesOut("GO 5"));
        const auto process = static_cast<pid_t>(program.process().processId());
        kill(process, SIGSTOP);
        QTRY_VERIFY(isStopped(process));
        for (const char* const command : {"MSG one", "MSG two", "PAUSE"})
            program.send(command);
        kill(process, SIGCONT);
        QVERIFY(program.waitForLog("command pause"));
        QCOMPARE(program.state()[u"message"], u"two"_s);
        QCOMPARE(program.state()[u"phase"], u"paused"_s);
    }

    void storesLaterWhatItCouldNot_data()
    {
        QTest::addColumn<Switch>("setIsBroken");
        QTest::newRow("unreadable") << Switch(setIsUnreadable);
        QTest::newRow("full disk") << Switch(setIsFull<0>);
        QTest::newRow("room for the lock, and half of the file") << Switch(setIsFull<512>);
    }

    void storesLaterWhatItCouldNot()
    {
        QFETCH(const Switch, setIsBroken);
        XServer server;
        RunningProgram program;
        // A full disk sends no signal.
        program.process().setChildProcessModifier([] { signal(SIGXFSZ, SIG_IGN); });
        program.setStored(RunningProgram::cuesKey, cues);
        program.setSettings({{u"webRemoteEnabled"_s, true}});
        startWithSettingsShown(program, server);

        setIsBroken(program, true);
        press(server, overtimeChip);
        QVERIFY(program.waitForLog("Preferences: cannot write"));
        QVERIFY(program.webAnswer("/cmd?c=GO5").contains("true"));
        setIsBroken(program, false);
        QCOMPARE(program.storedSettings()[u"allowCountUp"], false);

        press(server, warningToggle);
        QTRY_COMPARE(program.storedSettings()[u"useThresholdColors"], false);
        QCOMPARE(program.storedSettings()[u"allowCountUp"], true);
        QCOMPARE(program.stored(RunningProgram::cuesKey), cues);
        QCOMPARE(program.log().count("Preferences: cannot write"), 1);
    }

    void outlivesTheSessionBus()
    {
        SessionBus bus(SessionBus::Services::screenSaver);
        RunningProgram program;
        program.environment().insert(
            u"DBUS_SESSION_BUS_ADDRESS"_s, QString::fromUtf8(bus.address()));
        QVERIFY(program.start());
        QTRY_COMPARE(bus.screenSaver().inhibitors.size(), 1);
        bus.kill();
        QVERIFY(program.carriesOut("GO 5"));
        QVERIFY(program.quits());
    }

    /// Those who connect and never finish cost the others nothing, and are gone when they go.
    void outlivesACrowd_data()
    {
        QTest::addColumn<int>("descriptors");
        QTest::newRow("descriptors for all") << 20'000;
        QTest::newRow("descriptors for some") << 256;
    }

    void outlivesACrowd()
    {
        QFETCH(const int, descriptors);
        RunningProgram program;
        program.setSettings({{u"webRemoteEnabled"_s, true}});
        program.process().setChildProcessModifier([descriptors] {
            const auto limit = static_cast<rlim_t>(descriptors);
            const rlimit limits {limit, limit};
            setrlimit(RLIMIT_NOFILE, &limits);
        });
        QVERIFY(program.start());
        QVERIFY(program.carriesOut("STOPTIME"));
        const qsizetype before = openDescriptors(program);

        std::vector<std::unique_ptr<HTTPPeer>> crowd;
        for (int i = 0; i < 2000; ++i) {
            crowd.push_back(std::make_unique<HTTPPeer>(program.webPort()));
            QVERIFY(crowd.back()->isConnected());
            crowd.back()->send("GET /state HTTP/1.1\r\nHost: ");
        }
        // The rest of the program keeps 128.
        const qsizetype taken = std::min(descriptors - 128, 2000);
        QTRY_COMPARE(openDescriptors(program), before + taken);
        QVERIFY(program.carriesOut("GO 5"));
        QCOMPARE(openDescriptors(program), before + taken);
        if (taken == 2000)
            QCOMPARE(program.state()[u"phase"], u"running"_s);
        crowd.clear();
        QTRY_COMPARE_WITH_TIMEOUT(program.state()[u"phase"], u"running"_s, 20'000);
        QTRY_COMPARE(openDescriptors(program), before);
    }

    /// The web remote at its switch, the datagrams at the next launch, and neither by itself.
    void takesPortsThatAreFreeAgain()
    {
        QUdpSocket datagrams;
        QVERIFY(datagrams.bind(QHostAddress::Any));
        QTcpServer streams;
        QVERIFY(streams.listen(QHostAddress::Any));
        const quint16 udpPort = datagrams.localPort();
        XServer server;
        RunningProgram program;
        program.setSettings({{u"udpPort"_s, udpPort}, {u"webRemoteEnabled"_s, true},
            {u"webPort"_s, streams.serverPort()}});
        startWithSettingsShown(program, server);
        QVERIFY(program.waitForLog("Web remote: cannot bind port"));
        datagrams.close();
        streams.close();

        press(server, webToggle);
        QTRY_COMPARE(program.storedSettings()[u"webRemoteEnabled"], false);
        QVERIFY(!program.log().contains("Web remote on port"));
        press(server, webToggle);
        QVERIFY(program.webAnswer("/cmd?c=GO5").contains("true"));
        QCOMPARE(program.state()[u"phase"], u"running"_s);
        QVERIFY(datagrams.bind(QHostAddress::Any, udpPort));
        datagrams.close();

        QVERIFY(program.quits());
        QVERIFY(program.start());
        QCOMPARE(program.port(), udpPort);
    }

    void losesNothingButTheTimeWhenKilled_data()
    {
        QTest::addColumn<QByteArrayList>("commands");
        QTest::addColumn<QString>("phase");
        QTest::addColumn<QString>("time");

        QTest::newRow("idle") << QByteArrayList() << u"idle"_s << u"00:00"_s;
        QTest::newRow("running") << QByteArrayList {"CUE 1"} << u"running"_s << u"01:2"_s;
        QTest::newRow("paused") << QByteArrayList {"CUE 1", "PAUSE"} << u"paused"_s << u"01:"_s;
        QTest::newRow("clock") << QByteArrayList {"TIME"} << u"clock"_s << u""_s;
        QTest::newRow("overtime") << QByteArrayList {"GO 0.01"} << u"running"_s << u"-00:"_s;
    }

    void losesNothingButTheTimeWhenKilled()
    {
        QFETCH(const QByteArrayList, commands);
        QFETCH(const QString, phase);
        QFETCH(const QString, time);
        RunningProgram program;
        program.setSettings(
            {{u"webRemoteEnabled"_s, true}, {u"allowCountUp"_s, true}, {u"ndiWidth"_s, 1280}});
        const QByteArray settings = program.stored(RunningProgram::settingsKey);
        program.setStored(RunningProgram::cuesKey, cues);
        QVERIFY(program.start());
        for (const QByteArray& command : commands)
            program.send(command);
        QTRY_COMPARE(program.state()[u"phase"], phase);
        QTRY_VERIFY(program.state()[u"time"].toString().startsWith(time));
        program.process().kill();
        QVERIFY(program.waitForEnd());

        QVERIFY(program.start());
        QCOMPARE(program.state()[u"phase"], u"idle"_s);
        QCOMPARE(program.state()[u"time"], u"00:00"_s);
        QCOMPARE(program.webAnswer("/cues"),
            R"([{"index":1,"title":"Keynote","duration":"01:30","current":false}])");
        QCOMPARE(program.stored(RunningProgram::settingsKey), settings);
        QCOMPARE(program.stored(RunningProgram::cuesKey), cues);
    }
};

QTEST_GUILESS_MAIN(FaultsTest)
#include "tst_Faults.moc"

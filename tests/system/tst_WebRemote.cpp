#include "Platform/ProcessSetup.h"
#include "helpers/HTTPPeer.h"
#include "helpers/RunningProgram.h"

#include <QDir>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <memory>
#include <vector>

#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace {

/// The program with its web remote on.
class RemoteProgram : public RunningProgram {
public:
    explicit RemoteProgram(qint64 webPort = 0)
    {
        setStored(u"TarrowSettings.v1"_s,
            settingsDocument({{u"webRemoteEnabled"_s, true}, {u"webPort"_s, webPort}}));
    }

    [[nodiscard]] bool startRemote()
    {
        static const QRegularExpression running(u"Web remote on port (\\d+)\n"_s);
        if (!start() || !waitForLog("Web remote on port"))
            return false;
        m_webPort = running.match(QString::fromUtf8(log())).captured(1).toUShort();
        return m_webPort != 0;
    }

    [[nodiscard]] quint16 webPort() const { return m_webPort; }

    /// The body of the answer to a GET.
    [[nodiscard]] QByteArray get(const QByteArray& target) const
    {
        HTTPPeer peer(m_webPort);
        peer.send("GET " + target + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
        if (!QTest::qWaitFor([&] { return peer.receiveAll(); }))
            return "no answer";
        return peer.received().mid(peer.received().indexOf("\r\n\r\n") + 4);
    }

    [[nodiscard]] qsizetype openDescriptors()
    {
        return QDir(u"/proc/%1/fd"_s.arg(process().processId()))
            .entryList(QDir::Files | QDir::System)
            .size();
    }

private:
    quint16 m_webPort = 0;
};

} // namespace

/// The program as phones and browsers meet it.
class WebRemoteTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { prepareProcess(); }

    void drivesTheTimer()
    {
        RemoteProgram program;
        QVERIFY(program.startRemote());
        for (const char* command : {"GO%205", "nonsense", "%2B1", "PAUSE"})
            QCOMPARE(program.get(QByteArray("/cmd?c=") + command), R"({"ok":true})");
        QVERIFY(program.waitForLog("command pause"));
        QCOMPARE(program.log().count("command "), 3);
        const QByteArray state = program.get("/state");
        QVERIFY2(state.startsWith(R"({"time":"06:00","threshold":"normal","phase":"paused",)")
                || state.startsWith(R"({"time":"05:59","threshold":"normal","phase":"paused",)"),
            state.constData());
        QCOMPARE(program.get("/cues"), "[]");
        QVERIFY(program.get("/").contains("</html>"));
    }

    void holdsThePortWithinItsRange()
    {
        RemoteProgram program(70'000);
        QVERIFY(program.startRemote());
        QCOMPARE(program.webPort(), 65535);
    }

    void stopsOnAParameterWithoutAName()
    {
        RemoteProgram program;
        QVERIFY(program.startRemote());
        HTTPPeer(program.webPort()).send("GET /x?c=1&== HTTP/1.1\r\n\r\n");
        QVERIFY(program.waitForEnd());
        QCOMPARE(program.process().exitStatus(), QProcess::CrashExit);
        QCOMPARE(program.log().count("fatal: "), 1);
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
        RemoteProgram program;
        program.process().setChildProcessModifier([descriptors] {
            const auto limit = static_cast<rlim_t>(descriptors);
            const rlimit limits {limit, limit};
            setrlimit(RLIMIT_NOFILE, &limits);
        });
        QVERIFY(program.startRemote());
        program.send("STOPTIME");
        QVERIFY(program.waitForLog("command stop"));
        const qsizetype before = program.openDescriptors();

        std::vector<std::unique_ptr<HTTPPeer>> crowd;
        for (int i = 0; i < 2000; ++i) {
            crowd.push_back(std::make_unique<HTTPPeer>(program.webPort()));
            QVERIFY(crowd.back()->isConnected());
            crowd.back()->send("GET /state HTTP/1.1\r\nHost: ");
        }
        // The rest of the program keeps 128.
        const qsizetype taken = std::min(descriptors - 128, 2000);
        QTRY_COMPARE(program.openDescriptors(), before + taken);
        program.send("GO 5");
        QVERIFY(program.waitForLog("command go"));
        QCOMPARE(program.openDescriptors(), before + taken);
        if (taken == 2000)
            QVERIFY(program.get("/state").contains("\"running\""));
        crowd.clear();
        QTRY_VERIFY_WITH_TIMEOUT(program.get("/state").contains("\"running\""), 20'000);
        QTRY_COMPARE(program.openDescriptors(), before);
    }
};

QTEST_GUILESS_MAIN(WebRemoteTest)
#include "tst_WebRemote.moc"

#include "Net/WebRemoteServer.h"

#include "helpers/HTTPPeer.h"

#include <QDir>
#include <QEventLoop>
#include <QTest>

#include <array>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

QByteArray okay(const char* contentType, const QByteArray& body)
{
    return QByteArray("HTTP/1.1 200 OK\r\nContent-Type: ") + contentType
        + "\r\nContent-Length: " + QByteArray::number(body.size())
        + "\r\nCache-Control: no-store\r\nAccess-Control-Allow-Origin: *\r\n"
          "Connection: close\r\n\r\n"
        + body;
}

QByteArray json(const QByteArray& body)
{
    return okay("application/json", body);
}

QByteArray resource(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList logged; // NOLINT(*-avoid-non-const-global-variables)

void rememberLog(QtMsgType /*type*/, const QMessageLogContext& context, const QString& message)
{
    if (qstrcmp(context.category, "com.quillfen.tarrow.control") == 0)
        logged.append(message);
}

/// A running server that remembers the commands.
struct Remote {
    explicit Remote(quint16 port = 0)
        : server(port)
    {
        server.onCommand = [this](const QString& text) { commands.append(text); };
        server.start();
    }

    [[nodiscard]] std::unique_ptr<HTTPPeer> peer() const
    {
        return std::make_unique<HTTPPeer>(server.boundPort());
    }

    WebRemoteServer server;
    QStringList commands;
};

/// Counts how often a socket has something to do.
class SocketActivity : public QObject {
public:
    bool eventFilter(QObject* /*receiver*/, QEvent* event) override
    {
        if (event->type() == QEvent::SockAct)
            ++count;
        return false;
    }

    int count = 0;
};

/// This process's sockets that listen.
QList<int> listeners()
{
    QList<int> found;
    for (const QString& name : QDir(u"/proc/self/fd"_s).entryList(QDir::Files | QDir::System)) {
        int listens = 0;
        socklen_t length = sizeof listens;
        if (getsockopt(name.toInt(), SOL_SOCKET, SO_ACCEPTCONN, &listens, &length) == 0 && listens)
            found.append(name.toInt());
    }
    return found;
}

} // namespace

class WebRemoteServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qInstallMessageHandler(rememberLog); }
    void init() { logged.clear(); }

    void answers_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QByteArray>("response");
        QTest::addColumn<QString>("command");
        const QByteArray control =
            okay("text/html; charset=utf-8", resource(u":/remote/control.html"_s));
        const QByteArray display =
            okay("text/html; charset=utf-8", resource(u":/remote/display.html"_s));
        const QByteArray notFound =
            okay("text/plain", "Not found").replace("200 OK", "404 Not Found");
        const QByteArray done = json(R"({"ok":true})");

        QTest::newRow("root") << QByteArray("GET / HTTP/1.1") << control << QString();
        QTest::newRow("index") << QByteArray("GET /index.html HTTP/1.1") << control << QString();
        QTest::newRow("no target") << QByteArray("GET") << control << QString();
        QTest::newRow("display") << QByteArray("GET /display?x=1 HTTP/1.1") << display << QString();
        QTest::newRow("state") << QByteArray("HEAD /state") << json("{\"s\":1}") << QString();
        QTest::newRow("cues") << QByteArray("GET /cues HTTP/1.1") << json("[7]") << QString();
        QTest::newRow("other case") << QByteArray("GET /Display HTTP/1.1") << notFound << QString();
        QTest::newRow("slash") << QByteArray("GET /display/ HTTP/1.1") << notFound << QString();
        QTest::newRow("escape") << QByteArray("GET /%73tate HTTP/1.1") << notFound << QString();
        QTest::newRow("command") << QByteArray("POST /cmd?c=GO%205 HTTP/1.1") << done << u"GO 5"_s;
        QTest::newRow("no command") << QByteArray("GET /cmd HTTP/1.1") << done << QString();
        QTest::newRow("empty command") << QByteArray("GET /cmd?c= HTTP/1.1") << done << QString();
        QTest::newRow("bad command") << QByteArray("GET /cmd?c=%ZZ HTTP/1.1") << done << QString();
        QTest::newRow("other key") << QByteArray("GET /cmd?C=GO HTTP/1.1") << done << QString();
        QTest::newRow("elsewhere")
            << QByteArray("GET /state?c=GO") << json("{\"s\":1}") << QString();
    }
    void answers()
    {
        QFETCH(const QByteArray, request);
        QFETCH(const QString, command);
        Remote remote;
        remote.server.stateJSON = [] { return QByteArray("{\"s\":1}"); };
        remote.server.cuesJSON = [] { return QByteArray("[7]"); };
        const auto peer = remote.peer();
        peer->send(request + "\r\nHost: x\r\n\r\n");
        QTRY_VERIFY(peer->receiveAll());
        QTEST(peer->received(), "response");
        QCOMPARE(remote.commands, command.isEmpty() ? QStringList() : QStringList(command));
    }

    void answersWithoutProviders()
    {
        WebRemoteServer server(0);
        QCOMPARE(server.respond(u"GET /state"), json("{}"));
        QCOMPARE(server.respond(u"GET /cues"), json("[]"));
        QVERIFY(server.respond(u"GET /cmd?c=GO").endsWith(R"({"ok":true})"));
    }

    void takesRequestsInPieces()
    {
        Remote remote;
        const auto slow = remote.peer();
        for (const char byte : QByteArrayView("GET /cmd?c=PAUSE\r\n\r"))
            slow->send(QByteArrayView(&byte, 1));
        const auto other = remote.peer();
        other->send("GET /cmd?c=START\r\n\r\n");
        QTRY_VERIFY(other->receiveAll());
        QCOMPARE(remote.commands, QStringList(u"START"_s));
        slow->send("\n");
        QTRY_VERIFY(slow->receiveAll());
        QCOMPARE(slow->received(), json(R"({"ok":true})"));
        QCOMPARE(remote.commands, QStringList({u"START"_s, u"PAUSE"_s}));
    }

    /// Neither what comes behind the head nor the end of what the peer sends costs it the answer.
    void answersPeersThatSendMore_data()
    {
        QTest::addColumn<bool>("halfCloses");
        QTest::newRow("goes on") << false;
        QTest::newRow("ends its stream") << true;
    }
    void answersPeersThatSendMore()
    {
        QFETCH(const bool, halfCloses);
        Remote remote;
        const auto peer = remote.peer();
        peer->send("POST /cmd?c=PAUSE HTTP/1.1\r\n\r\nfirst part");
        QTRY_COMPARE(remote.commands.size(), 1);
        for (int part = 0; part < 20; ++part) {
            peer->send(QByteArray(65536, 'x'));
            QCoreApplication::processEvents();
        }
        if (halfCloses)
            peer->endStream();
        QTRY_VERIFY(peer->receiveAll());
        QCOMPARE(peer->received(), json(R"({"ok":true})"));
        QVERIFY(!peer->wasReset());
        QCOMPARE(remote.commands, QStringList(u"PAUSE"_s));
    }

    void sendsLongAnswersToSlowReaders()
    {
        Remote remote;
        QByteArray document = '"' + QByteArray(30'000'000, 'x') + '"';
        remote.server.cuesJSON = [&] { return document; };
        const auto slow = remote.peer();
        slow->send("GET /cues\r\n\r\n");
        const auto other = remote.peer();
        other->send("GET /state\r\n\r\n");
        QTRY_VERIFY(other->receiveAll());
        QTRY_VERIFY(slow->receiveAll());
        QVERIFY(slow->received() == json(document));
    }

    void hangsUpWithoutAnAnswer_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::newRow("head too long") << QByteArray(70'000, 'a');
        QTest::newRow("stream ends first") << QByteArray("GET /state HTTP/1.1\r\nHost: x");
    }
    void hangsUpWithoutAnAnswer()
    {
        QFETCH(const QByteArray, request);
        Remote remote;
        const auto peer = remote.peer();
        peer->send(request);
        if (request.size() < 65536)
            peer->endStream();
        QTRY_VERIFY(peer->receiveAll());
        QCOMPARE(peer->received(), QByteArray());
    }

    void stopLetsRequestsFinish()
    {
        // A port that the system chose is not shared, not even with its own past.
        const quint16 port = Remote().server.boundPort();
        Remote remote(port);
        const auto half = remote.peer();
        half->send("GET /cmd?c=PAUSE ");
        QCoreApplication::processEvents();
        const auto justConnected = remote.peer();
        WebRemoteServer again(port);
        remote.server.stop();
        QVERIFY(!remote.server.isRunning());
        QVERIFY(!HTTPPeer(port).isConnected());
        again.start();
        QVERIFY(again.isRunning());
        QCOMPARE(again.boundPort(), port);
        half->send("HTTP/1.1\r\n\r\n");
        justConnected->send("GET /cmd?c=START\r\n\r\n");
        for (HTTPPeer* peer : {half.get(), justConnected.get()}) {
            QTRY_VERIFY(peer->receiveAll());
            QCOMPARE(peer->received(), json(R"({"ok":true})"));
        }
    }

    void logsItsState()
    {
        Remote first;
        const quint16 port = first.server.boundPort();
        QCOMPARE(logged, QStringList(u"Web remote on port %1"_s.arg(port)));
        logged.clear();
        const Remote second(port);
        QVERIFY(!second.server.isRunning());
        QCOMPARE(logged, QStringList(u"Web remote: cannot bind port %1"_s.arg(port)));
        logged.clear();

        QCOMPARE(listeners().size(), 1);
        shutdown(listeners().constFirst(), SHUT_RDWR);
        QTRY_COMPARE(logged, QStringList(u"Web remote failed: Invalid argument"_s));
        QVERIFY(!first.server.isRunning());
        first.server.start();
        QVERIFY(first.server.isRunning());
    }

    /// Those who come when there are no descriptors wait for them, and cost nothing meanwhile.
    void outlivesAShortageOfDescriptors()
    {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("The sanitizers need descriptors for their own checks");
#endif
        Remote remote;
        const std::array peers {remote.peer(), remote.peer(), remote.peer()};
        SocketActivity activity;
        QCoreApplication::instance()->installEventFilter(&activity);
        rlimit before {};
        getrlimit(RLIMIT_NOFILE, &before);
        const int lowestFree = dup(STDERR_FILENO);
        ::close(lowestFree);
        rlimit none = before;
        none.rlim_cur = static_cast<rlim_t>(lowestFree);
        setrlimit(RLIMIT_NOFILE, &none);
        for (int turn = 0; turn < 100; ++turn)
            QCoreApplication::processEvents();
        setrlimit(RLIMIT_NOFILE, &before);
        QVERIFY(activity.count < 5);
        for (const auto& peer : peers) {
            peer->send("GET /state\r\n\r\n");
            QTRY_VERIFY(peer->receiveAll());
            QCOMPARE(peer->received(), json("{}"));
        }
    }

    /// A crowd leaves descriptors to the rest of the program, and goes on when some have gone.
    void keepsDescriptorsBack()
    {
        rlimit before {};
        getrlimit(RLIMIT_NOFILE, &before);
        rlimit few = before;
        few.rlim_cur = 200;
        std::vector<std::unique_ptr<HTTPPeer>> crowd;
        Remote remote;
        setrlimit(RLIMIT_NOFILE, &few);
        remote.server.start();
        setrlimit(RLIMIT_NOFILE, &before);
        crowd.reserve(100);
        for (int i = 0; i < 100; ++i)
            crowd.push_back(remote.peer());
        const auto late = remote.peer();
        late->send("GET /state\r\n\r\n");
        QEventLoop loop;
        while (loop.processEvents()) { }
        QVERIFY(!late->receiveAll());
        crowd.pop_back();
        crowd.erase(crowd.begin());
        QTRY_VERIFY(late->receiveAll());
        QCOMPARE(late->received(), json("{}"));
    }
};

QTEST_GUILESS_MAIN(WebRemoteServerTest)
#include "tst_WebRemoteServer.moc"

#include "Net/WebRemoteServer.h"

#include "helpers/CapturedLog.h"
#include "helpers/HTTPPeer.h"

#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QFile>
#include <QTest>

#include <array>
#include <memory>

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

/// The number that the next descriptor gets.
int lowestFreeDescriptor()
{
    const int descriptor = dup(STDERR_FILENO);
    ::close(descriptor);
    return descriptor;
}

} // namespace

class WebRemoteServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void answers_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QByteArray>("response");
        QTest::addColumn<QStringList>("commands");
        const QByteArray html = "text/html; charset=utf-8";
        const QByteArray control = okay(html, resource(u":/remote/control.html"_s));
        const QByteArray display = okay(html, resource(u":/remote/display.html"_s));
        const QByteArray notFound =
            okay("text/plain", "Not found").replace("200 OK", "404 Not Found");
        const QByteArray done = json(R"({"ok":true})");
        const auto row = [](const char* request, const QByteArray& response,
                             const QStringList& commands = {}) {
            QTest::newRow(request) << QByteArray(request) << response << commands;
        };
        row("GET / HTTP/1.1", control);
        row("GET /index.html HTTP/1.1", control);
        row("GET /display?x=1 HTTP/1.1", display);
        row("GET /Display HTTP/1.1", notFound);
        row("GET /state?c=GO HTTP/1.1", json("{}"));
        row("GET /cues HTTP/1.1", json("[]"));
        row("GET /%73tate HTTP/1.1", notFound);
        row("POST /cmd?c=GO%205 HTTP/1.1", done, {u"GO 5"_s});
        row("GET /cmd?c= HTTP/1.1", done);
    }
    void answers()
    {
        QFETCH(const QByteArray, request);
        Remote remote;
        const auto peer = remote.peer();
        peer->send(request + "\r\nHost: x\r\n\r\n");
        QTRY_VERIFY(peer->receiveAll());
        QTEST(peer->received(), "response");
        QTEST(remote.commands, "commands");
    }

    /// A request that is there waits for nothing else that the event loop has to do.
    void answersInTheTurnThatAccepts()
    {
        Remote remote;
        QCoreApplication::processEvents();
        const auto peer = remote.peer();
        peer->send("GET /state\r\n\r\n");
        QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents);
        QVERIFY(peer->receiveAll());
    }

    /// Neither what comes behind the head nor the end of the stream costs a peer its answer, nor
    /// anyone else, though it reads nothing before it has sent everything.
    void answersThoseWhoSendFirst_data()
    {
        QTest::addColumn<qsizetype>("documentSize");
        QTest::newRow("short answer") << qsizetype(10);
        QTest::newRow("long answer") << qsizetype(30'000'000);
    }
    void answersThoseWhoSendFirst()
    {
        QFETCH(const qsizetype, documentSize);
        constexpr qsizetype bodySize = 40'000'000;
        Remote remote;
        QByteArray document(documentSize, 'x');
        remote.server.cuesJSON = [&] { return document; };
        const auto peer = remote.peer();
        peer->send("POST /cues HTTP/1.1\r\n\r\n");
        const QByteArray part(65536, 'x');
        qsizetype sent = 0;
        for (int turn = 0; turn < 10'000 && sent < bodySize; ++turn) {
            sent += peer->sendSome(part);
            QCoreApplication::processEvents();
        }
        QVERIFY(sent >= bodySize);
        peer->endStream();
        const auto other = remote.peer();
        other->send("GET /state\r\n\r\n");
        QTRY_VERIFY(other->receiveAll());
        QTRY_VERIFY(peer->receiveAll());
        QVERIFY(!peer->wasReset());
        QVERIFY(peer->received() == json(document));
    }

    void hangsUpWithoutAnAnswer()
    {
        Remote remote;
        const std::array peers {remote.peer(), remote.peer()};
        peers[0]->send(QByteArray(70'000, 'a'));
        peers[1]->send("GET /state HTTP/1.1\r\nHost: x");
        peers[1]->endStream();
        for (const auto& peer : peers) {
            QTRY_VERIFY(peer->receiveAll());
            QCOMPARE(peer->received(), QByteArray());
        }
    }

    void stopLetsRequestsFinish()
    {
        // A port that the system chose is not shared, not even with its own past.
        const quint16 port = Remote().server.boundPort();
        Remote remote(port);
        const auto half = remote.peer();
        half->send("GET /cmd?c=PAUSE HTTP/1.1\r\n\r");
        QCoreApplication::processEvents();
        const auto justConnected = remote.peer();
        WebRemoteServer again(port);
        remote.server.stop();
        QVERIFY(!remote.server.isRunning());
        QVERIFY(!HTTPPeer(port).isConnected());
        again.start();
        QVERIFY(again.isRunning());
        QCOMPARE(again.boundPort(), port);
        half->send("\n");
        justConnected->send("GET /cmd?c=START\r\n\r\n");
        for (HTTPPeer* peer : {half.get(), justConnected.get()}) {
            QTRY_VERIFY(peer->receiveAll());
            QCOMPARE(peer->received(), json(R"({"ok":true})"));
        }
    }

    void startsAgainAfterAFailure()
    {
        const int listener = lowestFreeDescriptor();
        Remote remote;
        QStringList logged;
        const CapturedLog log([&](const QString& line) { logged.append(line); });
        QCOMPARE(shutdown(listener, SHUT_RDWR), 0);
        QTRY_COMPARE(logged, QStringList(u"Web remote failed: Invalid argument"_s));
        QVERIFY(!remote.server.isRunning());
        remote.server.start();
        QVERIFY(remote.server.isRunning());
    }

    /// Those who come when there are no descriptors wait for them, and cost nothing meanwhile.
    void outlivesAShortageOfDescriptors()
    {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("The sanitizers need descriptors for their own checks");
#endif
        Remote remote;
        const std::array peers {remote.peer(), remote.peer(), remote.peer()};
        rlimit before {};
        getrlimit(RLIMIT_NOFILE, &before);
        rlimit none = before;
        none.rlim_cur = static_cast<rlim_t>(lowestFreeDescriptor());
        setrlimit(RLIMIT_NOFILE, &none);
        int busyTurns = 0;
        for (int turn = 0; turn < 100; ++turn)
            busyTurns += QEventLoop().processEvents() ? 1 : 0;
        setrlimit(RLIMIT_NOFILE, &before);
        QVERIFY(busyTurns < 5);
        for (const auto& peer : peers) {
            peer->send("GET /state\r\n\r\n");
            QTRY_VERIFY(peer->receiveAll());
            QCOMPARE(peer->received(), json("{}"));
        }
    }
};

QTEST_GUILESS_MAIN(WebRemoteServerTest)
#include "tst_WebRemoteServer.moc"

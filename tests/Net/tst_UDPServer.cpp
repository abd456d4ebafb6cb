#include "Net/UDPServer.h"

#include <QDir>
#include <QEventLoop>
#include <QTest>
#include <QUdpSocket>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// A datagram socket on a loopback address, on any free port where none is given.
class Peer {
public:
    explicit Peer(QHostAddress host = QHostAddress::LocalHost, quint16 port = 0,
        QUdpSocket::BindMode mode = QUdpSocket::DontShareAddress)
    {
        m_isBound = m_socket.bind(host, port, mode);
    }

    [[nodiscard]] bool isBound() const { return m_isBound; }
    [[nodiscard]] quint16 port() const { return m_socket.localPort(); }

    /// Sends to the same address. The datagram waits in the receiver's socket afterwards.
    void send(quint16 port, const QByteArray& datagram)
    {
        if (m_socket.writeDatagram(datagram, m_socket.localAddress(), port) != datagram.size())
            qFatal("cannot send a datagram: %s", qUtf8Printable(m_socket.errorString()));
    }

    [[nodiscard]] DatagramPeer asPeer() const
    {
        const Q_IPV6ADDR address = m_socket.localAddress().toIPv6Address();
        DatagramPeer peer {.port = port()};
        std::ranges::copy(address.c, peer.address.begin());
        return peer;
    }

private:
    QUdpSocket m_socket;
    bool m_isBound = false;
};

/// Free on every address, not only on one.
quint16 freePort()
{
    return Peer(QHostAddress::Any).port();
}

/// This process's sockets that are bound to `port`.
QList<int> socketsOn(quint16 port)
{
    QList<int> found;
    for (const QString& name : QDir(u"/proc/self/fd"_s).entryList(QDir::Files | QDir::System)) {
        sockaddr_in6 address {};
        socklen_t length = sizeof address;
        if (getsockname(name.toInt(), reinterpret_cast<sockaddr*>(&address), &length) == 0
            && address.sin6_family == AF_INET6 && ntohs(address.sin6_port) == port)
            found.append(name.toInt());
    }
    return found;
}

QString systemError(int number)
{
    return QString::fromLocal8Bit(std::strerror(number));
}

/// A server that remembers what it was told and what it tells.
struct Listener {
    explicit Listener(quint16 port = 0)
        : server(port, [this](const Command& command) {
            received.append(command.description());
            if (onCommand)
                onCommand();
        })
    {
        server.onStatus = [this](const QString& status) {
            statuses.append(status);
            if (onStatus)
                onStatus();
        };
    }

    [[nodiscard]] QList<DatagramPeer> peers() const
    {
        return {server.connections().begin(), server.connections().end()};
    }

    QStringList received;
    QStringList statuses;
    std::function<void()> onCommand;
    std::function<void()> onStatus;
    UDPServer server;
};

} // namespace

class UDPServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void tellsWhenItIsReady()
    {
        const quint16 port = freePort();
        Listener listener(port);
        QVERIFY(!listener.server.isListening());
        QCOMPARE(socketsOn(port).size(), 0);
        const QString line = u"UDP listening on port %1"_s.arg(port);
        QTest::ignoreMessage(QtInfoMsg, qPrintable(line));
        listener.server.start();
        QVERIFY(listener.server.isListening());
        QCOMPARE(listener.server.boundPort(), port);
        QCOMPARE(listener.statuses, QStringList(u"UDP listening on %1"_s.arg(port)));
    }

    void datagrams_data()
    {
        QTest::addColumn<QByteArray>("datagram");
        QTest::addColumn<QString>("received");
        const auto add = [](const char* name, const QByteArray& datagram,
                             const QString& received = {}) {
            QTest::newRow(name) << datagram << received;
        };
        add("command", "GO 5", u"go(minutes: 5.0)"_s);
        add("CR LF", "STOPTIME\r\n", u"stop"_s);
        add("UTF-8", "msg \xc3\x9f \xf0\x9f\x98\x80", u"message(\"\u00df \U0001f600\")"_s);
        add("line break inside", "MSG a\nSTART", u"message(\"a\\nSTART\")"_s);
        add("NUL inside", QByteArray("MSG a\0b", 7), u"message(\"a\\u{00}b\")"_s);
        add("the longest", "MSG " + QByteArray(65'503, 'x'),
            u"message(\"%1\")"_s.arg(QString(65'503, u'x')));
        add("empty", "");
        add("blank", " \r\n");
        add("no command", "HELLO");
        add("two lines", "START\nPAUSE");
        add("semicolon", "START;PAUSE");
        add("NUL at the end", QByteArray("PAUSE\0", 6));
        add("not UTF-8", "\xff\xfe");
        add("Latin-1", "MSG \xdf");
        add("half a character", "MSG \xc3");
        add("overlong character", "MSG \xc0\x80");
        add("surrogate", "MSG \xed\xa0\x80");
        add("byte order mark", "\xef\xbb\xbfPAUSE");
    }
    /// Whatever came, its sender has one flow and is heard again.
    void datagrams()
    {
        QFETCH(const QByteArray, datagram);
        QFETCH(const QString, received);
        Listener listener;
        listener.server.start();
        Peer sender;
        sender.send(listener.server.boundPort(), datagram);
        sender.send(listener.server.boundPort(), "NEXT");
        QStringList expected {received, u"nextCue"_s};
        expected.removeAll(QString());
        QTRY_COMPARE(listener.received, expected);
        QCOMPARE(listener.peers(), QList {sender.asPeer()});
        QVERIFY(listener.server.isListening());
    }

    void keepsOneFlowPerPeer_data()
    {
        QTest::addColumn<QHostAddress>("host");
        QTest::newRow("IPv4") << QHostAddress(u"127.0.0.2"_s);
        QTest::newRow("IPv6") << QHostAddress(QHostAddress::LocalHostIPv6);
    }
    void keepsOneFlowPerPeer()
    {
        QFETCH(const QHostAddress, host);
        if (!Peer(host).isBound())
            QSKIP("The machine does not have this loopback address");
        Listener listener;
        listener.server.start();
        const quint16 port = listener.server.boundPort();
        Peer first;
        Peer otherPort;
        Peer otherAddress(host, first.port());
        QVERIFY(first.isBound() && otherPort.isBound() && otherAddress.isBound());
        otherPort.send(port, "\xff");
        first.send(port, "");
        otherAddress.send(port, "GO 5");
        otherAddress.send(port, "+1");
        first.send(port, "PAUSE");
        otherPort.send(port, "NEXT");
        QTRY_COMPARE(listener.received,
            QStringList({u"go(minutes: 5.0)"_s, u"addMinute"_s, u"pause"_s, u"nextCue"_s}));
        QCOMPARE(
            listener.peers(), QList({otherPort.asPeer(), first.asPeer(), otherAddress.asPeer()}));
    }

    void burstArrivesInOrder()
    {
        Peer sender;
        Listener listener;
        listener.server.start();
        QStringList sent;
        for (int i = 0; i < 500; ++i) {
            sender.send(listener.server.boundPort(), "CUE " + QByteArray::number(i));
            sent.append(u"cue(%1)"_s.arg(i));
        }
        QTRY_COMPARE(listener.received.size(), sent.size());
        QCOMPARE(listener.received, sent);
    }

    void secondStartReplacesTheFirst()
    {
        const quint16 port = freePort();
        Listener listener(port);
        listener.server.start();
        Peer().send(port, "START");
        QTRY_COMPARE(listener.received.size(), 1);
        listener.server.start();
        QVERIFY(listener.server.isListening());
        QCOMPARE(socketsOn(port).size(), 1);
        QVERIFY(listener.peers().isEmpty());
        const QString ready = u"UDP listening on %1"_s.arg(port);
        QCOMPARE(listener.statuses, QStringList({ready, ready}));
        Peer().send(port, "NEXT");
        QTRY_COMPARE(listener.received, QStringList({u"start"_s, u"nextCue"_s}));
    }

    void stopDropsEverything()
    {
        Listener listener;
        listener.server.start();
        const quint16 port = listener.server.boundPort();
        Peer sender;
        sender.send(port, "START");
        QTRY_COMPARE(listener.peers().size(), 1);
        listener.statuses.clear();
        sender.send(port, "PAUSE"); // has not been read when the server stops
        listener.server.stop();
        QVERIFY(!listener.server.isListening());
        QVERIFY(listener.peers().isEmpty());
        QCOMPARE(listener.server.boundPort(), 0);
        QCOMPARE(socketsOn(port).size(), 0);
        QCOMPARE(listener.statuses, QStringList());
        listener.server.stop();
        listener.server.start();
        sender.send(listener.server.boundPort(), "NEXT");
        QTRY_COMPARE(listener.received, QStringList({u"start"_s, u"nextCue"_s}));
    }

    void handlerMayStopDuringABurst_data()
    {
        QTest::addColumn<bool>("restarts");
        QTest::newRow("stop") << false;
        QTest::newRow("stop and start") << true;
    }
    void handlerMayStopDuringABurst()
    {
        QFETCH(const bool, restarts);
        Listener listener;
        listener.server.start();
        Peer sender;
        for (int i = 0; i < 100; ++i)
            sender.send(listener.server.boundPort(), "CUE " + QByteArray::number(i));
        listener.onCommand = [&] {
            if (listener.received.size() != 3)
                return;
            listener.server.stop();
            if (restarts)
                listener.server.start();
        };
        QTRY_COMPARE(listener.received.size(), 3);
        QCOMPARE(listener.server.isListening(), restarts);
        QVERIFY(listener.peers().isEmpty());
        if (!restarts)
            listener.server.start();
        sender.send(listener.server.boundPort(), "NEXT");
        QTRY_COMPARE(
            listener.received, QStringList({u"cue(0)"_s, u"cue(1)"_s, u"cue(2)"_s, u"nextCue"_s}));
        QCOMPARE(listener.peers(), QList {sender.asPeer()});
    }

    void portInUse()
    {
        auto blocker = std::make_unique<Peer>();
        const quint16 port = blocker->port();
        Listener listener(port);
        listener.server.start();
        QCOMPARE(
            listener.statuses, QStringList(u"UDP %1: %2"_s.arg(port).arg(systemError(EADDRINUSE))));
        QVERIFY(!listener.server.isListening());
        QCOMPARE(listener.server.boundPort(), 0);

        listener.server.onStatus = nullptr;
        listener.server.start();
        QVERIFY(!listener.server.isListening());
        blocker.reset();
        listener.server.start();
        QVERIFY(listener.server.isListening());
    }

    void sharesThePortWithThoseWhoShare()
    {
        const Peer other(QHostAddress(u"127.0.0.2"_s), freePort(), QUdpSocket::ReuseAddressHint);
        Listener listener(other.port());
        listener.server.start();
        Peer().send(other.port(), "PAUSE");
        QTRY_COMPARE(listener.received, QStringList(u"pause"_s));
    }

    /// A free port is one that nobody else has: of two who share, one would hear nothing.
    void sharesNoPortThatTheSystemChose()
    {
        Listener listener;
        listener.server.start();
        const quint16 port = listener.server.boundPort();
        QVERIFY(port != 0);
        const Peer other(QHostAddress::LocalHost, port, QUdpSocket::ReuseAddressHint);
        QVERIFY(!other.isBound());
    }

    void finalReceiveError_data()
    {
        QTest::addColumn<bool>("restarts");
        QTest::newRow("left alone") << false;
        QTest::newRow("started again from the status callback") << true;
    }
    void finalReceiveError()
    {
        QFETCH(const bool, restarts);
        const quint16 port = freePort();
        Listener listener(port);
        listener.server.start();
        const QList<int> sockets = socketsOn(port);
        QCOMPARE(sockets.size(), 1);
        listener.statuses.clear();
        listener.onStatus = [&] {
            if (restarts && listener.statuses.size() == 1)
                listener.server.start();
        };

        // What takes the descriptor's place is no socket, and readable at all times.
        const int replacement = open("/dev/null", O_RDONLY | O_CLOEXEC);
        QCOMPARE(dup3(replacement, sockets.front(), O_CLOEXEC), sockets.front());
        close(replacement);
        const QString failure = u"UDP %1 failed: %2"_s.arg(port).arg(systemError(ENOTSOCK));
        QTRY_VERIFY(!listener.statuses.isEmpty());
        QCOMPARE(listener.statuses.front(), failure);
        QCOMPARE(listener.server.isListening(), restarts);

        // Were the descriptor still watched, there would be no end of events.
        int events = 0;
        while (QEventLoop().processEvents(QEventLoop::AllEvents))
            QVERIFY(++events < 1000);
        QCOMPARE(listener.statuses.size(), restarts ? 2 : 1);
        if (!restarts)
            listener.server.start();
        Peer().send(port, "NEXT");
        QTRY_COMPARE(listener.received, QStringList(u"nextCue"_s));
    }
};

QTEST_GUILESS_MAIN(UDPServerTest)
#include "tst_UDPServer.moc"

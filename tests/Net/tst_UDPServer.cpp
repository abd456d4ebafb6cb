#include "Net/UDPServer.h"

#include <QDir>
#include <QEventLoop>
#include <QTest>
#include <QUdpSocket>

#include <cerrno>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// A datagram socket on a loopback address, on any free port where none is given.
class Peer {
public:
    explicit Peer(const QHostAddress& host = QHostAddress::LocalHost, quint16 port = 0,
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

/// A server that remembers what it was told and what it tells.
struct Listener {
    explicit Listener(quint16 port = 0)
        : server(port, [this](const Command& command) {
            received.append(command.description());
            if (onCommand)
                onCommand();
        })
    {
        server.onStatus = [this](const QString& status) { statuses.append(status); };
    }

    QStringList received;
    QStringList statuses;
    std::function<void()> onCommand;
    UDPServer server;
};

} // namespace

class UDPServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void datagrams_data()
    {
        QTest::addColumn<QByteArray>("datagram");
        QTest::addColumn<QString>("received");
        const auto add = [](const char* name, const QByteArray& datagram,
                             const QString& received = {}) {
            QTest::newRow(name) << datagram << received;
        };
        add("UTF-8", "msg \xc3\x9f \xf0\x9f\x98\x80", u"message(\"\u00df \U0001f600\")"_s);
        add("NUL inside", QByteArray("MSG a\0b", 7), u"message(\"a\\u{00}b\")"_s);
        add("the longest", "MSG " + QByteArray(65'503, 'x'),
            u"message(\"%1\")"_s.arg(QString(65'503, u'x')));
        add("empty", "");
        add("not UTF-8", "\xff\xfe");
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
        QCOMPARE(listener.server.connections().size(), 1);
        QVERIFY(listener.server.isListening());
    }

    void hearsEveryAddress()
    {
        Peer local;
        Peer version6 {QHostAddress(QHostAddress::LocalHostIPv6)};
        if (!version6.isBound())
            QSKIP("The machine has no IPv6");
        Listener listener;
        listener.server.start();
        version6.send(listener.server.boundPort(), "GO");
        local.send(listener.server.boundPort(), "PAUSE");
        version6.send(listener.server.boundPort(), "NEXT");
        QTRY_COMPARE(listener.received, QStringList({u"start"_s, u"pause"_s, u"nextCue"_s}));
        QCOMPARE(listener.server.connections().size(), 2);
    }

    void startAndStopDropEverything()
    {
        const quint16 port = freePort();
        Listener listener(port);
        listener.server.start();
        Peer sender;
        sender.send(port, "START");
        QTRY_COMPARE(listener.server.connections().size(), 1);
        sender.send(port, "PAUSE"); // has not been read when the server starts anew
        listener.server.start();
        QCOMPARE(listener.server.connections().size(), 0);
        QCOMPARE(socketsOn(port).size(), 1);
        sender.send(port, "NEXT");
        QTRY_COMPARE(listener.received, QStringList({u"start"_s, u"nextCue"_s}));
        listener.server.stop();
        QVERIFY(!listener.server.isListening());
        QCOMPARE(listener.server.connections().size(), 0);
        QCOMPARE(socketsOn(port).size(), 0);
        QCOMPARE(listener.statuses, QStringList(2, u"UDP listening on %1"_s.arg(port)));
    }

    void handlerMayStopDuringABurst()
    {
        Listener listener;
        listener.server.start();
        Peer sender;
        for (int i = 0; i < 100; ++i)
            sender.send(listener.server.boundPort(), "CUE " + QByteArray::number(i));
        listener.onCommand = [&] {
            if (listener.received.size() == 3)
                listener.server.stop();
        };
        QTRY_COMPARE(listener.received.size(), 3);
        QCOMPARE(listener.server.connections().size(), 0);
        listener.server.start();
        sender.send(listener.server.boundPort(), "NEXT");
        QTRY_COMPARE(
            listener.received, QStringList({u"cue(0)"_s, u"cue(1)"_s, u"cue(2)"_s, u"nextCue"_s}));
        QCOMPARE(listener.server.connections().size(), 1);
    }

    void sharesThePortWithThoseWhoShare()
    {
        const Peer other(QHostAddress(u"127.0.0.2"_s), freePort(), QUdpSocket::ReuseAddressHint);
        Listener listener(other.port());
        listener.server.start();
        Peer().send(other.port(), "PAUSE");
        QTRY_COMPARE(listener.received, QStringList(u"pause"_s));
    }

    void finalReceiveError()
    {
        const quint16 port = freePort();
        Listener listener(port);
        listener.server.start();
        const QList<int> sockets = socketsOn(port);
        QCOMPARE(sockets.size(), 1);
        listener.statuses.clear();

        // What takes the descriptor's place is no socket, and readable at all times.
        const int replacement = open("/dev/null", O_RDONLY | O_CLOEXEC);
        QCOMPARE(dup3(replacement, sockets.front(), O_CLOEXEC), sockets.front());
        close(replacement);
        const QString failure = u"UDP %1 failed: %2"_s.arg(port).arg(qt_error_string(ENOTSOCK));
        QTRY_COMPARE(listener.statuses, QStringList(failure));
        QVERIFY(!listener.server.isListening());

        // Were the descriptor still watched, there would be no end of events.
        int events = 0;
        while (QEventLoop().processEvents(QEventLoop::AllEvents))
            QVERIFY(++events < 1000);
        listener.server.start();
        Peer().send(port, "NEXT");
        QTRY_COMPARE(listener.received, QStringList(u"nextCue"_s));
    }
};

QTEST_GUILESS_MAIN(UDPServerTest)
#include "tst_UDPServer.moc"

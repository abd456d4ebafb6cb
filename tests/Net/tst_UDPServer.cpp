#include "Net/UDPServer.h"

#include <QDir>
#include <QEventLoop>
#include <QTest>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr const char* localhost4 = "::ffff:127.0.0.1";
constexpr const char* localhost6 = "::1";

/// A datagram socket on a loopback address. A mapped address speaks IPv4.
class LoopbackSocket {
public:
    enum class AddressReuse { no, yes };

    /// Port 0 means any free port.
    explicit LoopbackSocket(
        const char* host = localhost4, quint16 port = 0, AddressReuse reuse = AddressReuse::no)
        : m_descriptor(socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        const int on = 1;
        if (reuse == AddressReuse::yes)
            setsockopt(m_descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        inet_pton(AF_INET6, host, &m_address.sin6_addr);
        m_address.sin6_family = AF_INET6;
        m_address.sin6_port = htons(port);
        auto* address = reinterpret_cast<sockaddr*>(&m_address);
        socklen_t length = sizeof m_address;
        m_isBound = bind(m_descriptor, address, length) == 0
            && getsockname(m_descriptor, address, &length) == 0;
    }
    LoopbackSocket(const LoopbackSocket&) = delete;
    LoopbackSocket& operator=(const LoopbackSocket&) = delete;
    ~LoopbackSocket() { close(m_descriptor); }

    [[nodiscard]] bool isBound() const { return m_isBound; }
    [[nodiscard]] quint16 port() const { return ntohs(m_address.sin6_port); }

    /// Sends to the same address. The datagram waits in the receiver's socket afterwards.
    void send(quint16 port, QByteArrayView datagram) const
    {
        sockaddr_in6 target = m_address;
        target.sin6_port = htons(port);
        if (sendto(m_descriptor, datagram.data(), static_cast<size_t>(datagram.size()), 0,
                reinterpret_cast<const sockaddr*>(&target), sizeof target)
            != datagram.size())
            qFatal("cannot send a datagram: %s", std::strerror(errno));
    }

    [[nodiscard]] DatagramPeer asPeer() const
    {
        DatagramPeer peer {.port = port()};
        std::memcpy(peer.address.data(), &m_address.sin6_addr, peer.address.size());
        return peer;
    }

private:
    sockaddr_in6 m_address {};
    int m_descriptor;
    bool m_isBound = false;
};

/// Free on every address, not only on one.
quint16 freePort()
{
    return LoopbackSocket("::").port();
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

private:
    static inline QStringList log;
    QtMessageHandler m_frameworkHandler = nullptr;

private Q_SLOTS:
    void init()
    {
        log.clear();
        m_frameworkHandler = qInstallMessageHandler(
            [](QtMsgType type, const QMessageLogContext& context, const QString& text) {
                log.append(u"%1 %2: %3"_s.arg(type).arg(QLatin1StringView(context.category), text));
            });
    }
    void cleanup() { qInstallMessageHandler(m_frameworkHandler); }

    void tellsWhenItIsReady()
    {
        const quint16 port = freePort();
        Listener listener(port);
        QVERIFY(!listener.server.isListening());
        QCOMPARE(socketsOn(port).size(), 0);
        listener.server.start();
        QTRY_VERIFY(listener.server.isListening());
        QCOMPARE(listener.server.boundPort(), port);
        QCOMPARE(listener.statuses, QStringList(u"UDP listening on %1"_s.arg(port)));
        const QString line = u"%1 com.quillfen.tarrow.control: UDP listening on port %2"_s;
        QCOMPARE(log, QStringList(line.arg(QtInfoMsg).arg(port)));
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
        const LoopbackSocket sender;
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
        QTest::addColumn<QByteArray>("host");
        QTest::newRow("IPv4") << QByteArray("::ffff:127.0.0.2");
        QTest::newRow("IPv6") << QByteArray(localhost6);
    }
    void keepsOneFlowPerPeer()
    {
        QFETCH(const QByteArray, host);
        if (!LoopbackSocket(host).isBound())
            QSKIP("The machine does not have this loopback address");
        Listener listener;
        listener.server.start();
        const quint16 port = listener.server.boundPort();
        const LoopbackSocket first;
        const LoopbackSocket otherPort;
        const LoopbackSocket otherAddress(host, first.port());
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
        const std::array<LoopbackSocket, 50> senders;
        Listener listener;
        listener.server.start();
        QList<DatagramPeer> peers;
        for (const LoopbackSocket& sender : senders)
            peers.append(sender.asPeer());
        QList<QStringList> sent(senders.size());
        for (size_t i = 0; i < 500; ++i) {
            const size_t sender = i % senders.size();
            senders[sender].send(listener.server.boundPort(), "CUE " + QByteArray::number(i));
            sent[static_cast<qsizetype>(sender)].append(u"cue(%1)"_s.arg(i));
        }
        QTRY_COMPARE(listener.received.size(), 500);
        QList<QStringList> received(sent.size());
        for (const QString& cue : std::as_const(listener.received))
            received[cue.sliced(4).chopped(1).toInt() % sent.size()].append(cue);
        QCOMPARE(received, sent);
        QCOMPARE(listener.peers(), peers);
    }

    void secondStartReplacesTheFirst()
    {
        const quint16 port = freePort();
        Listener listener(port);
        listener.server.start();
        LoopbackSocket().send(port, "START");
        QTRY_COMPARE(listener.received.size(), 1);
        listener.server.start();
        QTRY_VERIFY(listener.server.isListening());
        QCOMPARE(socketsOn(port).size(), 1);
        QVERIFY(listener.peers().isEmpty());
        const QString ready = u"UDP listening on %1"_s.arg(port);
        QCOMPARE(listener.statuses, QStringList({ready, ready}));
        LoopbackSocket().send(port, "NEXT");
        QTRY_COMPARE(listener.received, QStringList({u"start"_s, u"nextCue"_s}));
    }

    void stopDropsEverything()
    {
        Listener listener;
        listener.server.start();
        const quint16 port = listener.server.boundPort();
        const LoopbackSocket sender;
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
        const LoopbackSocket sender;
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
        auto blocker = std::make_unique<LoopbackSocket>();
        const quint16 port = blocker->port();
        Listener listener(port);
        listener.server.start();
        QTRY_COMPARE(
            listener.statuses, QStringList(u"UDP %1: %2"_s.arg(port).arg(systemError(EADDRINUSE))));
        QVERIFY(!listener.server.isListening());
        QCOMPARE(listener.server.boundPort(), 0);
        QCOMPARE(socketsOn(port).size(), 1);
        QCOMPARE(log, QStringList());

        listener.server.onStatus = nullptr;
        listener.server.start();
        QVERIFY(!listener.server.isListening());
        blocker.reset();
        listener.server.start();
        QTRY_VERIFY(listener.server.isListening());
    }

    void sharesThePortWithThoseWhoShare()
    {
        const LoopbackSocket other(
            "::ffff:127.0.0.2", freePort(), LoopbackSocket::AddressReuse::yes);
        Listener listener(other.port());
        listener.server.start();
        LoopbackSocket().send(other.port(), "PAUSE");
        QTRY_COMPARE(listener.received, QStringList(u"pause"_s));
    }

    /// A free port is one that nobody else has: of two who share, one would hear nothing.
    void sharesNoPortThatTheSystemChose()
    {
        Listener listener;
        listener.server.start();
        QTRY_VERIFY(listener.server.isListening());
        const quint16 port = listener.server.boundPort();
        QVERIFY(port != 0);
        QVERIFY(!LoopbackSocket(localhost4, port, LoopbackSocket::AddressReuse::yes).isBound());
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
        log.clear();
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
        QCOMPARE(log.size(), restarts ? 1 : 0);
        if (!restarts)
            listener.server.start();
        LoopbackSocket().send(port, "NEXT");
        QTRY_COMPARE(listener.received, QStringList(u"nextCue"_s));
    }
};

QTEST_GUILESS_MAIN(UDPServerTest)
#include "tst_UDPServer.moc"

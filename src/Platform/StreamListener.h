#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QSocketNotifier>
#include <QString>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

/// Answers those who connect to one port of every interface, IPv6 and IPv4 alike: each connection
/// is one request, one answer and the end. Works on the thread that made it.
///
/// A crowd is served in bounded portions, so that timers and other sockets get their turn. When
/// the process has no descriptors to spare, those who come wait until a connection has gone. A
/// callback may open and close the listener, but not destroy it.
class StreamListener {
public:
    /// What becomes of a connection that has sent something.
    struct Reply {
        enum class Kind { waitForMore, hangUp, answer } kind = Kind::waitForMore;
        /// The answer.
        QByteArray bytes = {};
    };

    StreamListener();
    StreamListener(const StreamListener&) = delete;
    StreamListener& operator=(const StreamListener&) = delete;
    /// Cuts off whoever is still connected.
    ~StreamListener();

    /// Asked with everything that a peer has sent so far each time that more has come, until it
    /// answers or hangs up; the first `known` bytes were there the last time. At most 65,536 bytes
    /// come at a time. The bytes are valid during the call. A peer that ends its stream first is
    /// forgotten. Must be set before anyone connects.
    std::function<Reply(QByteArrayView bytes, qsizetype known)> onReceived;

    /// Called with the system's description when the listener can never accept again. It is closed
    /// by then. Errors of single connections are passed over.
    std::function<void(const QString&)> onFailure;

    /// Opens the listener; port 0 takes any free port. Gives the system's description of what went
    /// wrong, or nothing when it is open.
    [[nodiscard]] std::optional<QString> open(quint16 port);

    /// Lets nobody in any more; those who are in get their answers. Allowed at any time, also from
    /// within a callback.
    void close();

    /// The port that is bound, 0 while closed.
    [[nodiscard]] quint16 port() const { return m_port; }

private:
    struct Connection {
        enum class State { reading, answering, lingering } state = State::reading;
        /// What has come in, then what goes out.
        QByteArray bytes = {};
        qsizetype sent = 0;
        quint32 watchedFor = 0;
        /// The peer sends no more.
        bool hasEnded = false;
        /// Nothing has come since the last sweep.
        bool hasSeenASweep = false;
    };

    [[nodiscard]] bool watchListener();
    void closeListener();
    void handleEvents();
    [[nodiscard]] bool handleEventsAtHand();
    void handleEvent(int descriptor);
    void acceptSome();
    void admit(int descriptor);
    void handleAcceptError(int error);
    void pauseAccepting();
    void resumeAccepting();
    void watchFor(quint32 what, int descriptor, Connection& connection);
    void receive(int descriptor, Connection& connection);
    void send(int descriptor, Connection& connection);
    void endAnswer(int descriptor, Connection& connection);
    void linger(int descriptor, Connection& connection);
    static void discardInput(int descriptor, Connection& connection);
    void sweep();
    void drop(int descriptor);

    int m_listener = -1;
    quint16 m_port = 0;
    bool m_isPaused = false;
    size_t m_connectionLimit = 0;
    /// Watches the listener and all connections; one descriptor for the event loop.
    int m_events = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::unordered_map<int, Connection> m_connections;
    std::vector<char> m_received;
    QTimer m_resumeTimer;
    QTimer m_sweepTimer;
};

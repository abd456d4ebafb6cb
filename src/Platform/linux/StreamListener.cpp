#include "Platform/StreamListener.h"

#include "Platform/linux/InternetSocket.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

constexpr size_t receiveSize = 65536;
/// How much is done before the event loop gets its turn.
constexpr int eventsPerTurn = 64;
constexpr int acceptsPerTurn = 64;

/// A peer that still sends when its answer is out is listened to for a while: closing on unread
/// bytes would reset the connection, and that can cost the peer the answer.
constexpr auto sweepInterval = 5s;
constexpr qsizetype mostToDrop = 16 * 1024 * 1024;
constexpr size_t dropSize = 1024 * 1024;

/// After this much time there may be descriptors that others have given back.
constexpr auto resumeDelay = 500ms;
/// Descriptors that are left to the rest of the program, to store settings with for one.
constexpr rlim_t reservedDescriptors = 128;

size_t connectionLimit()
{
    rlimit limit {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return reservedDescriptors;
    return limit.rlim_cur - std::min(limit.rlim_cur / 2, reservedDescriptors);
}

bool isShortage(int error)
{
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

/// The descriptor is no listener any more.
bool isFinal(int error)
{
    return error == EBADF || error == ENOTSOCK || error == EINVAL;
}

bool isTemporary(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

void watch(int events, int operation, int descriptor, quint32 what)
{
    epoll_event event {.events = what, .data = {.fd = descriptor}};
    epoll_ctl(events, operation, descriptor, &event);
}

/// A peer that has vanished without a word is noticed after two minutes. Connections have the
/// options of their listener.
void noticeVanishedPeers(int listener)
{
    setOption(listener, SOL_SOCKET, SO_KEEPALIVE, 1);
    setOption(listener, IPPROTO_TCP, TCP_KEEPIDLE, 60);
    setOption(listener, IPPROTO_TCP, TCP_KEEPINTVL, 15);
    setOption(listener, IPPROTO_TCP, TCP_KEEPCNT, 4);
}

} // namespace

StreamListener::StreamListener()
    : m_events(epoll_create1(EPOLL_CLOEXEC))
    , m_received(receiveSize)
{
    m_resumeTimer.setSingleShot(true);
    m_resumeTimer.setInterval(resumeDelay);
    QObject::connect(&m_resumeTimer, &QTimer::timeout, [this] { resumeAccepting(); });
    m_sweepTimer.setInterval(sweepInterval);
    QObject::connect(&m_sweepTimer, &QTimer::timeout, [this] { sweep(); });
}

StreamListener::~StreamListener()
{
    m_notifier.reset();
    for (const auto& [descriptor, connection] : m_connections)
        ::close(descriptor);
    if (m_listener >= 0)
        ::close(m_listener);
    ::close(m_events);
}

std::optional<QString> StreamListener::open(quint16 port)
{
    close();
    const int listener = openBoundSocket(SOCK_STREAM, port);
    if (listener < 0)
        return lastError();
    noticeVanishedPeers(listener);
    if (listen(listener, SOMAXCONN) != 0) {
        QString error = lastError();
        ::close(listener);
        return error;
    }
    m_listener = listener;
    m_port = boundPort(listener);
    m_connectionLimit = connectionLimit();
    watch(m_events, EPOLL_CTL_ADD, m_listener, EPOLLIN);
    if (!m_notifier) {
        m_notifier = std::make_unique<QSocketNotifier>(m_events, QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [this] { handleEvents(); });
    }
    return std::nullopt;
}

void StreamListener::close()
{
    if (m_listener < 0)
        return;
    // Those who are through but have not been seen yet are in, too.
    while (acceptOne() == Accepted::connection) { }
    m_port = 0;
    m_isPaused = false;
    m_resumeTimer.stop();
    ::close(std::exchange(m_listener, -1));
}

void StreamListener::handleEvents()
{
    std::array<epoll_event, eventsPerTurn> events {};
    const int count = epoll_wait(m_events, events.data(), eventsPerTurn, 0);
    for (int i = 0; i < count; ++i)
        handleEvent(events[static_cast<size_t>(i)].data.fd);
}

void StreamListener::handleEvent(int descriptor)
{
    if (descriptor == m_listener) {
        acceptSome();
        return;
    }
    const auto found = m_connections.find(descriptor);
    if (found == m_connections.end())
        return;
    Connection& connection = found->second;
    switch (connection.state) {
    case Connection::State::reading:
        receive(descriptor, connection);
        break;
    case Connection::State::answering:
        send(descriptor, connection);
        break;
    case Connection::State::lingering:
        drain(descriptor, connection);
        break;
    }
}

void StreamListener::acceptSome()
{
    for (int i = 0; i < acceptsPerTurn; ++i) {
        const Accepted accepted = acceptOne();
        if (accepted == Accepted::neverAgain)
            fail(lastError());
        if (accepted != Accepted::connection)
            return;
    }
}

StreamListener::Accepted StreamListener::acceptOne()
{
    if (m_connections.size() >= m_connectionLimit) {
        pauseAccepting();
        return Accepted::nothing;
    }
    const int descriptor = accept4(m_listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (descriptor >= 0) {
        m_connections.try_emplace(descriptor);
        watch(m_events, EPOLL_CTL_ADD, descriptor, EPOLLIN);
        return Accepted::connection;
    }
    if (isFinal(errno))
        return Accepted::neverAgain;
    if (isShortage(errno))
        pauseAccepting();
    // Otherwise the queue is empty, or its first has gone again.
    return Accepted::nothing;
}

/// A listener that is ready and not accepted from would keep the event loop busy.
void StreamListener::pauseAccepting()
{
    if (!std::exchange(m_isPaused, true))
        watch(m_events, EPOLL_CTL_MOD, m_listener, 0);
    m_resumeTimer.start();
}

void StreamListener::resumeAccepting()
{
    if (std::exchange(m_isPaused, false))
        watch(m_events, EPOLL_CTL_MOD, m_listener, EPOLLIN);
}

void StreamListener::fail(const QString& error)
{
    close();
    if (onFailure)
        onFailure(error);
}

void StreamListener::receive(int descriptor, Connection& connection)
{
    const ssize_t count = recv(descriptor, m_received.data(), m_received.size(), 0);
    if (count < 0 && isTemporary(errno))
        return;
    if (count <= 0) {
        drop(descriptor);
        return;
    }
    const qsizetype known = connection.bytes.size();
    QByteArrayView bytes(m_received.data(), count);
    if (known > 0)
        bytes = connection.bytes.append(bytes);
    Reply reply = onReceived(bytes, known);
    switch (reply.kind) {
    case Reply::Kind::waitForMore:
        if (known == 0)
            connection.bytes = bytes.toByteArray();
        break;
    case Reply::Kind::hangUp:
        drop(descriptor);
        break;
    case Reply::Kind::answer:
        connection.state = Connection::State::answering;
        connection.bytes = std::move(reply.bytes);
        send(descriptor, connection);
        break;
    }
}

void StreamListener::send(int descriptor, Connection& connection)
{
    while (connection.sent < connection.bytes.size()) {
        // The last bytes wait for the end of the stream, to travel in one packet with it.
        const ssize_t count = ::send(descriptor, connection.bytes.constData() + connection.sent,
            static_cast<size_t>(connection.bytes.size() - connection.sent),
            MSG_MORE | MSG_NOSIGNAL);
        if (count < 0 && isTemporary(errno)) {
            connection.waitsForRoom = true;
            watch(m_events, EPOLL_CTL_MOD, descriptor, EPOLLOUT);
            return;
        }
        if (count < 0) {
            drop(descriptor);
            return;
        }
        connection.sent += count;
    }
    linger(descriptor, connection);
}

void StreamListener::linger(int descriptor, Connection& connection)
{
    if (shutdown(descriptor, SHUT_WR) != 0) {
        drop(descriptor);
        return;
    }
    connection.state = Connection::State::lingering;
    connection.bytes.clear();
    if (connection.waitsForRoom)
        watch(m_events, EPOLL_CTL_MOD, descriptor, EPOLLIN);
    if (!m_sweepTimer.isActive())
        m_sweepTimer.start();
}

void StreamListener::drain(int descriptor, Connection& connection)
{
    const ssize_t count = recv(descriptor, nullptr, dropSize, MSG_TRUNC);
    if (count < 0 && isTemporary(errno))
        return;
    connection.dropped += count;
    if (count <= 0 || connection.dropped > mostToDrop)
        drop(descriptor);
}

/// Ends those who have lingered since the last sweep.
void StreamListener::sweep()
{
    std::vector<int> overdue;
    bool isAnyoneLeft = false;
    for (auto& [descriptor, connection] : m_connections) {
        if (connection.state != Connection::State::lingering)
            continue;
        if (std::exchange(connection.hasSeenASweep, true))
            overdue.push_back(descriptor);
        else
            isAnyoneLeft = true;
    }
    std::ranges::for_each(overdue, [this](int descriptor) { drop(descriptor); });
    if (!isAnyoneLeft)
        m_sweepTimer.stop();
}

void StreamListener::drop(int descriptor)
{
    m_connections.erase(descriptor);
    ::close(descriptor);
    resumeAccepting();
}

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
constexpr int looksPerTurn = 2;
constexpr int eventsPerLook = 64;
constexpr int acceptsPerLook = 64;

/// A peer that still sends when its answer is out is listened to until it has been silent for a
/// while: closing on unread bytes would reset the connection, and that can cost it the answer.
constexpr auto sweepInterval = 5s;
constexpr size_t discardSize = 1'048'576;

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

int acceptFrom(int listener)
{
    return accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
}

bool watch(int events, int operation, int descriptor, quint32 what)
{
    epoll_event event {.events = what, .data = {.fd = descriptor}};
    return epoll_ctl(events, operation, descriptor, &event) == 0;
}

/// A peer that has vanished without a word is noticed after two minutes, or, with some of an answer
/// under way, when TCP gives up sending that. For those who take their time only: it costs a timer.
void noticeWhenPeerVanishes(int connection)
{
    setOption(connection, SOL_SOCKET, SO_KEEPALIVE, 1);
    setOption(connection, IPPROTO_TCP, TCP_KEEPIDLE, 60);
    setOption(connection, IPPROTO_TCP, TCP_KEEPINTVL, 15);
    setOption(connection, IPPROTO_TCP, TCP_KEEPCNT, 4);
}

} // namespace

StreamListener::StreamListener()
    : m_received(receiveSize)
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
    closeListener();
    if (m_events >= 0)
        ::close(m_events);
}

std::optional<QString> StreamListener::open(quint16 port)
{
    close();
    m_listener = openBoundSocket(SOCK_STREAM, port);
    if (m_listener < 0)
        return lastError();
    if (listen(m_listener, SOMAXCONN) != 0 || !watchListener()) {
        QString error = lastError();
        closeListener();
        return error;
    }
    m_port = boundPort(m_listener);
    m_connectionLimit = connectionLimit();
    return std::nullopt;
}

bool StreamListener::watchListener()
{
    if (m_events < 0) {
        m_events = epoll_create1(EPOLL_CLOEXEC);
        if (m_events < 0)
            return false;
        m_notifier = std::make_unique<QSocketNotifier>(m_events, QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [this] { handleEvents(); });
    }
    return watch(m_events, EPOLL_CTL_ADD, m_listener, EPOLLIN);
}

void StreamListener::close()
{
    // Those who are through but have not been seen yet are in, too.
    while (m_listener >= 0 && m_connections.size() < m_connectionLimit) {
        const int descriptor = acceptFrom(m_listener);
        if (descriptor < 0)
            break;
        admit(descriptor);
    }
    closeListener();
}

void StreamListener::closeListener()
{
    m_port = 0;
    m_isPaused = false;
    m_resumeTimer.stop();
    if (m_listener >= 0)
        ::close(std::exchange(m_listener, -1));
}

void StreamListener::handleEvents()
{
    // A request comes right after its connection: when some are new, there is one more look. Their
    // requests are answered before the event loop goes on to paint what a command has changed.
    bool areSomeNew = true;
    for (int look = 0; look < looksPerTurn && areSomeNew; ++look)
        areSomeNew = handleEventsAtHand();
}

/// Whether there were new connections among them.
bool StreamListener::handleEventsAtHand()
{
    bool areSomeNew = false;
    std::array<epoll_event, eventsPerLook> events {};
    const int count = epoll_wait(m_events, events.data(), eventsPerLook, 0);
    for (int i = 0; i < count; ++i) {
        const int descriptor = events[static_cast<size_t>(i)].data.fd;
        areSomeNew |= descriptor == m_listener;
        handleEvent(descriptor);
    }
    return areSomeNew;
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
        // Who sends everything before reading anything must not be waited for.
        discardInput(descriptor, connection);
        send(descriptor, connection);
        break;
    case Connection::State::lingering:
        linger(descriptor, connection);
        break;
    }
}

void StreamListener::acceptSome()
{
    for (int i = 0; i < acceptsPerLook; ++i) {
        if (m_connections.size() >= m_connectionLimit) {
            pauseAccepting();
            return;
        }
        const int descriptor = acceptFrom(m_listener);
        if (descriptor < 0) {
            handleAcceptError(errno);
            return;
        }
        // The request is on its way; handleEvents() looks for it when all have been accepted.
        admit(descriptor);
    }
}

void StreamListener::admit(int descriptor)
{
    watchFor(EPOLLIN, descriptor, m_connections[descriptor]);
    if (!m_sweepTimer.isActive())
        m_sweepTimer.start();
}

void StreamListener::handleAcceptError(int error)
{
    if (isShortage(error)) {
        pauseAccepting();
        return;
    }
    // Otherwise the queue is empty, or its first has gone again.
    if (!isFinal(error))
        return;
    closeListener();
    if (onFailure)
        onFailure(errorText(error));
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

/// Drops the connection when that fails. Whoever calls this is done with it for now.
void StreamListener::watchFor(quint32 what, int descriptor, Connection& connection)
{
    if (connection.watchedFor == what)
        return;
    const int operation = connection.watchedFor == 0 ? EPOLL_CTL_ADD : EPOLL_CTL_MOD;
    connection.watchedFor = what;
    if (!watch(m_events, operation, descriptor, what))
        drop(descriptor);
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
        const ssize_t count = ::send(descriptor, connection.bytes.constData() + connection.sent,
            static_cast<size_t>(connection.bytes.size() - connection.sent), MSG_NOSIGNAL);
        if (count < 0 && isTemporary(errno)) {
            watchFor(connection.hasEnded ? EPOLLOUT : EPOLLIN | EPOLLOUT, descriptor, connection);
            return;
        }
        if (count < 0) {
            drop(descriptor);
            return;
        }
        connection.sent += count;
    }
    endAnswer(descriptor, connection);
}

void StreamListener::endAnswer(int descriptor, Connection& connection)
{
    if (shutdown(descriptor, SHUT_WR) != 0) {
        drop(descriptor);
        return;
    }
    connection.state = Connection::State::lingering;
    connection.hasSeenASweep = false;
    connection.bytes.clear();
    if (connection.hasEnded) {
        drop(descriptor);
        return;
    }
    if (!m_sweepTimer.isActive())
        m_sweepTimer.start();
    watchFor(EPOLLIN, descriptor, connection);
}

void StreamListener::linger(int descriptor, Connection& connection)
{
    discardInput(descriptor, connection);
    if (connection.hasEnded)
        drop(descriptor);
}

void StreamListener::discardInput(int descriptor, Connection& connection)
{
    const ssize_t count = recv(descriptor, nullptr, discardSize, MSG_TRUNC);
    connection.hasEnded = count == 0 || (count < 0 && !isTemporary(errno));
    connection.hasSeenASweep = false;
}

/// Ends those who have lingered in silence since the last sweep.
void StreamListener::sweep()
{
    std::vector<int> overdue;
    bool isAnyoneLingering = false;
    for (auto& [descriptor, connection] : m_connections) {
        const bool isNew = !std::exchange(connection.hasSeenASweep, true);
        const bool isLingering = connection.state == Connection::State::lingering;
        if (isLingering && !isNew)
            overdue.push_back(descriptor);
        else if (isLingering)
            isAnyoneLingering = true;
        else if (isNew)
            noticeWhenPeerVanishes(descriptor);
    }
    std::ranges::for_each(overdue, [this](int descriptor) { drop(descriptor); });
    if (!isAnyoneLingering)
        m_sweepTimer.stop();
}

void StreamListener::drop(int descriptor)
{
    m_connections.erase(descriptor);
    ::close(descriptor);
    resumeAccepting();
}

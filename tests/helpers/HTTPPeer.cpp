#include "helpers/HTTPPeer.h"

#include <QDeadlineTimer>

#include <algorithm>
#include <array>
#include <cerrno>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

HTTPPeer::HTTPPeer(quint16 port)
    : m_descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    m_isConnected =
        connect(m_descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

HTTPPeer::~HTTPPeer()
{
    close(m_descriptor);
}

qsizetype HTTPPeer::sendSome(QByteArrayView bytes) const
{
    const auto size = static_cast<size_t>(bytes.size());
    const ssize_t count = ::send(m_descriptor, bytes.data(), size, MSG_DONTWAIT | MSG_NOSIGNAL);
    return std::max<qsizetype>(0, count);
}

void HTTPPeer::endStream() const
{
    shutdown(m_descriptor, SHUT_WR);
}

bool HTTPPeer::receiveAll()
{
    std::array<char, 65536> buffer {};
    for (;;) {
        const ssize_t count = recv(m_descriptor, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (count < 0 && errno == EAGAIN)
            return false;
        m_wasReset = count < 0;
        if (count <= 0)
            return true;
        m_received.append(buffer.data(), count);
    }
}

QByteArray HTTPPeer::answer()
{
    const QDeadlineTimer deadline(10'000);
    while (!receiveAll() && !deadline.hasExpired()) {
        pollfd ready {.fd = m_descriptor, .events = POLLIN, .revents = 0};
        poll(&ready, 1, static_cast<int>(deadline.remainingTime()));
    }
    const qsizetype headEnd = m_received.indexOf("\r\n\r\n");
    return headEnd < 0 ? QByteArray() : m_received.sliced(headEnd + 4);
}

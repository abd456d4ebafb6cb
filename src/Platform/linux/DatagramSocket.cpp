#include "Platform/DatagramSocket.h"

#include "Platform/linux/InternetSocket.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr size_t batchSize = 32;
/// The largest payload of a datagram is a little below this.
constexpr size_t largestDatagram = 65536;
/// How many batches are taken before the event loop gets its turn.
constexpr int batchesPerTurn = 4;
/// Holds a burst of some thousand commands while the main thread is busy elsewhere. The system
/// grants at most net.core.rmem_max of it.
constexpr int receiveBufferSize = 4 * 1024 * 1024;

DatagramPeer peerOf(const sockaddr_in6& address)
{
    DatagramPeer peer;
    if (address.sin6_family == AF_INET) {
        sockaddr_in short4 {};
        std::memcpy(&short4, &address, sizeof short4);
        peer.address[10] = peer.address[11] = 0xff;
        std::memcpy(&peer.address[12], &short4.sin_addr, sizeof short4.sin_addr);
        peer.port = ntohs(short4.sin_port);
        return peer;
    }
    std::memcpy(peer.address.data(), &address.sin6_addr, peer.address.size());
    peer.scope = address.sin6_scope_id;
    peer.port = ntohs(address.sin6_port);
    return peer;
}

/// The descriptor is no socket any more; nothing else ends a bound datagram socket.
bool isFinal(int error)
{
    return error == EBADF || error == ENOTSOCK;
}

} // namespace

/// Room for the datagrams of one system call.
struct DatagramSocket::Batch {
    std::array<mmsghdr, batchSize> messages {};
    std::array<iovec, batchSize> vectors {};
    std::array<sockaddr_in6, batchSize> senders {};
    /// Not written to before a datagram is: most of it never becomes memory.
    std::unique_ptr<std::byte[]> bytes =
        std::make_unique_for_overwrite<std::byte[]>(batchSize * largestDatagram);

    Batch()
    {
        for (size_t i = 0; i < batchSize; ++i) {
            vectors[i] = {bytes.get() + i * largestDatagram, largestDatagram};
            messages[i].msg_hdr.msg_name = &senders[i];
            messages[i].msg_hdr.msg_iov = &vectors[i];
            messages[i].msg_hdr.msg_iovlen = 1;
        }
    }

    int receive(int descriptor)
    {
        for (mmsghdr& message : messages)
            message.msg_hdr.msg_namelen = sizeof(sockaddr_in6);
        return recvmmsg(descriptor, messages.data(), batchSize, 0, nullptr);
    }
};

std::optional<QString> DatagramSocket::open(quint16 port)
{
    close();
    m_descriptor = openBoundSocket(SOCK_DGRAM, port);
    if (m_descriptor < 0)
        return lastError();
    setOption(m_descriptor, SOL_SOCKET, SO_RCVBUF, receiveBufferSize);
    m_port = boundPort(m_descriptor);
    m_batch = std::make_shared<Batch>();
    m_notifier = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [this] { receive(); });
    return std::nullopt;
}

void DatagramSocket::close()
{
    ++m_generation;
    m_port = 0;
    m_batch.reset();
    if (m_notifier) {
        m_notifier->setEnabled(false);
        // Closing may happen inside the notifier's own signal.
        m_notifier.release()->deleteLater();
    }
    if (m_descriptor >= 0)
        ::close(std::exchange(m_descriptor, -1));
}

void DatagramSocket::receive()
{
    const std::shared_ptr<Batch> batch = m_batch;
    const quint64 generation = m_generation;
    for (int turn = 0; turn < batchesPerTurn; ++turn) {
        const int count = batch->receive(m_descriptor);
        if (count < 0 && isFinal(errno)) {
            const QString error = lastError();
            close();
            if (onFailure)
                onFailure(error);
            return;
        }
        for (size_t i = 0; i < static_cast<size_t>(std::max(count, 0)); ++i) {
            const QByteArrayView bytes(&batch->bytes[i * largestDatagram],
                static_cast<qsizetype>(batch->messages[i].msg_len));
            if (onDatagram)
                onDatagram(peerOf(batch->senders[i]), bytes);
            if (generation != m_generation)
                return;
        }
        if (count < static_cast<int>(batchSize))
            return;
    }
}

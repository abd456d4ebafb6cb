#pragma once

#include <QByteArrayView>
#include <QHashFunctions>
#include <QSocketNotifier>
#include <QString>

#include <array>
#include <functional>
#include <memory>
#include <optional>

/// Where a datagram came from. An IPv4 sender has its IPv4-mapped IPv6 address.
struct DatagramPeer {
    std::array<quint8, 16> address {};
    /// The interface of a link-local address, otherwise 0.
    quint32 scope = 0;
    quint32 port = 0;

    bool operator==(const DatagramPeer&) const = default;
};

[[nodiscard]] inline size_t qHash(const DatagramPeer& peer, size_t seed = 0) noexcept
{
    static_assert(std::has_unique_object_representations_v<DatagramPeer>);
    return qHashBits(&peer, sizeof peer, seed);
}

/// Receives datagrams on one port of every interface, IPv6 and IPv4 alike, on the thread that
/// opened it.
///
/// A flood is taken in bounded portions, so that timers and other sockets get their turn. A
/// callback may open and close the socket, but not destroy it.
class DatagramSocket {
public:
    DatagramSocket() = default;
    DatagramSocket(const DatagramSocket&) = delete;
    DatagramSocket& operator=(const DatagramSocket&) = delete;
    ~DatagramSocket() { close(); }

    /// Called with every datagram, the empty ones included. The bytes are valid during the call.
    std::function<void(const DatagramPeer&, QByteArrayView)> onDatagram;

    /// Called with the system's description when the socket can never receive again. It is
    /// closed by then. Errors of a single receive are passed over.
    std::function<void(const QString&)> onFailure;

    /// Opens the socket; port 0 takes any free port. Gives the system's description of what went
    /// wrong, or nothing when the socket is open.
    [[nodiscard]] std::optional<QString> open(quint16 port);

    /// Allowed at any time, also from within a callback.
    void close();

    /// The port that is bound, 0 while closed.
    [[nodiscard]] quint16 port() const { return m_port; }

private:
    struct Batch;

    void receive();

    int m_descriptor = -1;
    quint16 m_port = 0;
    /// Raised by every close(), so that a callback which closes ends the portion it came from.
    quint64 m_generation = 0;
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::shared_ptr<Batch> m_batch;
};

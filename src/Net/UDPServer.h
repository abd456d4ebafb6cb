#pragma once

#include "Net/Command.h"
#include "Net/PeerFlows.h"
#include "Platform/DatagramSocket.h"

#include <functional>

/// Listens for commands on a UDP port: one UTF-8 text per datagram, no reply. Datagrams that
/// spell no command are dropped without a trace.
class UDPServer {
public:
    using Handler = std::function<void(const Command&)>;

    /// Opens nothing yet. `handler` gets every command that arrives. Port 0 means any free port.
    UDPServer(quint16 port, Handler handler);

    /// Called with a line for people whenever the listener comes up or fails.
    std::function<void(const QString&)> onStatus;

    /// (Re)starts listening.
    void start();
    void stop();

    [[nodiscard]] bool isListening() const { return m_isListening; }
    /// The port that is listened on, 0 while there is none.
    [[nodiscard]] quint16 boundPort() const { return m_socket.port(); }
    /// Everyone who has sent a datagram since the last start.
    [[nodiscard]] const PeerFlows& connections() const { return m_connections; }

private:
    void receive(const DatagramPeer& peer, QByteArrayView bytes);
    void report(const QString& status);

    quint16 m_port;
    Handler m_handler;
    DatagramSocket m_socket;
    bool m_isListening = false;
    PeerFlows m_connections;
};

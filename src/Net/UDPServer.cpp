#include "Net/UDPServer.h"

#include "Support/ControlLog.h"
#include "Support/Utf8.h"

using namespace Qt::StringLiterals;

UDPServer::UDPServer(quint16 port, Handler handler)
    : m_port(port)
    , m_handler(std::move(handler))
{
    m_socket.onDatagram = [this](const DatagramPeer& peer, QByteArrayView bytes) {
        receive(peer, bytes);
    };
    m_socket.onFailure = [this](const QString& error) {
        m_isListening = false;
        report(u"UDP %1 failed: %2"_s.arg(m_port).arg(error));
    };
}

void UDPServer::start()
{
    stop();
    if (const auto error = m_socket.open(m_port)) {
        report(u"UDP %1: %2"_s.arg(m_port).arg(*error));
        return;
    }
    m_isListening = true;
    qCInfo(controlLog, "UDP listening on port %d", boundPort());
    report(u"UDP listening on %1"_s.arg(boundPort()));
}

void UDPServer::stop()
{
    m_socket.close();
    m_connections.clear();
    m_isListening = false;
}

void UDPServer::receive(const DatagramPeer& peer, QByteArrayView bytes)
{
    m_connections.insert(peer);
    const std::optional<QString> text = decodeUtf8(bytes);
    if (!text)
        return;
    if (const std::optional<Command> command = Command::parse(*text))
        m_handler(*command);
}

void UDPServer::report(const QString& status)
{
    if (onStatus)
        onStatus(status);
}

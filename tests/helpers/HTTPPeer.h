#pragma once

#include <QByteArray>
#include <QByteArrayView>

/// Someone who connects to a port of this machine, byte by byte under the test's control. It
/// never waits, but for an answer.
class HTTPPeer {
public:
    explicit HTTPPeer(quint16 port);
    HTTPPeer(const HTTPPeer&) = delete;
    HTTPPeer& operator=(const HTTPPeer&) = delete;
    ~HTTPPeer();

    [[nodiscard]] bool isConnected() const { return m_isConnected; }

    /// Sends as much as there is room for, nothing when the other side has closed; gives the
    /// number of bytes that went out.
    [[nodiscard]] qsizetype sendSome(QByteArrayView bytes) const;
    void send(QByteArrayView bytes) const { static_cast<void>(sendSome(bytes)); }
    /// Sends no more, but still receives.
    void endStream() const;

    /// Sends a request for what is at `path`.
    void get(const QByteArray& path) const { send("GET " + path + " HTTP/1.1\r\n\r\n"); }
    /// Waits for the body of the answer, for ten seconds at most; empty when there is none.
    [[nodiscard]] QByteArray answer();

    /// Takes what has come; true once the other side has ended the connection.
    [[nodiscard]] bool receiveAll();
    [[nodiscard]] QByteArray received() const { return m_received; }
    /// The end was an error.
    [[nodiscard]] bool wasReset() const { return m_wasReset; }

private:
    int m_descriptor;
    bool m_isConnected = false;
    bool m_wasReset = false;
    QByteArray m_received;
};

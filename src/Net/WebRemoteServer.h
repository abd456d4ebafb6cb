#pragma once

#include "Platform/StreamListener.h"

#include <functional>

/// Lets phones and browsers follow and drive the timer: two pages, two JSON documents and the
/// commands, over a small HTTP/1.1 with one request to a connection. docs/web-remote.md is the
/// list of what can be asked for.
class WebRemoteServer {
public:
    /// Opens nothing yet. Port 0 means any free port.
    explicit WebRemoteServer(quint16 port);

    /// The document of what is shown, called for every request.
    std::function<QByteArray()> stateJSON = [] { return QByteArrayLiteral("{}"); };
    /// The document of the running order, called for every request.
    std::function<QByteArray()> cuesJSON = [] { return QByteArrayLiteral("[]"); };
    /// Called with the text of a command, which is not empty and may be no command at all.
    std::function<void(const QString&)> onCommand = [](const QString&) {};

    /// (Re)starts listening; what goes wrong is logged.
    void start();
    /// Requests under way are still answered.
    void stop();

    [[nodiscard]] bool isRunning() const { return m_isRunning; }
    /// The port that is listened on, 0 while there is none.
    [[nodiscard]] quint16 boundPort() const { return m_listener.port(); }

    /// The bytes that answer a request with this head; carries out the command in it, if any.
    [[nodiscard]] QByteArray respond(QStringView header) const;

private:
    [[nodiscard]] StreamListener::Reply reply(QByteArrayView received, qsizetype known) const;

    quint16 m_port;
    StreamListener m_listener;
    bool m_isRunning = false;
};

#include "Net/WebRemoteServer.h"

#include "Net/HTTPRequest.h"
#include "Support/ControlLog.h"

#include <QFile>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr QByteArrayView html = "text/html; charset=utf-8";
constexpr QByteArrayView json = "application/json";

QByteArray page(const QString& name)
{
    QFile file(u":/remote/"_s + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("the page %ls is not in the program", qUtf16Printable(name));
    return file.readAll();
}

using Query = QHash<QString, QString>;

QByteArray controlPage(const WebRemoteServer& /*server*/, const Query& /*query*/)
{
    static const QByteArray text = page(u"control.html"_s);
    return text;
}

QByteArray displayPage(const WebRemoteServer& /*server*/, const Query& /*query*/)
{
    static const QByteArray text = page(u"display.html"_s);
    return text;
}

QByteArray state(const WebRemoteServer& server, const Query& /*query*/)
{
    return server.stateJSON();
}

QByteArray cues(const WebRemoteServer& server, const Query& /*query*/)
{
    return server.cuesJSON();
}

QByteArray command(const WebRemoteServer& server, const Query& query)
{
    if (const QString text = query.value(u"c"_s); !text.isEmpty())
        server.onCommand(text);
    return QByteArrayLiteral(R"({"ok":true})");
}

struct Route {
    QStringView path;
    QByteArrayView contentType;
    QByteArray (*body)(const WebRemoteServer&, const Query&);
};

constexpr std::array<Route, 6> routes {{
    {u"/", html, controlPage},
    {u"/index.html", html, controlPage},
    {u"/display", html, displayPage},
    {u"/state", json, state},
    {u"/cues", json, cues},
    {u"/cmd", json, command},
}};

} // namespace

WebRemoteServer::WebRemoteServer(quint16 port)
    : m_port(port)
{
    m_listener.onReceived = [this](QByteArrayView bytes, qsizetype known) {
        return reply(bytes, known);
    };
    m_listener.onFailure = [this](const QString& error) {
        m_isRunning = false;
        qCCritical(controlLog).noquote() << "Web remote failed:" << error;
    };
}

void WebRemoteServer::start()
{
    stop();
    if (m_listener.open(m_port)) {
        qCCritical(controlLog, "Web remote: cannot bind port %d", m_port);
        return;
    }
    m_isRunning = true;
    qCInfo(controlLog, "Web remote on port %d", boundPort());
}

void WebRemoteServer::stop()
{
    m_listener.close();
    m_isRunning = false;
}

QByteArray WebRemoteServer::respond(QStringView header) const
{
    const ParsedTarget target = parseTarget(requestTarget(header));
    const auto* const route = std::ranges::find(routes, QStringView(target.path), &Route::path);
    if (route == routes.end())
        return encode({"404 Not Found", "text/plain", QByteArrayLiteral("Not found")});
    return encode({"200 OK", route->contentType, route->body(*this, target.query)});
}

StreamListener::Reply WebRemoteServer::reply(QByteArrayView received, qsizetype known) const
{
    const RequestHead head = readRequest(received, known);
    switch (head.state) {
    case RequestHead::State::incomplete:
        return {StreamListener::Reply::Kind::waitForMore};
    case RequestHead::State::tooLong:
        return {StreamListener::Reply::Kind::hangUp};
    case RequestHead::State::complete:
        break;
    }
    return {StreamListener::Reply::Kind::answer, respond(head.text)};
}

#include "helpers/SessionBus.h"

using namespace Qt::StringLiterals;

namespace {

const QString connectionName = u"fake-services"_s;

}

uint FakeScreenSaver::Inhibit(const QString& application, const QString& reason)
{
    if (refuses) {
        sendErrorReply(QDBusError::AccessDenied, u"not today"_s);
        return 0;
    }
    inhibitors.append(application + u": "_s + reason);
    return cookie;
}

void FakeScreenSaver::UnInhibit(uint identifier)
{
    released.append(identifier);
}

SessionBus::SessionBus(Services services)
{
    m_daemon.start(u"dbus-daemon"_s,
        {u"--session"_s, u"--nofork"_s, u"--print-address"_s,
            u"--address=unix:path="_s + m_folder.filePath(u"bus"_s)});
    if (!m_daemon.waitForReadyRead())
        qFatal("cannot start dbus-daemon");
    m_address = m_daemon.readAllStandardOutput().trimmed();
    if (services == Services::none)
        return;
    QDBusConnection bus =
        QDBusConnection::connectToBus(QString::fromUtf8(m_address), connectionName);
    const bool isServing = bus.registerObject(u"/org/freedesktop/ScreenSaver"_s, &m_screenSaver,
                               QDBusConnection::ExportAllSlots)
        && bus.registerService(u"org.freedesktop.ScreenSaver"_s);
    if (!isServing)
        qFatal("cannot serve on the bus");
}

SessionBus::~SessionBus()
{
    QDBusConnection::disconnectFromBus(connectionName);
    kill();
}

void SessionBus::kill()
{
    m_daemon.kill();
    m_daemon.waitForFinished();
}

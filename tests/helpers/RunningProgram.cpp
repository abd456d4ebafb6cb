#include "helpers/RunningProgram.h"

#include "helpers/HTTPPeer.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QSettings>
#include <QTest>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int patienceInMilliseconds = 10'000;

}

RunningProgram::RunningProgram()
{
    m_environment.insert(u"HOME"_s, m_home.path());
    m_environment.insert(u"XDG_CONFIG_HOME"_s, m_home.path());
    m_environment.insert(u"XDG_RUNTIME_DIR"_s, m_home.path());
    m_environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    m_environment.remove(u"DBUS_SESSION_BUS_ADDRESS"_s);
    // No sound of a test is heard, wherever it runs.
    m_environment.insert(u"PULSE_SERVER"_s, u"unix:/nonexistent"_s);
    m_process.setProgram(QStringLiteral(TARROW_PROGRAM));
    m_process.setReadChannel(QProcess::StandardError);
    setStored(u"TarrowSettings.v1"_s, settingsDocument());
}

RunningProgram::~RunningProgram()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished();
}

void RunningProgram::setStored(const QString& key, const QByteArray& document)
{
    QSettings settings(configFile(), QSettings::IniFormat);
    settings.setValue(key, document);
}

void RunningProgram::setStoredText(const QString& key, const QString& text)
{
    QSettings settings(configFile(), QSettings::IniFormat);
    settings.setValue(key, text);
}

QByteArray RunningProgram::stored(const QString& key) const
{
    return QSettings(configFile(), QSettings::IniFormat).value(key).toByteArray();
}

QByteArray RunningProgram::settingsDocument(const QJsonObject& changes)
{
    QFile file(QStringLiteral(TARROW_SUPPORT_FOLDER "/settings.json"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no settings for the program");
    QJsonObject document = QJsonDocument::fromJson(file.readAll()).object();
    for (auto change = changes.begin(); change != changes.end(); ++change)
        document.insert(change.key(), change.value());
    return QJsonDocument(document).toJson(QJsonDocument::Compact);
}

bool RunningProgram::start()
{
    m_log.clear();
    m_process.setProcessEnvironment(m_environment);
    m_process.start();
    static const QRegularExpression listening(u"UDP listening on port (\\d+)"_s);
    if (!waitForLog("UDP listening on port"))
        return false;
    m_port = listening.match(QString::fromUtf8(m_log)).captured(1).toUShort();
    return m_port != 0;
}

void RunningProgram::send(const QByteArray& datagram)
{
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(m_port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (sendto(descriptor, datagram.constData(), static_cast<size_t>(datagram.size()), 0,
            reinterpret_cast<const sockaddr*>(&address), sizeof address)
        != datagram.size())
        qFatal("cannot send a datagram");
    close(descriptor);
}

bool RunningProgram::waitForLog(const QByteArray& text)
{
    const QDeadlineTimer deadline(patienceInMilliseconds);
    while (!log().contains(text)) {
        if (deadline.hasExpired() || m_process.state() == QProcess::NotRunning)
            return log().contains(text);
        m_process.waitForReadyRead(static_cast<int>(deadline.remainingTime()));
    }
    return true;
}

QByteArray RunningProgram::webAnswer(const QByteArray& path)
{
    static const QRegularExpression listening(u"Web remote on port (\\d+)"_s);
    if (!waitForLog("Web remote on port"))
        return {};
    const auto match = listening.match(QString::fromUtf8(m_log));
    HTTPPeer peer(match.captured(1).toUShort());
    peer.send("GET " + path + " HTTP/1.1\r\n\r\n");
    (void)QTest::qWaitFor([&] { return peer.receiveAll(); });
    const qsizetype headEnd = peer.received().indexOf("\r\n\r\n");
    return headEnd < 0 ? QByteArray() : peer.received().sliced(headEnd + 4);
}

bool RunningProgram::waitForEnd()
{
    return m_process.state() == QProcess::NotRunning
        || m_process.waitForFinished(patienceInMilliseconds);
}

QByteArray RunningProgram::log()
{
    m_log += m_process.readAllStandardError();
    return m_log;
}

QString RunningProgram::configFile() const
{
    return m_home.filePath(u"quillfen/tarrow.conf"_s);
}

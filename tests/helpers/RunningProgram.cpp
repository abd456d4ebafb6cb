#include "helpers/RunningProgram.h"

#include "helpers/HTTPPeer.h"
#include "helpers/XServer.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QSettings>
#include <QUdpSocket>

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
    setSettings({});
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

void RunningProgram::setSettings(const QJsonObject& changes)
{
    QFile file(QStringLiteral(TARROW_SUPPORT_FOLDER "/settings.json"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no settings for the program");
    QJsonObject document = QJsonDocument::fromJson(file.readAll()).object();
    for (auto change = changes.begin(); change != changes.end(); ++change)
        document.insert(change.key(), change.value());
    setStored(settingsKey, QJsonDocument(document).toJson(QJsonDocument::Compact));
}

QJsonObject RunningProgram::storedSettings() const
{
    return QJsonDocument::fromJson(stored(settingsKey)).object();
}

void RunningProgram::setShownOn(const XServer& server)
{
    m_environment.insert(u"DISPLAY"_s, server.name());
    m_environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
}

void RunningProgram::launch()
{
    m_log.clear();
    m_process.setProcessEnvironment(m_environment);
    m_process.start();
}

bool RunningProgram::start()
{
    launch();
    m_port = loggedPort("UDP listening on port ");
    return m_port != 0;
}

quint16 RunningProgram::loggedPort(const QByteArray& text)
{
    if (!waitForLog(text))
        return 0;
    static const QRegularExpression digits(u"^\\d+"_s);
    const qsizetype start = m_log.indexOf(text) + text.size();
    return digits.match(QString::fromUtf8(m_log.sliced(start))).captured().toUShort();
}

void RunningProgram::send(const QByteArray& datagram)
{
    QUdpSocket socket;
    if (socket.writeDatagram(datagram, QHostAddress::LocalHost, m_port) != datagram.size())
        qFatal("cannot send a datagram");
}

bool RunningProgram::waitForLog(const QByteArray& text, qsizetype count)
{
    const QDeadlineTimer deadline(patienceInMilliseconds);
    while (log().count(text) < count) {
        if (deadline.hasExpired() || m_process.state() == QProcess::NotRunning)
            return log().count(text) >= count;
        m_process.waitForReadyRead(static_cast<int>(deadline.remainingTime()));
    }
    return true;
}

bool RunningProgram::carriesOut(const QByteArray& command)
{
    const QByteArray text = "command ";
    const qsizetype before = log().count(text);
    send(command);
    return waitForLog(text, before + 1);
}

quint16 RunningProgram::webPort()
{
    return loggedPort("Web remote on port ");
}

QByteArray RunningProgram::webAnswer(const QByteArray& path)
{
    HTTPPeer peer(webPort());
    peer.get(path);
    return peer.answer();
}

QJsonObject RunningProgram::state()
{
    return QJsonDocument::fromJson(webAnswer("/state")).object();
}

bool RunningProgram::waitForEnd()
{
    return m_process.state() == QProcess::NotRunning
        || m_process.waitForFinished(patienceInMilliseconds);
}

bool RunningProgram::endsWell()
{
    return waitForEnd() && m_process.exitStatus() == QProcess::NormalExit
        && m_process.exitCode() == 0;
}

bool RunningProgram::quits()
{
    m_process.terminate();
    return endsWell();
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

#include "helpers/XServer.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

XServer::XServer()
{
    m_process.start(u"Xorg"_s,
        {u"-displayfd"_s, u"1"_s, u"-config"_s, QStringLiteral(TARROW_SUPPORT_FOLDER "/xorg.conf"),
            u"-noreset"_s, u"-novtswitch"_s, u"-sharevts"_s, u"-nolisten"_s, u"tcp"_s,
            u"-logfile"_s, m_folder.filePath(u"log"_s)});
    while (m_process.waitForReadyRead() && !m_process.canReadLine()) { }
    const QByteArray number = m_process.readLine().trimmed();
    if (number.isEmpty())
        return;
    m_name = u':' + QString::fromLatin1(number);
    plug(u"DUMMY0"_s, u"small"_s, u"0x0"_s);
    run(u"xrandr --output DUMMY0 --primary"_s);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DISPLAY"_s, m_name);
    m_windowManager.setProcessEnvironment(environment);
    // It says that it is there before it is ready, and loses windows that are shown in between.
    m_windowManager.start(
        u"openbox"_s, {u"--startup"_s, u"xprop -root -f IS_READY 32c -set IS_READY 1"_s});
    m_windowManager.waitForStarted();
    while (m_windowManager.state() == QProcess::Running
        && !run(u"xprop -root IS_READY"_s).contains(u'=')) { }
}

XServer::~XServer()
{
    m_windowManager.terminate();
    m_windowManager.waitForFinished();
    m_process.terminate();
    m_process.waitForFinished();
}

void XServer::plug(const QString& output, const QString& mode, const QString& position)
{
    run(u"xrandr --addmode %1 %2"_s.arg(output, mode));
    run(u"xrandr --output %1 --mode %2 --pos %3"_s.arg(output, mode, position));
}

void XServer::unplug(const QString& output)
{
    run(u"xrandr --output %1 --off"_s.arg(output));
}

QString XServer::run(const QString& command) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DISPLAY"_s, m_name);
    QProcess process;
    process.setProcessEnvironment(environment);
    process.startCommand(command);
    process.waitForFinished();
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

QRect XServer::windowPlace(const QString& title) const
{
    const QString info = run(u"xwininfo -name \"%1\""_s.arg(title));
    if (!info.contains(u"IsViewable"_s))
        return {};
    const auto number = [&](const QString& name) {
        return QRegularExpression(name + u": +(\\d+)"_s).match(info).captured(1).toInt();
    };
    return {number(u"Absolute upper-left X"_s), number(u"Absolute upper-left Y"_s),
        number(u"Width"_s), number(u"Height"_s)};
}

QString XServer::focusedWindow() const
{
    return run(u"xdotool getwindowfocus getwindowname"_s);
}

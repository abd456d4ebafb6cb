#include "helpers/XServer.h"

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
    run(u"xrandr"_s, {u"--output"_s, u"DUMMY0"_s, u"--primary"_s});
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DISPLAY"_s, m_name);
    m_windowManager.setProcessEnvironment(environment);
    m_windowManager.start(u"openbox"_s, {});
    m_windowManager.waitForStarted();
    const QStringList manager {u"-root"_s, u"_NET_SUPPORTING_WM_CHECK"_s};
    while (m_windowManager.state() == QProcess::Running
        && !run(u"xprop"_s, manager).contains(u"window id"_s)) { }
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
    run(u"xrandr"_s, {u"--addmode"_s, output, mode});
    run(u"xrandr"_s, {u"--output"_s, output, u"--mode"_s, mode, u"--pos"_s, position});
}

void XServer::unplug(const QString& output)
{
    run(u"xrandr"_s, {u"--output"_s, output, u"--off"_s});
}

QString XServer::run(const QString& program, const QStringList& arguments) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DISPLAY"_s, m_name);
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    process.waitForFinished();
    return QString::fromUtf8(process.readAllStandardOutput());
}

QString XServer::windowInfo(const QString& title) const
{
    return run(u"xwininfo"_s, {u"-name"_s, title});
}

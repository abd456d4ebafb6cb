#include "helpers/WaylandServer.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString outer = u"outer"_s;
const QString inner = u"inner"_s;

void collect(const QJsonObject& node, const QString& output, QStringList& windows)
{
    const bool isOutput = node[u"type"] == u"output"_s;
    const QString place = isOutput ? node[u"name"].toString() : output;
    if (node.contains(u"app_id"_s) && node[u"fullscreen_mode"].toInt() == 1
        && !node[u"focused"].toBool())
        windows += place + u": "_s + node[u"name"].toString();
    for (const auto& child : node[u"nodes"].toArray())
        collect(child.toObject(), place, windows);
}

} // namespace

WaylandServer::WaylandServer()
{
    // The compositor refuses to run as the superuser.
    if (geteuid() == 0)
        QProcess::execute(u"chown"_s, {u"-R"_s, u"nobody"_s, m_folder.path()});
    const QString host = start(m_outer, outer,
        {u"WLR_BACKENDS=headless"_s, u"WLR_HEADLESS_OUTPUTS=1"_s, u"WLR_LIBINPUT_NO_DEVICES=1"_s});
    if (!host.isEmpty()) {
        m_name = start(m_inner, inner,
            {u"WLR_BACKENDS=wayland"_s, u"WLR_WL_OUTPUTS=2"_s, u"WAYLAND_DISPLAY="_s + host});
    }
}

WaylandServer::~WaylandServer()
{
    for (QProcess* process : {&m_inner, &m_outer}) {
        process->terminate();
        if (!process->waitForFinished(3000))
            process->kill();
        process->waitForFinished();
    }
}

void WaylandServer::plug()
{
    (void)message(inner, {u"create_output"_s});
}

void WaylandServer::unplug(const QString& output)
{
    (void)message(outer, {u"[title=\"%1\"] kill"_s.arg(output)});
}

QStringList WaylandServer::fullScreenWindows() const
{
    QStringList windows;
    const QByteArray reply = message(inner, {u"-t"_s, u"get_tree"_s});
    collect(QJsonDocument::fromJson(reply).object(), {}, windows);
    return windows;
}

/// The path of the compositor's socket for programs, empty if it does not come up.
QString WaylandServer::start(QProcess& process, const QString& name, const QStringList& backend)
{
    const QString display = m_folder.filePath(name == outer ? u"wayland-1"_s : u"wayland-2"_s);
    QStringList words {u"env"_s, u"XDG_RUNTIME_DIR="_s + m_folder.path(),
        u"HOME="_s + m_folder.path(), u"SWAYSOCK="_s + socketOf(name), u"WLR_RENDERER=pixman"_s};
    words += backend;
    words += {u"sway"_s, u"-c"_s, u"/dev/null"_s};
    if (geteuid() == 0)
        words = QStringList {u"runuser"_s, u"-u"_s, u"nobody"_s, u"--"_s} + words;
    process.start(words.takeFirst(), words);
    const bool isUp = QTest::qWaitFor([&] {
        return QFile::exists(display) && !message(name, {u"-t"_s, u"get_tree"_s}).isEmpty();
    });
    return isUp ? display : QString();
}

QString WaylandServer::socketOf(const QString& name) const
{
    return m_folder.filePath(name);
}

QByteArray WaylandServer::message(const QString& name, const QStringList& words) const
{
    QProcess process;
    process.start(u"swaymsg"_s, QStringList {u"-r"_s, u"-s"_s, socketOf(name)} + words);
    process.waitForFinished();
    return process.readAllStandardOutput();
}

#pragma once

#include <QJsonObject>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

/// A Wayland compositor of the test's own with two displays, "WL-1" and "WL-2". It is drawn into
/// a second one, where its displays are windows: closing one unplugs the display.
class WaylandServer {
public:
    WaylandServer();
    WaylandServer(const WaylandServer&) = delete;
    WaylandServer& operator=(const WaylandServer&) = delete;
    ~WaylandServer();

    /// False where there is no such compositor.
    [[nodiscard]] bool isRunning() const { return !m_name.isEmpty(); }
    /// For the environment variable WAYLAND_DISPLAY; an absolute path.
    [[nodiscard]] QString name() const { return m_name; }

    /// Plugs one more display in; they are called "WL-3", "WL-4" and so on.
    void plug();
    void unplug(const QString& output);

    /// The displays that show a full-screen window without having given it the focus, as
    /// "WL-2: the window's title".
    [[nodiscard]] QStringList fullScreenWindows() const;

private:
    [[nodiscard]] QString start(QProcess& process, const QString& name, const QStringList& backend);
    [[nodiscard]] QString socketOf(const QString& name) const;
    [[nodiscard]] QByteArray message(const QString& name, const QStringList& words) const;

    QTemporaryDir m_folder;
    QProcess m_outer;
    QProcess m_inner;
    QString m_name;
};

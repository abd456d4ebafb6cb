#pragma once

#include <QProcess>
#include <QRect>
#include <QString>
#include <QTemporaryDir>

/// An X server of the test's own, with a small window manager, and with displays that are plugged
/// in and out: DUMMY0 at first, and more on request.
class XServer {
public:
    XServer();
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;
    ~XServer();

    /// False where there is no Xorg with the dummy driver.
    [[nodiscard]] bool isRunning() const { return !m_name.isEmpty(); }
    /// For the environment variable DISPLAY.
    [[nodiscard]] QString name() const { return m_name; }

    /// Plugs a display in, or changes its mode: "large" (1920 x 1080) or "small" (1440 x 900), at a
    /// place of the desktop such as "1440x0".
    void plug(const QString& output, const QString& mode, const QString& position);
    void unplug(const QString& output);

    /// Runs a command line on the server to its end, and gives what it prints, trimmed.
    // NOLINTNEXTLINE(modernize-use-nodiscard): most are run for what they do.
    QString run(const QString& command) const;
    /// Where a window with this title is seen, without its frame; a null rectangle when it is not.
    [[nodiscard]] QRect windowPlace(const QString& title) const;
    /// The title of the window that has the keyboard.
    [[nodiscard]] QString focusedWindow() const;

private:
    QTemporaryDir m_folder;
    QProcess m_process;
    QProcess m_windowManager;
    QString m_name;
};

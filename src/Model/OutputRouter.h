#pragma once

#include "Model/AppSettings.h"
#include "Support/EventLoopSubscription.h"

#include <QList>
#include <QRect>

#include <functional>
#include <map>
#include <memory>
#include <optional>

/// One connected display, as the operator reads it.
struct ScreenInfo {
    /// The same at every launch and after re-plugging.
    quint32 id = 0;
    QString name;
    /// In the window system's points.
    qint64 width = 0;
    qint64 height = 0;
    /// The display that holds the window with the focus, otherwise the primary one.
    bool isMain = false;

    bool operator==(const ScreenInfo&) const = default;
};

/// A connected display and where it lies on the desktop.
struct ConnectedDisplay {
    ScreenInfo info;
    QRect frame = {};
    /// The window system's name for the plug that it hangs on.
    QString connector = {};
};

/// The displays of the machine.
class DisplayList {
public:
    DisplayList() = default;
    DisplayList(const DisplayList&) = delete;
    DisplayList& operator=(const DisplayList&) = delete;
    virtual ~DisplayList() = default;

    /// In the system's order.
    [[nodiscard]] virtual QList<ConnectedDisplay> displays() const = 0;

    /// Called when a display has come, gone, moved or changed its size.
    std::function<void()> onChange;
};

/// An open picture on one display; gone when it is destroyed.
class OutputSurface {
public:
    OutputSurface() = default;
    OutputSurface(const OutputSurface&) = delete;
    OutputSurface& operator=(const OutputSurface&) = delete;
    virtual ~OutputSurface() = default;

    /// Covers the display where it lies now.
    virtual void cover(const ConnectedDisplay& display) = 0;
};

/// Keeps the audience picture on every connected display that the operator chose
/// (`AppSettings::enabledScreenIDs`), through displays that come and go.
///
/// A display that goes stays chosen: its picture is back when it is.
class OutputRouter {
public:
    using SurfaceFactory = std::function<std::unique_ptr<OutputSurface>(const ConnectedDisplay&)>;

    /// `settings` must outlive the router. `openSurface` opens a picture that covers a display.
    OutputRouter(
        AppSettings& settings, std::unique_ptr<DisplayList> displays, SurfaceFactory openSurface);
    OutputRouter(const OutputRouter&) = delete;
    OutputRouter& operator=(const OutputRouter&) = delete;
    ~OutputRouter() = default;

    /// In the system's order.
    [[nodiscard]] QList<ScreenInfo> availableScreens() const;
    /// Called after a display has come, gone, moved or changed its size.
    std::function<void()> onScreensChange;

    /// Chooses the first display that is not the main one, so that a connected second screen shows
    /// the time without a hand moved.
    void enableConnectedExternalDisplays();

    /// Brings the pictures in line with the displays and the choice.
    void rebuild();

private:
    void screensChanged();

    AppSettings& m_settings;
    std::unique_ptr<DisplayList> m_displays;
    SurfaceFactory m_openSurface;
    std::map<quint32, std::unique_ptr<OutputSurface>> m_surfaces;
    std::optional<EventLoopSubscription<std::set<quint32>>> m_choice;
};

#pragma once

#include <QAbstractNativeEventFilter>
#include <QHash>
#include <QObject>
#include <QRect>
#include <QString>

#include <functional>
#include <optional>

/// Where the window system itself says that the displays lie.
///
/// On X11 Qt reads the displays again only when the whole desktop's size changes. A display that
/// changes its mode or its place within the same desktop keeps its old geometry there, and the
/// audience would see a picture that is cut off or too small. Where Qt needs no such help (Wayland,
/// offscreen) there are no frames here, and no changes are told.
class DisplayFrames final : private QAbstractNativeEventFilter {
public:
    /// `onChange` is called from the event loop when the displays may lie differently.
    explicit DisplayFrames(std::function<void()> onChange);
    DisplayFrames(const DisplayFrames&) = delete;
    DisplayFrames& operator=(const DisplayFrames&) = delete;
    ~DisplayFrames() override;

    /// In the window system's pixels, by the display's name in QScreen: every display that shows
    /// something. Nothing at all where Qt needs no help.
    [[nodiscard]] std::optional<QHash<QString, QRect>> frames() const;

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    void tell();

    std::function<void()> m_onChange;
    /// The window system's number for "the displays have changed"; 0 without one.
    quint8 m_changeEvent = 0;
    /// One change comes as several events.
    bool m_isTelling = false;
    /// Lives as long as this object, for what is queued to it.
    QObject m_context;
};

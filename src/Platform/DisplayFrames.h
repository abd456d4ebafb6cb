#pragma once

#include <QAbstractNativeEventFilter>
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

    /// In the window system's pixels. `connector` is the display's name in QScreen.
    [[nodiscard]] std::optional<QRect> frame(const QString& connector) const;

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    std::function<void()> m_onChange;
    /// The window system's number for "the displays have changed"; 0 without one.
    quint8 m_changeEvent = 0;
    /// Lives as long as this object, for what is queued to it.
    QObject m_context;
};

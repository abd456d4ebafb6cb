#pragma once

#include "NDI/NDIBridge.h"
#include "NDI/NDISink.h"
#include "NDI/SendSlots.h"
#include "Platform/GridTimer.h"
#include "Views/OutputPicture.h"

#include <QSize>

#include <cstdlib>
#include <memory>
#include <optional>

/// Sends the audience picture as an NDI source, 30 times a second, in the size that the settings
/// have at that moment.
///
/// The source carries the name that the settings have at the start.
class NDISender final : public NDISink {
public:
    static constexpr qint32 fps = 30;

    /// All three must outlive the sender. The runtime is looked for now, and never again.
    NDISender(TimerEngine& engine, AppSettings& settings, MessageAnimator& animator);

    [[nodiscard]] bool isRunning() const override { return m_isRunning; }
    /// Without a runtime, or when it makes no sender, one line on the log says so.
    void start() override;
    void stop() override;

    /// Sends one frame; what the frame timer calls. A frame that cannot be painted is skipped. A
    /// size whose bytes cannot be counted stops the process (see trap()).
    void tick();

    /// Frames that have been painted since the start; the others went out as they were.
    [[nodiscard]] qint64 paintedFrames() const { return m_paintedFrames; }

private:
    struct Free {
        void operator()(uchar* bytes) const { std::free(bytes); }
    };

    [[nodiscard]] bool prepareBuffer(const QSize& size);
    [[nodiscard]] bool paint(const QSize& size);
    void send(const QSize& size);

    TimerEngine& m_engine;
    AppSettings& m_settings;
    MessageAnimator& m_animator;
    NDIBridge m_bridge;
    GridTimer m_timer;
    SendSlots m_slots;
    /// Pixels of premultiplied BGRA, kept from frame to frame.
    std::unique_ptr<uchar, Free> m_buffer;
    qint64 m_bufferSize = 0;
    /// What the buffer shows, absent while it shows nothing that could be sent again.
    std::optional<OutputContent> m_shown;
    QSize m_shownSize;
    qint64 m_paintedFrames = 0;
    bool m_isRunning = false;
};

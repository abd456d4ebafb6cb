#pragma once

#include "Platform/DynamicLibrary.h"

#include <QImage>
#include <QString>

#include <chrono>

/// Receives the video of one NDI source on this machine, with the real runtime.
class NDIReceiver {
public:
    struct Frame {
        QImage picture;
        /// Frames a second, as a fraction.
        int rateNumerator = 0;
        int rateDenominator = 1;
    };

    /// Where the runtime opens the first source of a machine.
    static constexpr quint16 firstPort = 5961;

    /// Connects to the source at a port of this machine, whenever it comes.
    explicit NDIReceiver(const QString& runtimeFolder, quint16 port = firstPort);
    NDIReceiver(const NDIReceiver&) = delete;
    NDIReceiver& operator=(const NDIReceiver&) = delete;
    ~NDIReceiver();

    /// False where there is no runtime, or when it cannot receive.
    [[nodiscard]] bool isReady() const { return m_receiver != nullptr; }

    /// The next frame; a null picture when none has come in this time.
    [[nodiscard]] Frame receive(std::chrono::milliseconds timeout);

private:
    const DynamicLibrary* m_library;
    void* m_receiver = nullptr;
};

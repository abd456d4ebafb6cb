#pragma once

#include "NDI/NDITypes.h"
#include "Platform/DynamicLibrary.h"

#include <QString>
#include <QStringList>

#include <memory>

/// The NDI runtime, looked for once when the bridge is made, and one sender of video.
class NDIBridge {
public:
    NDIBridge();
    NDIBridge(const NDIBridge&) = delete;
    NDIBridge& operator=(const NDIBridge&) = delete;
    ~NDIBridge();

    [[nodiscard]] bool isRuntimeAvailable() const { return m_ndi != nullptr; }
    [[nodiscard]] bool isSending() const { return m_sender != nullptr; }

    /// Makes the sender. True when there is one now, also when there was one under another name.
    [[nodiscard]] bool startWithName(const QString& name);
    void stop();

    /// Sends one frame of `width` * `height` pixels of premultiplied BGRA without gaps. Returns
    /// when the runtime is done with `data`. Does nothing while not sending.
    void sendBGRA(const uchar* data, qint32 width, qint32 height, qint32 fps);

    /// Where the runtime is looked for, in this order: files, and in the end bare names, which the
    /// system looks up.
    [[nodiscard]] static QStringList runtimeCandidates();

private:
    [[nodiscard]] static std::unique_ptr<DynamicLibrary> openRuntime();

    std::unique_ptr<DynamicLibrary> m_library;
    const NDI::FunctionTable* m_ndi = nullptr;
    NDI::SendInstance m_sender = nullptr;
};

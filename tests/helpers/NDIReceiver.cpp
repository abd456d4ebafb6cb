#include "helpers/NDIReceiver.h"

#include "NDI/NDITypes.h"

using namespace Qt::StringLiterals;

namespace {

struct ReceiveSettings {
    const char* sourceName = nullptr;
    const char* sourceAddress = nullptr;
    /// Pictures of BGRA, or of BGRX without transparency.
    int colorFormat = 0;
    int fullBandwidth = 100;
    bool allowFields = false;
};

enum class Received : int { nothing = 0, video = 1 };

/// It stays loaded until the process ends: the runtime keeps some memory for good, which would be
/// nobody's any more once its library is gone. Null where there is no runtime.
const DynamicLibrary* loadedRuntime(const QString& folder)
{
    static const DynamicLibrary* const library =
        DynamicLibrary::open(folder + u"/libndi.so.6"_s).release();
    return library;
}

} // namespace

NDIReceiver::NDIReceiver(const QString& runtimeFolder, quint16 port)
    : m_library(loadedRuntime(runtimeFolder))
{
    if (!m_library || !m_library->function<bool()>("NDIlib_initialize")())
        return;
    const QByteArray address = "127.0.0.1:" + QByteArray::number(port);
    const ReceiveSettings settings {.sourceAddress = address.constData()};
    m_receiver =
        m_library->function<void*(const ReceiveSettings*)>("NDIlib_recv_create_v2")(&settings);
}

NDIReceiver::~NDIReceiver()
{
    if (m_receiver)
        m_library->function<void(void*)>("NDIlib_recv_destroy")(m_receiver);
    if (m_library)
        m_library->function<void()>("NDIlib_destroy")();
}

NDIReceiver::Frame NDIReceiver::receive(std::chrono::milliseconds timeout)
{
    auto* capture = m_library->function<Received(void* receiver, NDI::VideoFrame* video,
        void* audio, void* metadata, uint32_t milliseconds)>("NDIlib_recv_capture_v2");
    auto* freeVideo =
        m_library->function<void(void*, const NDI::VideoFrame*)>("NDIlib_recv_free_video_v2");

    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return {};
        NDI::VideoFrame video;
        if (capture(m_receiver, &video, nullptr, nullptr, static_cast<uint32_t>(left.count()))
            != Received::video)
            continue;
        const QImage picture(
            video.data, video.width, video.height, video.lineStrideInBytes, QImage::Format_RGB32);
        Frame frame {picture.copy(), video.frameRateNumerator, video.frameRateDenominator};
        freeVideo(m_receiver, &video);
        return frame;
    }
}

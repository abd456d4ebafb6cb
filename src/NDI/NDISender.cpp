#include "NDI/NDISender.h"

#include "Support/ControlLog.h"
#include "Support/Trap.h"

#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cstdlib>
#include <limits>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::nanoseconds period = std::chrono::nanoseconds(1s) / NDISender::fps;
/// How early a frame may be sent: timers come a little late, now more and now less.
constexpr std::chrono::nanoseconds unnoticed = 1ms;
constexpr qint64 smallestSide = 16;
constexpr qint64 bytesPerPixel = 4;
/// The painter counts no further.
constexpr int largestPaintedSide = 32767;

/// The frame's size for the runtime, which counts pixels in 32 bits.
QSize frameSize(const AppSettings& settings)
{
    const qint64 width = std::max(settings.ndiWidth.value(), smallestSide);
    const qint64 height = std::max(settings.ndiHeight.value(), smallestSide);
    constexpr qint64 most = std::numeric_limits<qint32>::max();
    qint64 bytes = 0;
    if (width > most || height > most
        || __builtin_mul_overflow(width * bytesPerPixel, height, &bytes))
        trap(u"an NDI frame of %1 x %2 pixels"_s.arg(width).arg(height));
    return {static_cast<int>(width), static_cast<int>(height)};
}

} // namespace

NDISender::NDISender(TimerEngine& engine, AppSettings& settings, MessageAnimator& animator)
    : m_engine(engine)
    , m_settings(settings)
    , m_animator(animator)
    , m_timer(period, [this] { tick(); })
    , m_slots(period)
{
}

void NDISender::start()
{
    if (m_isRunning)
        return;
    if (!m_bridge.isRuntimeAvailable()) {
        qCCritical(controlLog,
            "NDI runtime not found — install the NDI Tools/SDK runtime to enable NDI output");
        return;
    }
    const QString name = m_settings.ndiSourceName;
    if (!m_bridge.startWithName(name)) {
        qCCritical(controlLog, "NDI: failed to create sender");
        return;
    }
    m_isRunning = true;
    m_slots = SendSlots(period);
    m_timer.start();
    qCInfo(controlLog, "NDI sending as \"%s\"", qUtf8Printable(name));
}

void NDISender::stop()
{
    m_timer.stop();
    m_bridge.stop();
    m_buffer.reset();
    m_bufferSize = 0;
    m_shown.reset();
    m_isRunning = false;
}

void NDISender::tick()
{
    const QSize size = frameSize(m_settings);
    if (prepareBuffer(size) && paint(size))
        send(size);
}

void NDISender::send(const QSize& size)
{
    const auto early = m_slots.take(std::chrono::steady_clock::now());
    m_bridge.sendBGRA(m_buffer.get(), size.width(), size.height(), fps);
    // Once in step with the runtime again, the frames to come are not held back.
    if (early > unnoticed)
        m_timer.shift(early);
}

bool NDISender::prepareBuffer(const QSize& size)
{
    const qint64 bytes = bytesPerPixel * size.width() * size.height();
    if (m_bufferSize != bytes) {
        m_buffer.reset(static_cast<uchar*>(std::calloc(static_cast<size_t>(bytes), 1)));
        m_bufferSize = m_buffer ? bytes : 0;
        m_shown.reset();
    }
    return m_buffer != nullptr;
}

/// Brings the buffer up to date; false when it cannot be painted.
bool NDISender::paint(const QSize& size)
{
    if (size.width() > largestPaintedSide || size.height() > largestPaintedSide)
        return false;
    const OutputContent content = OutputContent::of(m_engine, m_settings, m_animator);
    const OutputContent visible = content.visiblePart();
    if (m_shown == visible && m_shownSize == size)
        return true;
    QImage picture(m_buffer.get(), size.width(), size.height(),
        static_cast<qsizetype>(bytesPerPixel) * size.width(), QImage::Format_ARGB32_Premultiplied);
    QPainter painter;
    if (!painter.begin(&picture))
        return false;
    paintOutput(painter, size, content);
    painter.end();
    ++m_paintedFrames;
    m_shownSize = size;
    m_shown.reset();
    // A background that lets the frame before shine through must be painted again and again.
    if (content.colors.background.a >= 1 || content.snapshot.strobe)
        m_shown = visible;
    return true;
}

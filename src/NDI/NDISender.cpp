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

constexpr qint64 smallestSide = 16;
constexpr qint64 bytesPerPixel = 4;
/// The painter counts no further.
constexpr int largestPaintedSide = 32767;

/// The frame's size for the runtime, which counts lines and their bytes in 32 bits.
QSize frameSize(const AppSettings& settings)
{
    const qint64 width = std::max(settings.ndiWidth.value(), smallestSide);
    const qint64 height = std::max(settings.ndiHeight.value(), smallestSide);
    constexpr qint64 most = std::numeric_limits<qint32>::max();
    qint64 bytes = 0;
    if (width > most / bytesPerPixel || height > most
        || __builtin_mul_overflow(width * bytesPerPixel, height, &bytes))
        trap(u"an NDI frame of %1 x %2 pixels"_s.arg(width).arg(height));
    return {static_cast<int>(width), static_cast<int>(height)};
}

} // namespace

NDISender::NDISender(TimerEngine& engine, AppSettings& settings, MessageAnimator& animator)
    : m_engine(engine)
    , m_settings(settings)
    , m_animator(animator)
{
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setSingleShot(true);
    QObject::connect(&m_timer, &QTimer::timeout, [this] {
        tick();
        // Against the grid and not against this frame, which may be late: a runtime that is sent
        // frames faster than they are due holds its caller back.
        m_timer.start(untilNextFrame(std::chrono::nanoseconds(m_sinceStart.nsecsElapsed())));
    });
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
    m_sinceStart.start();
    m_timer.start(untilNextFrame(0ns));
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
        m_bridge.sendBGRA(m_buffer.get(), size.width(), size.height(), fps);
}

std::chrono::milliseconds NDISender::untilNextFrame(std::chrono::nanoseconds elapsed)
{
    using Frames = std::chrono::duration<qint64, std::ratio<1, fps>>;
    const auto next = std::chrono::floor<Frames>(elapsed) + Frames(1);
    return std::chrono::ceil<std::chrono::milliseconds>(next - elapsed);
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

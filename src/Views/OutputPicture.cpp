#include "Views/OutputPicture.h"

#include "Support/Fonts.h"
#include "Views/MessagePicture.h"
#include "Views/TimeGlyphs.h"

#include <QFontMetricsF>

#include <algorithm>

namespace {

constexpr double timeShareWithMessage = 0.4;
/// The time is measured at this size, and drawn at any by scaling the painter.
constexpr int timeLayoutSize = 200;

/// A time as it is drawn in a box: around the box's centre, in units of `scale`.
struct TimeLayout {
    TimeLayout(const QSizeF& box, const QString& time)
        : scale(timeFontSize(box) / timeLayoutSize)
        , text(metrics().elidedText(time, Qt::ElideRight, box.width() / scale))
        , start(-metrics().horizontalAdvance(text) / 2,
              (metrics().ascent() - metrics().descent()) / 2)
    {
    }

    [[nodiscard]] static const QFont& font()
    {
        static const QFont font = Fonts::monospaced(timeLayoutSize, QFont::Medium);
        return font;
    }
    [[nodiscard]] static const QFontMetricsF& metrics()
    {
        static const QFontMetricsF metrics(font());
        return metrics;
    }

    double scale;
    QString text;
    QPointF start;
};

enum class TimeMotion { none, resizing };

void paintTime(QPainter& painter, const QRectF& box, const QString& text, TimeMotion motion)
{
    const TimeLayout layout(box.size(), text);
    painter.save();
    painter.translate(box.center());
    painter.scale(layout.scale, layout.scale);
    painter.setFont(TimeLayout::font());
    // While it moves it has another size in every frame, and steps of whole pixels would be seen.
    if (motion == TimeMotion::resizing || !paintTimeGlyphs(painter, layout.start, layout.text))
        painter.drawText(layout.start, layout.text);
    painter.restore();
}

} // namespace

OutputColors OutputColors::of(const AppSettings& settings, TimeThreshold threshold)
{
    return {.background = settings.backgroundColor, .text = color(threshold, settings)};
}

OutputContent OutputContent::of(
    const TimerEngine& engine, const AppSettings& settings, const MessageAnimator& animator)
{
    const DisplaySnapshot& snapshot = engine.snapshot.value();
    return {
        .snapshot = snapshot,
        .colors = OutputColors::of(settings, snapshot.threshold),
        .transition = animator.current(),
    };
}

OutputContent OutputContent::visiblePart() const
{
    OutputContent visible;
    if (snapshot.strobe) {
        visible.snapshot.strobe = true;
    } else if (snapshot.isBlackout) {
        visible.snapshot.isBlackout = true;
        visible.colors.background = colors.background;
    } else {
        visible = *this;
        // The threshold is seen as a color, and the message as its transition.
        visible.snapshot.threshold = TimeThreshold::normal;
        visible.snapshot.message.reset();
    }
    return visible;
}

void paintOutput(QPainter& painter, const QSizeF& size, const OutputContent& content)
{
    const auto& [snapshot, colors, transition] = content;
    const QRectF bounds(QPointF(), size);
    if (size.isEmpty())
        return;
    painter.save();
    painter.setClipRect(bounds, Qt::IntersectClip);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    painter.fillRect(bounds, toColor(colors.background));
    if (!snapshot.isBlackout) {
        painter.setPen(toColor(colors.text));
        const QRectF time = timeBox(size, transition.presence);
        const bool isSettled = transition.presence == 0 || transition.presence == 1;
        paintTime(
            painter, time, snapshot.timeText, isSettled ? TimeMotion::none : TimeMotion::resizing);
        // The message moves in from below as the time makes room for it.
        const QRectF box(size.width() * 0.05, time.bottom(), size.width() * 0.9,
            size.height() * (1 - timeShareWithMessage));
        for (const MessageLayer& layer : transition.layers)
            paintMessage(painter, box, 0.26 * size.height(), layer);
    }
    if (snapshot.strobe)
        painter.fillRect(bounds, Qt::white);
    painter.restore();
}

QRectF timeBox(const QSizeF& size, double messagePresence)
{
    const double share = 1 - (1 - timeShareWithMessage) * messagePresence;
    return {0, 0, size.width(), size.height() * share};
}

QRectF timeInk(const QRectF& box, const QString& text)
{
    const TimeLayout layout(box.size(), text);
    const QRectF ink = TimeLayout::metrics().tightBoundingRect(layout.text);
    return {
        box.center() + (layout.start + ink.topLeft()) * layout.scale, ink.size() * layout.scale};
}

double timeFontSize(const QSizeF& box)
{
    return std::max(8.0, std::min(0.9 * box.height(), 0.92 * box.width() / 3.6));
}

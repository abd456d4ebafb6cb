#include "Views/OutputView.h"

#include <QPaintEvent>

namespace {

/// The part of the content that can be seen: behind a blackout nothing but the background, behind
/// the strobe nothing at all.
template <typename Content> Content visiblePart(Content content)
{
    if (content.snapshot.strobe) {
        content = {};
        content.snapshot.strobe = true;
    } else if (content.snapshot.isBlackout) {
        const RGBColor background = content.colors.background;
        content = {};
        content.snapshot.isBlackout = true;
        content.colors.background = background;
    } else {
        // The threshold is seen as a color, and the message as its transition.
        content.snapshot.threshold = TimeThreshold::normal;
        content.snapshot.message.reset();
    }
    return content;
}

} // namespace

OutputView::OutputView(
    TimerEngine& engine, AppSettings& settings, MessageAnimator& animator, QWidget* parent)
    : QWidget(parent)
    , m_engine(engine)
    , m_settings(settings)
    , m_animator(animator)
    , m_shown(content())
    , m_notifiers(settings.observe([this] { updateWhatChanged(); }))
{
    // A background that lets something through lets black through.
    setAttribute(Qt::WA_OpaquePaintEvent);
    m_notifiers.push_back(engine.snapshot.addNotifier([this] { updateWhatChanged(); }));
    connect(&animator, &MessageAnimator::moved, this, &OutputView::updateWhatChanged);
}

OutputView::Content OutputView::content() const
{
    const DisplaySnapshot& snapshot = m_engine.snapshot.value();
    return {
        .snapshot = snapshot,
        .colors = OutputColors::of(m_settings, snapshot.threshold),
        .transition = m_animator.current(),
    };
}

void OutputView::updateWhatChanged()
{
    const Content before = visiblePart(m_shown);
    m_shown = content();
    Content after = visiblePart(m_shown);
    if (after == before)
        return;
    after.snapshot.timeText = before.snapshot.timeText;
    if (after == before)
        update(timeBox(size(), m_shown.transition.presence).toAlignedRect());
    else
        update();
}

void OutputView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    painter.setClipRegion(event->region());
    if (m_shown.colors.background.a < 1)
        painter.fillRect(rect(), Qt::black);
    paintOutput(painter, size(), m_shown.snapshot, m_shown.colors, m_shown.transition);
}

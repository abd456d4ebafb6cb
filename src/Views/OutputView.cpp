#include "Views/OutputView.h"

#include <QPaintEvent>

#include <utility>

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

OutputContent OutputView::content() const
{
    return OutputContent::of(m_engine, m_settings, m_animator);
}

void OutputView::updateWhatChanged()
{
    const OutputContent before = m_shown.visiblePart();
    m_shown = content();
    OutputContent after = m_shown.visiblePart();
    if (after == before)
        return;
    const QString newTime = std::exchange(after.snapshot.timeText, before.snapshot.timeText);
    if (after != before) {
        update();
        return;
    }
    const QRectF box = timeBox(size(), m_shown.transition.presence);
    const QRect ink =
        (timeInk(box, before.snapshot.timeText) | timeInk(box, newTime)).toAlignedRect();
    update(box.toAlignedRect() | ink.adjusted(-1, -1, 1, 1));
}

void OutputView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    painter.setClipRegion(event->region());
    if (m_shown.colors.background.a < 1)
        painter.fillRect(rect(), Qt::black);
    paintOutput(painter, size(), m_shown);
}

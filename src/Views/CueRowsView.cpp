#include "Views/CueRowsView.h"

#include "Views/Components/ConsoleStyle.h"
#include "Views/CueRowsAccessible.h"

#include <QAccessible>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QToolTip>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int mostHeight = 168;
constexpr int rowSpacing = 2;

} // namespace

CueRowsView::CueRowsView(CueController& cues, QWidget* parent)
    : QAbstractScrollArea(parent)
    , m_cues(cues)
    , m_shown {.cues = cues.cues, .currentIndex = cues.currentIndex()}
    , m_cuesNotifier(cues.cues.addNotifier([this] { followCues(); }))
    , m_currentNotifier(cues.currentCueID.addNotifier([this] {
        followCues();
        if (m_shown.currentIndex)
            bringIntoView(*m_shown.currentIndex);
    }))
{
    makeCueRowsAccessible();
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessibleName(u"Running order"_s);
    viewport()->setAutoFillBackground(false);
    viewport()->setMouseTracking(true);
}

std::optional<CueRow> CueRowsView::Content::row(qsizetype index) const
{
    if (index < 0 || index >= cues.size())
        return std::nullopt;
    return CueRow {.cue = cues[index],
        .isCurrent = currentIndex == index,
        .isFirst = index == 0,
        .isLast = index + 1 == cues.size()};
}

void CueRowsView::followCues()
{
    const Content before = std::exchange(
        m_shown, Content {.cues = m_cues.cues, .currentIndex = m_cues.currentIndex()});
    forgetPressOnAnotherCue(before.cues);
    keepFocusWithItsCue(before.cues);
    const qsizetype last = rowAt(viewport()->height() - 1);
    for (qsizetype index = rowAt(0); index <= last; ++index) {
        if (row(index) != before.row(index))
            updateRow(index);
    }
    if (rowCount() != before.cues.size()) {
        updateScrollBar();
        updateGeometry();
    }
    point(m_pointer);
}

/// A press that began on one cue must not end on another.
void CueRowsView::forgetPressOnAnotherCue(const QList<Cue>& before)
{
    if (!m_pressed)
        return;
    const qsizetype index = m_pressed->row;
    if (index >= rowCount() || m_shown.cues[index].id != before[index].id)
        m_pressed.reset();
}

void CueRowsView::keepFocusWithItsCue(const QList<Cue>& before)
{
    if (m_focus.row >= before.size())
        return;
    const QUuid id = before[m_focus.row].id;
    if (m_focus.row < rowCount() && m_shown.cues[m_focus.row].id == id)
        return;
    updateRow(m_focus.row);
    const QList<Cue>& cues = m_shown.cues;
    const auto cue = std::ranges::find(cues, id, &Cue::id);
    if (cue != cues.end())
        m_focus.row = cue - cues.begin();
    else
        m_focus.row = std::clamp<qsizetype>(m_focus.row, 0, std::max<qsizetype>(0, rowCount() - 1));
    updateRow(m_focus.row);
}

void CueRowsView::perform(qsizetype index, Action action)
{
    const std::optional<CueRow> target = row(index);
    if (!target || !target->isEnabled(action))
        return;
    switch (action) {
    case Action::start:
        return m_cues.load(index);
    case Action::moveUp:
        return m_cues.move(index, -1);
    case Action::moveDown:
        return m_cues.move(index, 1);
    case Action::remove:
        return m_cues.remove(index);
    }
}

// Geometry

int CueRowsView::rowPitch() const
{
    return CueRowPicture::height(font()) + rowSpacing;
}

int CueRowsView::contentHeight() const
{
    return std::max(0, static_cast<int>(rowCount()) * rowPitch() - rowSpacing);
}

QSize CueRowsView::sizeHint() const
{
    return {200, std::min(contentHeight(), mostHeight)};
}

qsizetype CueRowsView::rowAt(int y) const
{
    return (y + verticalScrollBar()->value()) / rowPitch();
}

QRect CueRowsView::rowRect(qsizetype index) const
{
    const int top = static_cast<int>(index) * rowPitch() - verticalScrollBar()->value();
    return {0, top, viewport()->width(), CueRowPicture::height(font())};
}

QRect CueRowsView::buttonRect(qsizetype index, Action action) const
{
    return CueRowPicture::button(rowRect(index), action);
}

std::optional<CueRowsView::Target> CueRowsView::targetAt(const QPoint& point) const
{
    const qsizetype index = rowAt(point.y());
    const std::optional<CueRow> target = row(index);
    for (const Action action : allCueRowActions) {
        if (target && target->isEnabled(action) && buttonRect(index, action).contains(point))
            return Target {index, action};
    }
    return std::nullopt;
}

void CueRowsView::updateRow(qsizetype index)
{
    viewport()->update(rowRect(index));
}

void CueRowsView::updateScrollBar()
{
    const int height = viewport()->height();
    verticalScrollBar()->setSingleStep(rowPitch());
    verticalScrollBar()->setPageStep(height);
    verticalScrollBar()->setRange(0, std::max(0, contentHeight() - height));
}

void CueRowsView::bringIntoView(qsizetype index)
{
    const QRect line = rowRect(index);
    QScrollBar& bar = *verticalScrollBar();
    if (line.top() < 0)
        bar.setValue(bar.value() + line.top());
    else if (line.bottom() >= viewport()->height())
        bar.setValue(bar.value() + line.bottom() + 1 - viewport()->height());
}

void CueRowsView::resizeEvent(QResizeEvent*)
{
    updateScrollBar();
}

/// What has become current while nobody looked could not be brought into view then.
void CueRowsView::showEvent(QShowEvent* event)
{
    QAbstractScrollArea::showEvent(event);
    if (m_shown.currentIndex)
        bringIntoView(*m_shown.currentIndex);
}

void CueRowsView::changeEvent(QEvent* event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() != QEvent::FontChange)
        return;
    updateScrollBar();
    updateGeometry();
}

void CueRowsView::scrollContentsBy(int, int)
{
    viewport()->update();
    point(m_pointer);
}

// Keyboard

void CueRowsView::focusInEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusInEvent(event);
    if (event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason)
        bringIntoView(m_focus.row);
    updateRow(m_focus.row);
    tellFocus();
}

void CueRowsView::focusOutEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusOutEvent(event);
    updateRow(m_focus.row);
}

void CueRowsView::moveFocus(const Target& target)
{
    updateRow(m_focus.row);
    m_focus = target;
    updateRow(m_focus.row);
    tellFocus();
}

void CueRowsView::tellFocus()
{
    if (!hasFocus() || rowCount() == 0)
        return;
    QAccessibleEvent event(this, QAccessible::Focus);
    event.setChild(static_cast<int>(m_focus.row));
    QAccessible::updateAccessibility(&event);
}

std::optional<CueRowsView::Target> CueRowsView::targetAfter(int key) const
{
    const qsizetype page = std::max(1, viewport()->height() / rowPitch());
    const qsizetype last = std::max<qsizetype>(0, rowCount() - 1);
    qsizetype index = m_focus.row;
    int action = static_cast<int>(m_focus.action);
    switch (key) {
    case Qt::Key_Up:
        index -= 1;
        break;
    case Qt::Key_Down:
        index += 1;
        break;
    case Qt::Key_PageUp:
        index -= page;
        break;
    case Qt::Key_PageDown:
        index += page;
        break;
    case Qt::Key_Home:
        index = 0;
        break;
    case Qt::Key_End:
        index = last;
        break;
    case Qt::Key_Left:
        action -= 1;
        break;
    case Qt::Key_Right:
        action += 1;
        break;
    default:
        return std::nullopt;
    }
    const int lastAction = static_cast<int>(allCueRowActions.size()) - 1;
    return Target {std::clamp<qsizetype>(index, 0, last),
        static_cast<Action>(std::clamp(action, 0, lastAction))};
}

void CueRowsView::keyPressEvent(QKeyEvent* event)
{
    const bool isPlain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    const std::optional<Target> target = targetAfter(event->key());
    // A key that is held down must not remove one cue after the other.
    const bool isPress = event->key() == Qt::Key_Space && !event->isAutoRepeat();
    if (!isPlain || (!target && !isPress))
        return event->ignore();
    if (target)
        moveFocus(*target);
    else
        perform(m_focus.row, m_focus.action);
    bringIntoView(m_focus.row);
}

// Mouse

void CueRowsView::point(const std::optional<QPoint>& place)
{
    m_pointer = place;
    const std::optional<Target> target = place ? targetAt(*place) : std::nullopt;
    if (target == m_hovered)
        return;
    for (const auto& changed : {std::exchange(m_hovered, target), target}) {
        if (changed)
            viewport()->update(buttonRect(changed->row, changed->action));
    }
}

void CueRowsView::mousePressEvent(QMouseEvent* event)
{
    const QPoint place = event->position().toPoint();
    const qsizetype index = rowAt(place.y());
    if (event->button() != Qt::LeftButton || index >= rowCount())
        return event->ignore();
    m_pressed = targetAt(place);
    moveFocus(m_pressed.value_or(Target {index, m_focus.action}));
    updateRow(index);
}

/// The second of two quick clicks is a click like the first.
void CueRowsView::mouseDoubleClickEvent(QMouseEvent* event)
{
    mousePressEvent(event);
}

void CueRowsView::mouseMoveEvent(QMouseEvent* event)
{
    point(event->position().toPoint());
}

void CueRowsView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return event->ignore();
    const std::optional<Target> pressed = std::exchange(m_pressed, std::nullopt);
    if (!pressed)
        return;
    updateRow(pressed->row);
    if (pressed == targetAt(event->position().toPoint()))
        perform(pressed->row, pressed->action);
}

QString CueRowsView::toolTipAt(const QPoint& point) const
{
    if (const auto target = targetAt(point); target && target->action == Action::start)
        return actionName(Action::start);
    const QRect bounds = rowRect(rowAt(point.y()));
    const std::optional<CueRow> pointed = row(rowAt(point.y()));
    const CueRowPicture picture(font(), palette());
    if (!pointed || !picture.title(bounds, *pointed).contains(point)
        || !picture.isTitleCut(bounds, *pointed))
        return {};
    // As rich text in any case, which breaks lines.
    return u"<p>%1</p>"_s.arg(pointed->title().toHtmlEscaped());
}

bool CueRowsView::viewportEvent(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        QToolTip::showText(help->globalPos(), toolTipAt(help->pos()), viewport());
        return true;
    }
    if (event->type() == QEvent::Leave)
        point(std::nullopt);
    return QAbstractScrollArea::viewportEvent(event);
}

// Picture

std::optional<CueRowAction> CueRowsView::actionOn(
    qsizetype index, const std::optional<Target>& target) const
{
    return target && target->row == index ? std::optional(target->action) : std::nullopt;
}

void CueRowsView::paintEvent(QPaintEvent* event)
{
    QPainter painter(viewport());
    painter.setRenderHint(QPainter::Antialiasing);
    const CueRowPicture picture(font(), palette());
    const std::optional<Target> focused = showsFocus(*this) ? std::optional(m_focus) : std::nullopt;
    const qsizetype last = std::min(rowAt(event->rect().bottom()), rowCount() - 1);
    for (qsizetype index = rowAt(event->rect().top()); index <= last; ++index) {
        if (!event->region().intersects(rowRect(index)))
            continue;
        picture.paint(painter, rowRect(index), *row(index),
            {.focused = actionOn(index, focused),
                .hovered = actionOn(index, m_hovered),
                .pressed = actionOn(index, m_pressed)});
    }
}

#include "Views/CueRowsView.h"

#include "Model/TimeText.h"
#include "Support/CheckedConversions.h"
#include "Support/Symbols.h"
#include "Support/TextLine.h"
#include "Views/Components/ConsoleStyle.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QToolTip>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

using Action = CueRowsView::Action;

struct ButtonLook {
    QStringView symbol;
    QStringView name;
};

/// In the order of Action, which is that of the buttons from left to right.
constexpr std::array<ButtonLook, CueRowsView::actionCount> buttonLooks {{
    {u"play.fill", u"Load and start this cue"},
    {u"chevron.up", u"Move up"},
    {u"chevron.down", u"Move down"},
    {u"xmark", u"Delete"},
}};

constexpr int mostHeight = 168;
constexpr int rowSpacing = 2;
constexpr int rowPadding = 1;
constexpr int leastLineHeight = 20;
constexpr int sideMargin = 4;
constexpr int indicatorSize = 15;
constexpr int indicatorGap = 6;
constexpr int titleGap = 8;
constexpr int buttonWidth = 22;
constexpr int buttonSymbolSize = 11;
constexpr double cornerRadius = 4;

/// No row shows more of a title, and laying out a long one would take long.
constexpr qsizetype longestTitle = 300;

QString durationText(const Cue& cue)
{
    return minutesAndSeconds(magnitude(cue.seconds));
}

TextLine durationLine(const Cue& cue, const QFont& font)
{
    return {durationText(cue), font, TextLine::Digits::equalCells};
}

TextLine titleLine(const Cue& cue, const QFont& font)
{
    return {cue.title.first(std::min(cue.title.size(), longestTitle)), font};
}

void drawInMiddle(QPainter& painter, const TextLine& line, double left, const QRect& row)
{
    line.draw(painter, {left, row.top() + (row.height() - line.height()) / 2});
}

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
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessibleName(u"Running order"_s);
    viewport()->setAutoFillBackground(false);
    viewport()->setMouseTracking(true);
}

QString CueRowsView::actionName(Action action)
{
    return buttonLooks[static_cast<size_t>(action)].name.toString();
}

QString CueRowsView::description(qsizetype row) const
{
    const Cue& cue = m_shown.cues[row];
    const QString text = u"%1, %2"_s.arg(cue.title, durationText(cue));
    return row == m_shown.currentIndex ? text + u", current cue"_s : text;
}

bool CueRowsView::Content::looksTheSame(const Content& other, qsizetype row) const
{
    if (row >= cues.size() || row >= other.cues.size())
        return row >= cues.size() && row >= other.cues.size();
    const auto isLast = [row](const Content& content) { return row + 1 == content.cues.size(); };
    return cues[row] == other.cues[row] && isLast(*this) == isLast(other)
        && (currentIndex == row) == (other.currentIndex == row);
}

void CueRowsView::followCues()
{
    const Content before = std::exchange(
        m_shown, Content {.cues = m_cues.cues, .currentIndex = m_cues.currentIndex()});
    // A press that began on one cue must not end on another.
    if (m_pressed
        && (m_pressed->row >= rowCount()
            || m_shown.cues[m_pressed->row].id != before.cues[m_pressed->row].id))
        m_pressed.reset();
    keepFocusWithItsCue(before.cues);
    const qsizetype last = std::max(rowCount(), before.cues.size()) - 1;
    for (qsizetype row = rowAt(0); row <= std::min(rowAt(viewport()->height() - 1), last); ++row) {
        if (!m_shown.looksTheSame(before, row))
            updateRow(row);
    }
    if (rowCount() != before.cues.size()) {
        updateScrollBar();
        updateGeometry();
    }
    point(m_pointer);
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

bool CueRowsView::isEnabled(qsizetype row, Action action) const
{
    if (row < 0 || row >= rowCount())
        return false;
    return (action != Action::moveUp || row > 0)
        && (action != Action::moveDown || row + 1 < rowCount());
}

void CueRowsView::perform(qsizetype row, Action action)
{
    if (!isEnabled(row, action))
        return;
    switch (action) {
    case Action::start:
        return m_cues.load(row);
    case Action::moveUp:
        return m_cues.move(row, -1);
    case Action::moveDown:
        return m_cues.move(row, 1);
    case Action::remove:
        return m_cues.remove(row);
    }
}

// Geometry

int CueRowsView::rowHeight() const
{
    return std::max(leastLineHeight, fontMetrics().height()) + 2 * rowPadding;
}

int CueRowsView::rowPitch() const
{
    return rowHeight() + rowSpacing;
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

QRect CueRowsView::rowRect(qsizetype row) const
{
    const int top = static_cast<int>(row) * rowPitch() - verticalScrollBar()->value();
    return {0, top, viewport()->width(), rowHeight()};
}

QRect CueRowsView::buttonRect(qsizetype row, Action action) const
{
    const QRect line = rowRect(row);
    const int behind = actionCount - static_cast<int>(action);
    return {line.right() + 1 - behind * buttonWidth, line.top(), buttonWidth, line.height()};
}

QRect CueRowsView::titleRect(qsizetype row) const
{
    const double duration = durationLine(m_shown.cues[row], font()).width();
    QRect rect = rowRect(row);
    rect.setLeft(sideMargin + indicatorSize + indicatorGap);
    rect.setRight(buttonRect(row, Action::start).left() - sideMargin - qCeil(duration) - titleGap);
    return rect;
}

std::optional<CueRowsView::Target> CueRowsView::targetAt(const QPoint& point) const
{
    const qsizetype row = rowAt(point.y());
    for (int action = 0; action < actionCount; ++action) {
        const Target target {row, static_cast<Action>(action)};
        if (isEnabled(row, target.action) && buttonRect(row, target.action).contains(point))
            return target;
    }
    return std::nullopt;
}

void CueRowsView::updateRow(qsizetype row)
{
    viewport()->update(rowRect(row));
}

void CueRowsView::updateScrollBar()
{
    const int height = viewport()->height();
    verticalScrollBar()->setSingleStep(rowPitch());
    verticalScrollBar()->setPageStep(height);
    verticalScrollBar()->setRange(0, std::max(0, contentHeight() - height));
}

void CueRowsView::bringIntoView(qsizetype row)
{
    const QRect line = rowRect(row);
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
}

bool CueRowsView::walk(int key)
{
    const qsizetype page = std::max(1, viewport()->height() / rowPitch());
    const qsizetype last = std::max<qsizetype>(0, rowCount() - 1);
    const auto toRow = [&](qsizetype row) {
        moveFocus({std::clamp<qsizetype>(row, 0, last), m_focus.action});
        bringIntoView(m_focus.row);
    };
    const auto toButton = [&](int offset) {
        const int action = static_cast<int>(m_focus.action) + offset;
        moveFocus({m_focus.row, static_cast<Action>(std::clamp(action, 0, actionCount - 1))});
    };
    switch (key) {
    case Qt::Key_Up:
        return toRow(m_focus.row - 1), true;
    case Qt::Key_Down:
        return toRow(m_focus.row + 1), true;
    case Qt::Key_PageUp:
        return toRow(m_focus.row - page), true;
    case Qt::Key_PageDown:
        return toRow(m_focus.row + page), true;
    case Qt::Key_Home:
        return toRow(0), true;
    case Qt::Key_End:
        return toRow(last), true;
    case Qt::Key_Left:
        return toButton(-1), true;
    case Qt::Key_Right:
        return toButton(1), true;
    default:
        return false;
    }
}

void CueRowsView::press()
{
    perform(m_focus.row, m_focus.action);
    bringIntoView(m_focus.row);
}

void CueRowsView::keyPressEvent(QKeyEvent* event)
{
    if ((event->modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier)
        return event->ignore();
    // A key that is held down must not remove one cue after the other.
    if (event->key() == Qt::Key_Space && !event->isAutoRepeat())
        return press();
    if (event->key() != Qt::Key_Space && !walk(event->key()))
        event->ignore();
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
    const qsizetype row = rowAt(event->position().toPoint().y());
    if (event->button() != Qt::LeftButton || row >= rowCount())
        return event->ignore();
    m_pressed = targetAt(event->position().toPoint());
    moveFocus(m_pressed.value_or(Target {row, m_focus.action}));
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
    if (m_hovered == targetAt(point) && m_hovered && m_hovered->action == Action::start)
        return actionName(Action::start);
    const qsizetype row = rowAt(point.y());
    if (row >= rowCount() || !titleRect(row).contains(point))
        return {};
    const bool isCut =
        titleLine(m_shown.cues[row], titleFont(row)).width() > titleRect(row).width();
    return isCut ? m_shown.cues[row].title.toHtmlEscaped() : QString();
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

QFont CueRowsView::titleFont(qsizetype row) const
{
    QFont result = font();
    result.setWeight(row == m_shown.currentIndex ? QFont::DemiBold : QFont::Normal);
    return result;
}

void CueRowsView::paintEvent(QPaintEvent* event)
{
    QPainter painter(viewport());
    painter.setRenderHint(QPainter::Antialiasing);
    const qsizetype last = std::min(rowAt(event->rect().bottom()), rowCount() - 1);
    for (qsizetype row = rowAt(event->rect().top()); row <= last; ++row) {
        if (event->region().intersects(rowRect(row)))
            paintRow(painter, row);
    }
}

void CueRowsView::paintRow(QPainter& painter, qsizetype row) const
{
    if (row == m_focus.row && showsFocus(*this)) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(withOpacity(accentColor(palette()), 0.18));
        painter.drawRoundedRect(rowRect(row), cornerRadius, cornerRadius);
    }
    paintTexts(painter, row);
    for (int action = 0; action < actionCount; ++action)
        paintButton(painter, {row, static_cast<Action>(action)});
}

void CueRowsView::paintTexts(QPainter& painter, qsizetype row) const
{
    const bool isCurrent = row == m_shown.currentIndex;
    const QColor secondary = secondaryColor(palette());
    const QRect line = rowRect(row);
    QRect indicator(sideMargin, 0, indicatorSize, indicatorSize);
    indicator.moveTop(line.top() + (line.height() - indicatorSize) / 2);
    paintSymbol(painter, isCurrent ? u"play.circle.fill"_s : u"circle"_s, indicator,
        isCurrent ? accentColor(palette()) : secondary);

    const Cue& cue = m_shown.cues[row];
    const QRect title = titleRect(row);
    painter.setPen(palette().color(QPalette::WindowText));
    drawInMiddle(painter, titleLine(cue, titleFont(row)).elided(title.width()), title.left(), line);
    painter.setPen(secondary);
    const TextLine duration = durationLine(cue, font());
    const double end = buttonRect(row, Action::start).left() - sideMargin;
    drawInMiddle(painter, duration, end - duration.width(), line);
}

void CueRowsView::paintButton(QPainter& painter, const Target& target) const
{
    const QRect box = buttonRect(target.row, target.action);
    const bool isPressed = m_pressed == target && m_hovered == target;
    if (m_hovered == target && (!m_pressed || isPressed)) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(withOpacity(secondaryColor(palette()), isPressed ? 0.45 : 0.25));
        painter.drawRoundedRect(box, cornerRadius, cornerRadius);
    }
    const bool isFocused = target == m_focus && showsFocus(*this);
    QColor tint = palette().color(QPalette::WindowText);
    if (!isEnabled(target.row, target.action))
        tint = withOpacity(secondaryColor(palette()), 0.35);
    else if (target.action == Action::remove && (isFocused || m_hovered == target))
        tint = destructiveColor(palette());
    QRectF symbol(0, 0, buttonSymbolSize, buttonSymbolSize);
    symbol.moveCenter(QRectF(box).center());
    paintSymbol(
        painter, buttonLooks[static_cast<size_t>(target.action)].symbol.toString(), symbol, tint);
    if (isFocused)
        drawFocusRing(painter, box, cornerRadius, palette());
}

#include "Views/CueRowPicture.h"

#include "Model/TimeText.h"
#include "Support/CheckedConversions.h"
#include "Support/Symbols.h"
#include "Support/TextLine.h"
#include "Views/Components/ConsoleStyle.h"

#include <QFontMetrics>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

struct ButtonLook {
    QStringView symbol;
    QStringView name;
};

/// In the order of the actions.
constexpr std::array<ButtonLook, allCueRowActions.size()> buttonLooks {{
    {u"play.fill", u"Load and start this cue"},
    {u"chevron.up", u"Move up"},
    {u"chevron.down", u"Move down"},
    {u"xmark", u"Delete"},
}};

constexpr int padding = 1;
constexpr int leastLineHeight = 20;
constexpr int sideMargin = 4;
constexpr int indicatorSize = 15;
constexpr int indicatorGap = 6;
constexpr int leastGap = 8;
constexpr int buttonWidth = 22;
constexpr int buttonSymbolSize = 11;
constexpr double cornerRadius = 4;

/// More than a row shows. Laying out a title as long as a file would hold up the show.
constexpr qsizetype longestTitle = 300;

const ButtonLook& look(CueRowAction action)
{
    return buttonLooks[static_cast<size_t>(action)];
}

QString durationText(const Cue& cue)
{
    return minutesAndSeconds(magnitude(cue.seconds));
}

TextLine durationLine(const Cue& cue, const QFont& font)
{
    return {durationText(cue), font, TextLine::Digits::equalCells};
}

void drawInMiddle(QPainter& painter, const TextLine& line, double left, const QRect& bounds)
{
    line.draw(painter, {left, bounds.top() + (bounds.height() - line.height()) / 2});
}

void fillBox(QPainter& painter, const QRect& box, const QColor& color)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawRoundedRect(box, cornerRadius, cornerRadius);
}

} // namespace

QString actionName(CueRowAction action)
{
    return look(action).name.toString();
}

bool CueRow::isEnabled(CueRowAction action) const
{
    return (action != CueRowAction::moveUp || !isFirst)
        && (action != CueRowAction::moveDown || !isLast);
}

QString CueRow::title() const
{
    return cue.title.left(longestTitle);
}

QString CueRow::description() const
{
    const QString text = u"%1, %2"_s.arg(title(), durationText(cue));
    return isCurrent ? text + u", current cue"_s : text;
}

CueRowPicture::CueRowPicture(const QFont& font, const QPalette& palette)
    : m_font(font)
    , m_palette(palette)
{
}

int CueRowPicture::height(const QFont& font)
{
    return std::max(leastLineHeight, QFontMetrics(font).height()) + 2 * padding;
}

QRect CueRowPicture::button(const QRect& bounds, CueRowAction action)
{
    const int fromRight = static_cast<int>(allCueRowActions.size()) - static_cast<int>(action);
    const int left = bounds.right() + 1 - fromRight * buttonWidth;
    return {left, bounds.top(), buttonWidth, bounds.height()};
}

QRect CueRowPicture::title(const QRect& bounds, const CueRow& row) const
{
    const int duration = qCeil(durationLine(row.cue, m_font).width());
    const int buttons = button(bounds, CueRowAction::start).left();
    QRect rect = bounds;
    rect.setLeft(bounds.left() + sideMargin + indicatorSize + indicatorGap);
    rect.setRight(buttons - sideMargin - duration - leastGap - 1);
    return rect;
}

bool CueRowPicture::isTitleCut(const QRect& bounds, const CueRow& row) const
{
    return TextLine(row.title(), titleFont(row)).width() > title(bounds, row).width();
}

QFont CueRowPicture::titleFont(const CueRow& row) const
{
    QFont font = m_font;
    font.setWeight(row.isCurrent ? QFont::DemiBold : QFont::Normal);
    return font;
}

void CueRowPicture::paint(
    QPainter& painter, const QRect& bounds, const CueRow& row, const CueRowHandling& handling) const
{
    if (handling.focused)
        fillBox(painter, bounds, withOpacity(accentColor(m_palette), 0.18));
    paintIndicator(painter, bounds, row);
    paintTexts(painter, bounds, row);
    for (const CueRowAction action : allCueRowActions)
        paintButton(painter, button(bounds, action), action, row.isEnabled(action), handling);
}

void CueRowPicture::paintIndicator(QPainter& painter, const QRect& bounds, const CueRow& row) const
{
    const QRect box(bounds.left() + sideMargin,
        bounds.top() + (bounds.height() - indicatorSize) / 2, indicatorSize, indicatorSize);
    if (row.isCurrent)
        paintSymbol(painter, u"play.circle.fill"_s, box, accentColor(m_palette));
    else
        paintSymbol(painter, u"circle"_s, box, secondaryColor(m_palette));
}

void CueRowPicture::paintTexts(QPainter& painter, const QRect& bounds, const CueRow& row) const
{
    const QRect room = title(bounds, row);
    painter.setPen(m_palette.color(QPalette::WindowText));
    drawInMiddle(
        painter, TextLine(row.title(), titleFont(row)).elided(room.width()), room.left(), bounds);
    const TextLine duration = durationLine(row.cue, m_font);
    const int end = button(bounds, CueRowAction::start).left() - sideMargin;
    painter.setPen(secondaryColor(m_palette));
    drawInMiddle(painter, duration, end - duration.width(), bounds);
}

void CueRowPicture::paintButton(QPainter& painter, const QRect& box, CueRowAction action,
    bool isEnabled, const CueRowHandling& handling) const
{
    const bool isFocused = handling.focused == action;
    const bool isHovered = handling.hovered == action;
    const bool isPressed = handling.pressed == action;
    const QColor secondary = secondaryColor(m_palette);
    if (isHovered)
        fillBox(painter, box, withOpacity(secondary, isPressed ? 0.45 : 0.25));
    QColor tint = m_palette.color(QPalette::WindowText);
    if (!isEnabled)
        tint = withOpacity(secondary, 0.35);
    else if (action == CueRowAction::remove && (isFocused || isHovered))
        tint = destructiveColor(m_palette);
    QRectF symbol(0, 0, buttonSymbolSize, buttonSymbolSize);
    symbol.moveCenter(QRectF(box).center());
    paintSymbol(painter, look(action).symbol.toString(), symbol, tint);
    if (isFocused)
        drawFocusRing(painter, box, cornerRadius, m_palette);
}

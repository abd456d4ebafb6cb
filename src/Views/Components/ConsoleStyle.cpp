#include "Views/Components/ConsoleStyle.h"

#include "Support/Fonts.h"
#include "Views/Components/SymbolIcon.h"

#include <QApplication>
#include <QPainterPath>
#include <QStyleOption>
#include <QWidget>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr int controlHeight = 26;
constexpr int indicatorSize = 16;
constexpr int scrollBarExtent = 10;
constexpr int knobSize = 18;
constexpr int fieldPadding = 5;
constexpr double controlRadius = 6;

bool isDark(const QPalette& palette)
{
    return palette.color(QPalette::Window).lightnessF() < 0.5F;
}

QColor byAppearance(const QPalette& palette, QRgb light, QRgb dark)
{
    return isDark(palette) ? dark : light;
}

bool isOn(const QStyleOption& option, QStyle::StateFlag flag)
{
    return option.state.testFlag(flag);
}

QColor outlineColor(const QStyleOption& option)
{
    const double opacity = isOn(option, QStyle::State_MouseOver) ? 0.75 : 0.45;
    return withOpacity(secondaryColor(option.palette), opacity);
}

QColor buttonColor(const QStyleOption& option)
{
    const QColor resting = option.palette.color(QPalette::Button);
    return isOn(option, QStyle::State_Sunken) ? withOpacity(secondaryColor(option.palette), 0.45)
                                              : resting;
}

bool isDefaultButton(const QStyleOption& option)
{
    const auto* button = qstyleoption_cast<const QStyleOptionButton*>(&option);
    return button != nullptr && button->features.testFlag(QStyleOptionButton::DefaultButton);
}

void drawButton(QPainter& painter, const QStyleOption& option)
{
    const bool isDefault = isDefaultButton(option) && isOn(option, QStyle::State_Enabled);
    const QColor fill = isDefault ? accentColor(option.palette) : buttonColor(option);
    const QColor outline = isDefault ? fill : outlineColor(option);
    if (!isOn(option, QStyle::State_Enabled))
        painter.setOpacity(0.5);
    drawRoundedBox(painter, option.rect, controlRadius, fill, outline);
}

bool isFramed(const QStyleOption& option)
{
    const auto* frame = qstyleoption_cast<const QStyleOptionFrame*>(&option);
    return frame != nullptr && frame->lineWidth > 0;
}

void drawField(QPainter& painter, const QStyleOption& option)
{
    if (!isFramed(option))
        return;
    drawRoundedBox(painter, option.rect, controlRadius, option.palette.color(QPalette::Base),
        outlineColor(option));
    if (isOn(option, QStyle::State_HasFocus))
        drawFocusRing(painter, option.rect, controlRadius, option.palette);
}

void drawCheckMark(QPainter& painter, const QRectF& box)
{
    QPainterPath mark(box.topLeft() + QPointF(0.24, 0.53) * box.width());
    mark.lineTo(box.topLeft() + QPointF(0.43, 0.72) * box.width());
    mark.lineTo(box.topLeft() + QPointF(0.77, 0.30) * box.width());
    painter.strokePath(mark, QPen(Qt::white, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
}

void drawCheckBox(QPainter& painter, const QStyleOption& option)
{
    if (!isOn(option, QStyle::State_Enabled))
        painter.setOpacity(0.5);
    const bool isChecked = isOn(option, QStyle::State_On);
    const QColor accent = accentColor(option.palette);
    const QColor resting = isOn(option, QStyle::State_Sunken)
        ? withOpacity(secondaryColor(option.palette), 0.45)
        : option.palette.color(QPalette::Base);
    const QColor outline = withOpacity(secondaryColor(option.palette), 0.75);
    drawRoundedBox(
        painter, option.rect, 4, isChecked ? accent : resting, isChecked ? accent : outline);
    if (isChecked)
        drawCheckMark(painter, option.rect);
}

void drawScrollBar(QPainter& painter, const QStyleOptionSlider& option, QRectF handle)
{
    if (option.maximum <= option.minimum)
        return;
    const bool isHeld = isOn(option, QStyle::State_Sunken) || isOn(option, QStyle::State_MouseOver);
    handle.adjust(2, 2, -2, -2);
    painter.setPen(Qt::NoPen);
    painter.setBrush(withOpacity(secondaryColor(option.palette), isHeld ? 0.8 : 0.5));
    painter.drawRoundedRect(handle, 3, 3);
}

void drawSlider(QPainter& painter, const QStyleOptionSlider& option, const QRectF& knob)
{
    const QRectF bounds(option.rect);
    const QRectF groove(bounds.left() + 1, bounds.center().y() - 2, bounds.width() - 2, 4);
    QRectF reached = groove;
    reached.setRight(knob.center().x());
    painter.setPen(Qt::NoPen);
    painter.setBrush(withOpacity(secondaryColor(option.palette), 0.35));
    painter.drawRoundedRect(groove, 2, 2);
    painter.setBrush(accentColor(option.palette));
    painter.drawRoundedRect(reached, 2, 2);
    painter.setBrush(Qt::white);
    painter.setPen(QColor(0, 0, 0, 70));
    painter.drawEllipse(knob.adjusted(1.5, 1.5, -1.5, -1.5));
    if (isOn(option, QStyle::State_HasFocus) && isOn(option, QStyle::State_KeyboardFocusChange)) {
        painter.setPen(QPen(accentColor(option.palette), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawEllipse(knob.adjusted(1, 1, -1, -1));
    }
}

QRect scrollBarPart(const QStyleOptionSlider& option, QStyle::SubControl part)
{
    const bool isVertical = option.orientation == Qt::Vertical;
    const int length = isVertical ? option.rect.height() : option.rect.width();
    const int range = option.maximum - option.minimum;
    const double shownShare = option.pageStep / static_cast<double>(range + option.pageStep);
    const int handle =
        range > 0 ? std::min(length, std::max(24, static_cast<int>(length * shownShare))) : length;
    const int start = QStyle::sliderPositionFromValue(
        option.minimum, option.maximum, option.sliderPosition, length - handle, option.upsideDown);
    const auto along = [&](int from, int to) {
        const QRect area = isVertical ? QRect(0, from, option.rect.width(), to - from)
                                      : QRect(from, 0, to - from, option.rect.height());
        return area.translated(option.rect.topLeft());
    };
    switch (part) {
    case QStyle::SC_ScrollBarGroove:
        return along(0, length);
    case QStyle::SC_ScrollBarSlider:
        return along(start, start + handle);
    case QStyle::SC_ScrollBarSubPage:
        return along(0, start);
    case QStyle::SC_ScrollBarAddPage:
        return along(start + handle, length);
    default:
        return {};
    }
}

/// A spin box without a frame is a text with two buttons behind it.
QRect stepperPart(const QStyleOptionSpinBox& option, QStyle::SubControl part)
{
    constexpr int buttonWidth = 20;
    QRect text = option.rect;
    text.setWidth(text.width() - buttonWidth);
    QRect buttons = option.rect;
    buttons.setLeft(text.right() + 1);
    const int half = buttons.height() / 2;
    switch (part) {
    case QStyle::SC_SpinBoxUp:
        return buttons.adjusted(0, 0, 0, -half);
    case QStyle::SC_SpinBoxDown:
        return buttons.adjusted(0, half, 0, 0);
    case QStyle::SC_SpinBoxEditField:
        return text;
    default:
        return {};
    }
}

} // namespace

ConsoleStyle::ConsoleStyle()
    : QProxyStyle(u"Fusion"_s)
{
}

void ConsoleStyle::install()
{
    QApplication::setStyle(std::make_unique<ConsoleStyle>().release());
    QApplication::setFont(Fonts::system(13, QFont::Normal));
}

QPalette ConsoleStyle::palette(Appearance appearance)
{
    const bool dark = appearance == Appearance::dark;
    const QColor window = dark ? 0x1d1d20u : 0xececeeu;
    const QColor text = dark ? 0xececf0u : 0x1c1c1fu;
    const QColor base = dark ? 0x131315u : 0xffffffu;
    const QColor button = dark ? 0x3a3a40u : 0xffffffu;
    QPalette palette(button, window);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(role, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::Button, button);
    palette.setColor(QPalette::ToolTipBase, dark ? 0x3a3a40u : 0xffffffu);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, secondaryColor(palette));
    palette.setColor(QPalette::BrightText, warningColor(palette));
    palette.setColor(QPalette::Highlight, accentColor(palette));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, dark ? 0x7fb0ffu : 0x0a5cd0u);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, withOpacity(text, 0.38));
    return palette;
}

void ConsoleStyle::polish(QPalette& palette)
{
    palette = ConsoleStyle::palette(isDark(palette) ? Appearance::dark : Appearance::light);
}

void ConsoleStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
    QPainter* painter, const QWidget* widget) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    switch (element) {
    case PE_PanelButtonCommand:
        drawButton(*painter, *option);
        break;
    case PE_PanelLineEdit:
        drawField(*painter, *option);
        break;
    case PE_IndicatorCheckBox:
        drawCheckBox(*painter, *option);
        break;
    case PE_FrameFocusRect:
        if (isOn(*option, State_KeyboardFocusChange))
            drawFocusRing(*painter, option->rect, controlRadius, option->palette);
        break;
    default:
        painter->setRenderHint(QPainter::Antialiasing, false);
        QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
    painter->restore();
}

void ConsoleStyle::drawControl(ControlElement element, const QStyleOption* option,
    QPainter* painter, const QWidget* widget) const
{
    const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
    if (element != CE_PushButtonLabel || button == nullptr || !isDefaultButton(*option)) {
        QProxyStyle::drawControl(element, option, painter, widget);
        return;
    }
    QStyleOptionButton label = *button;
    label.palette.setColor(QPalette::Active, QPalette::ButtonText, Qt::white);
    label.palette.setColor(QPalette::Inactive, QPalette::ButtonText, Qt::white);
    QProxyStyle::drawControl(element, &label, painter, widget);
}

void ConsoleStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
    QPainter* painter, const QWidget* widget) const
{
    const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (slider == nullptr || (control != CC_ScrollBar && control != CC_Slider)) {
        QProxyStyle::drawComplexControl(control, option, painter, widget);
        return;
    }
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (control == CC_ScrollBar)
        drawScrollBar(*painter, *slider, scrollBarPart(*slider, SC_ScrollBarSlider));
    else
        drawSlider(*painter, *slider, subControlRect(control, option, SC_SliderHandle, widget));
    painter->restore();
}

QRect ConsoleStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option,
    SubControl subControl, const QWidget* widget) const
{
    const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control == CC_ScrollBar && slider != nullptr)
        return visualRect(option->direction, option->rect, scrollBarPart(*slider, subControl));
    const auto* spinBox = qstyleoption_cast<const QStyleOptionSpinBox*>(option);
    if (control == CC_SpinBox && spinBox != nullptr && !spinBox->frame)
        return visualRect(option->direction, option->rect, stepperPart(*spinBox, subControl));
    return QProxyStyle::subControlRect(control, option, subControl, widget);
}

QRect ConsoleStyle::subElementRect(
    SubElement element, const QStyleOption* option, const QWidget* widget) const
{
    if (element == SE_PushButtonFocusRect || element == SE_CheckBoxFocusRect)
        return option->rect;
    if (element == SE_LineEditContents && isFramed(*option))
        return option->rect.adjusted(fieldPadding, 1, -fieldPadding, -1);
    return QProxyStyle::subElementRect(element, option, widget);
}

QSize ConsoleStyle::sizeFromContents(ContentsType type, const QStyleOption* option,
    const QSize& contents, const QWidget* widget) const
{
    const QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
    switch (type) {
    case CT_PushButton:
        return {contents.width() + 24, std::max(controlHeight, contents.height() + 6)};
    case CT_LineEdit:
        return {size.width(), std::max(controlHeight, size.height())};
    case CT_CheckBox:
        return {size.width(), std::max(indicatorSize + 4, size.height())};
    default:
        return size;
    }
}

int ConsoleStyle::pixelMetric(
    PixelMetric metric, const QStyleOption* option, const QWidget* widget) const
{
    switch (metric) {
    case PM_IndicatorWidth:
    case PM_IndicatorHeight:
        return indicatorSize;
    case PM_CheckBoxLabelSpacing:
        return 7;
    case PM_ScrollBarExtent:
        return scrollBarExtent;
    case PM_ScrollView_ScrollBarOverlap:
        return widget != nullptr && widget->property(scrollBarOverlaps).toBool() ? scrollBarExtent
                                                                                 : 0;
    case PM_SliderThickness:
    case PM_SliderControlThickness:
    case PM_SliderLength:
        return knobSize;
    case PM_ButtonShiftHorizontal:
    case PM_ButtonShiftVertical:
        return 0;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

QIcon ConsoleStyle::standardIcon(
    StandardPixmap icon, const QStyleOption* option, const QWidget* widget) const
{
    // Every menu bar asks for it, for the menus that it has no room for; the base style would load
    // all image formats to find its own.
    if (icon == SP_ToolBarHorizontalExtensionButton)
        return symbolIcon(u"chevron.down"_s);
    return QProxyStyle::standardIcon(icon, option, widget);
}

int ConsoleStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
    QStyleHintReturn* result) const
{
    if (hint == SH_Slider_AbsoluteSetButtons)
        return Qt::LeftButton;
    return QProxyStyle::styleHint(hint, option, widget, result);
}

QColor accentColor(const QPalette& palette)
{
    return byAppearance(palette, 0xff0a66e0, 0xff1a6ff0);
}

QColor secondaryColor(const QPalette& palette)
{
    return byAppearance(palette, 0xff5e5e66, 0xffa3a3ab);
}

QColor groupColor(const QPalette& palette)
{
    return byAppearance(palette, 0xfff6f6f7, 0xff29292d);
}

QColor warningColor(const QPalette& palette)
{
    return byAppearance(palette, 0xffa85400, 0xffffa330);
}

QColor destructiveColor(const QPalette& palette)
{
    return byAppearance(palette, 0xffc9241f, 0xffff6b61);
}

QColor connectedColor(const QPalette& palette)
{
    return byAppearance(palette, 0xff1e9a3e, 0xff32d158);
}

QColor withOpacity(QColor color, double opacity)
{
    color.setAlphaF(color.alphaF() * static_cast<float>(opacity));
    return color;
}

bool showsFocus(const QWidget& widget)
{
    return widget.hasFocus() && widget.window()->testAttribute(Qt::WA_KeyboardFocusChange);
}

void drawFocusRing(QPainter& painter, const QRectF& bounds, double radius, const QPalette& palette)
{
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(accentColor(palette), 2));
    painter.drawRoundedRect(bounds.adjusted(1, 1, -1, -1), radius - 1, radius - 1);
}

void drawRoundedBox(QPainter& painter, const QRectF& bounds, double radius, const QColor& fill,
    const QColor& outline)
{
    painter.setBrush(fill);
    painter.setPen(QPen(outline, 1));
    painter.drawRoundedRect(bounds.adjusted(0.5, 0.5, -0.5, -0.5), radius - 0.5, radius - 0.5);
}

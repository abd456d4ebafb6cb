#include "Views/Components/Stepper.h"

#include "Support/CheckedConversions.h"
#include "Support/Follow.h"
#include "Support/Symbols.h"
#include "Views/Components/ConsoleStyle.h"

#include <QLineEdit>
#include <QPainter>
#include <QStyleOptionSpinBox>
#include <QWheelEvent>

#include <algorithm>

using namespace Qt::StringLiterals;

Stepper::Stepper(
    QProperty<qint64>& property, Range range, const Describe& describe, QWidget* parent)
    : QAbstractSpinBox(parent)
    , m_property(property)
    , m_range(range)
    , m_notifier(follow(property, [this, describe](qint64 value) {
        lineEdit()->setText(describe(value));
        update();
    }))
{
    lineEdit()->setReadOnly(true);
    lineEdit()->setFrame(false);
    lineEdit()->setFocusPolicy(Qt::NoFocus);
    lineEdit()->setAttribute(Qt::WA_TransparentForMouseEvents);
    QObject::connect(lineEdit(), &QLineEdit::selectionChanged, lineEdit(), &QLineEdit::deselect);
    setFrame(false);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void Stepper::stepBy(int steps)
{
    const qint64 stepped = saturatingAdd(m_property, steps * m_range.step);
    m_property = std::clamp(stepped, m_range.first, m_range.last);
}

QSize Stepper::sizeHint() const
{
    return {84, 22};
}

QAbstractSpinBox::StepEnabled Stepper::stepEnabled() const
{
    StepEnabled enabled = StepNone;
    enabled.setFlag(StepUpEnabled, m_property < m_range.last);
    enabled.setFlag(StepDownEnabled, m_property > m_range.first);
    return enabled;
}

void Stepper::paintEvent(QPaintEvent*)
{
    QStyleOptionSpinBox option;
    initStyleOption(&option);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const struct {
        QStyle::SubControl control;
        StepEnabledFlag flag;
        QString symbol;
    } buttons[] {
        {QStyle::SC_SpinBoxUp, StepUpEnabled, u"chevron.up"_s},
        {QStyle::SC_SpinBoxDown, StepDownEnabled, u"chevron.down"_s},
    };
    QRectF frame;
    for (const auto& button : buttons)
        frame |= style()->subControlRect(QStyle::CC_SpinBox, &option, button.control, this);
    drawRoundedBox(painter, frame, 5, palette().color(QPalette::Button),
        withOpacity(secondaryColor(palette()), 0.45));
    for (const auto& button : buttons) {
        const QRectF area =
            style()->subControlRect(QStyle::CC_SpinBox, &option, button.control, this);
        const bool isDown = option.activeSubControls == button.control
            && option.state.testFlag(QStyle::State_Sunken);
        if (isDown) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(withOpacity(secondaryColor(palette()), 0.30));
            painter.drawRoundedRect(area, 5, 5);
        }
        QRectF box(0, 0, 9, 9);
        box.moveCenter(area.center());
        const bool isEnabled = option.stepEnabled.testFlag(button.flag);
        paintSymbol(painter, button.symbol, box,
            withOpacity(palette().color(QPalette::WindowText), isEnabled ? 1 : 0.3));
    }
    if (showsFocus(*this))
        drawFocusRing(painter, rect(), 6, palette());
}

/// The panel scrolls; a value must not change because it passes under the pointer.
void Stepper::wheelEvent(QWheelEvent* event)
{
    event->ignore();
}

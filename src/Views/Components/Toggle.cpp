#include "Views/Components/Toggle.h"

#include "Support/Follow.h"

#include <QStyleOptionButton>
#include <QStylePainter>

Toggle::Toggle(const QString& label, QWidget* parent)
    : QCheckBox(label, parent)
{
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

QSize Toggle::minimumSizeHint() const
{
    return {0, QCheckBox::minimumSizeHint().height()};
}

void Toggle::paintEvent(QPaintEvent*)
{
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    const int room = style()->subElementRect(QStyle::SE_CheckBoxContents, &option, this).width();
    option.text = fontMetrics().elidedText(text(), Qt::ElideMiddle, room, Qt::TextShowMnemonic);
    painter.drawControl(QStyle::CE_CheckBox, option);
}

QPropertyNotifier bindToggle(QAbstractButton& button, QProperty<bool>& property)
{
    QObject::connect(&button, &QAbstractButton::clicked, &button,
        [&property](bool isChecked) { property = isChecked; });
    return follow(property, [&button](bool isOn) { button.setChecked(isOn); });
}

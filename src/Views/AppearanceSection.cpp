#include "Views/AppearanceSection.h"

#include "Support/Follow.h"
#include "Views/Components/ColorControl.h"
#include "Views/Components/Divider.h"
#include "Views/Components/Stepper.h"
#include "Views/Components/Toggle.h"

#include <QLabel>

using namespace Qt::StringLiterals;

namespace {

constexpr int labelWidth = 80;

QLayout* makeStepperRow(const QString& label, Stepper* stepper)
{
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    auto* title = new QLabel(label);
    title->setForegroundRole(QPalette::PlaceholderText);
    title->setFixedWidth(labelWidth);
    stepper->setAccessibleName(label);
    row->addWidget(title);
    row->addWidget(stepper);
    row->addStretch();
    return row;
}

} // namespace

AppearanceSection::AppearanceSection(AppSettings& settings, QWidget* parent)
    : GroupBox(u"Appearance"_s, parent)
{
    column().addWidget(new ColorControl(u"Text"_s, settings.textColor, this));
    column().addWidget(new ColorControl(u"Background"_s, settings.backgroundColor, this));
    column().addWidget(new Divider(this));
    auto* toggle = new Toggle(u"Warning colours"_s, this);
    column().addWidget(toggle);
    QWidget* warnings = makeWarnings(settings);
    column().addWidget(warnings);
    m_notifiers.push_back(bindToggle(*toggle, settings.useThresholdColors));
    m_notifiers.push_back(
        follow(settings.useThresholdColors, [warnings](bool isOn) { warnings->setVisible(isOn); }));
}

QWidget* AppearanceSection::makeWarnings(AppSettings& settings)
{
    auto* widget = new QWidget(this);
    auto* rows = new QVBoxLayout(widget);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(column().spacing());
    rows->addWidget(new ColorControl(u"Amber"_s, settings.amberColor, widget));
    rows->addWidget(new ColorControl(u"Red"_s, settings.redColor, widget));
    rows->addLayout(makeStepperRow(u"Amber at"_s,
        new Stepper(
            settings.amberThresholdSeconds, {.first = 60, .last = 3600, .step = 60},
            [](qint64 seconds) { return u"%1 min"_s.arg(seconds / 60); }, widget)));
    rows->addLayout(makeStepperRow(u"Red at"_s,
        new Stepper(
            settings.redThresholdSeconds, {.first = 5, .last = 600, .step = 5},
            [](qint64 seconds) { return u"%1 s"_s.arg(seconds); }, widget)));
    return widget;
}

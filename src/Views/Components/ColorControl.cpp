#include "Views/Components/ColorControl.h"

#include "Views/Components/ColorSwatch.h"
#include "Views/Components/ColorWell.h"

#include <QHBoxLayout>
#include <QLabel>

#include <array>

using namespace Qt::StringLiterals;

namespace {

struct ReadyColor {
    QStringView name;
    RGBColor color;
};

constexpr std::array<ReadyColor, 6> readyColors {{
    {u"White", {.r = 1, .g = 1, .b = 1}},
    {u"Black", {.r = 0, .g = 0, .b = 0}},
    {u"Red", {.r = 1, .g = 59.0 / 255, .b = 48.0 / 255}},
    {u"Green", {.r = 52.0 / 255, .g = 199.0 / 255, .b = 89.0 / 255}},
    {u"Blue", {.r = 0, .g = 122.0 / 255, .b = 1}},
    {u"Amber", {.r = 1, .g = 176.0 / 255, .b = 0}},
}};

constexpr int titleWidth = 80;

/// White for what is no colour.
RGBColor toRGBColor(const QColor& chosen)
{
    const QColor color = chosen.isValid() ? chosen.toRgb() : QColor(Qt::white);
    return {.r = color.redF(), .g = color.greenF(), .b = color.blueF(), .a = color.alphaF()};
}

} // namespace

ColorControl::ColorControl(const QString& title, QProperty<RGBColor>& color, QWidget* parent)
    : QWidget(parent)
    , m_color(color)
    , m_well(new ColorWell(title, this))
    , m_notifier(color.addNotifier([this] { m_well->setColor(toColor(m_color)); }))
{
    auto* label = new QLabel(title, this);
    label->setFixedWidth(titleWidth);
    m_well->setColor(toColor(color));
    connect(m_well, &ColorWell::chosen, this,
        [this](const QColor& chosen) { m_color = toRGBColor(chosen); });

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    row->addWidget(label);
    row->addWidget(m_well);
    for (const ReadyColor& ready : readyColors) {
        const QString name = ready.name.toString();
        auto* swatch = new ColorSwatch(name, toColor(ready.color), this);
        swatch->setAccessibleName(u"%1: %2"_s.arg(title, name));
        connect(swatch, &QAbstractButton::clicked, this,
            [this, value = ready.color] { m_color = value; });
        row->addWidget(swatch);
    }
    row->addStretch();
}

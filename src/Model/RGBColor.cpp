#include "Model/RGBColor.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr std::array<std::pair<QStringView, double RGBColor::*>, 4> components {{
    {u"r", &RGBColor::r},
    {u"g", &RGBColor::g},
    {u"b", &RGBColor::b},
    {u"a", &RGBColor::a},
}};

}

QColor toColor(const RGBColor& color)
{
    const auto component = [](double value) {
        return static_cast<float>(std::clamp(value, 0.0, 1.0));
    };
    return QColor::fromRgbF(
        component(color.r), component(color.g), component(color.b), component(color.a));
}

QJsonValue JsonForm<RGBColor>::encode(const RGBColor& color)
{
    QJsonObject object;
    for (const auto& [key, component] : components) {
        const QJsonValue value = JsonForm<double>::encode(color.*component);
        if (value.isUndefined())
            return QJsonValue::Undefined;
        object.insert(key, value);
    }
    return object;
}

std::optional<RGBColor> JsonForm<RGBColor>::decode(const QJsonValue& json)
{
    if (!json.isObject())
        return std::nullopt;
    const QJsonObject object = json.toObject();
    RGBColor color;
    for (const auto& [key, component] : components) {
        const std::optional<double> value = JsonForm<double>::decode(object.value(key));
        if (!value)
            return std::nullopt;
        color.*component = *value;
    }
    return color;
}

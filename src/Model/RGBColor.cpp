#include "Model/RGBColor.h"

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

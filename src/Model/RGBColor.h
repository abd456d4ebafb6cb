#pragma once

#include "Support/StrictJson.h"

#include <QColor>

/// A colour in sRGB. The components are meant to lie in 0...1; nothing clamps them.
struct RGBColor {
    double r = 0;
    double g = 0;
    double b = 0;
    /// Opacity.
    double a = 1;

    bool operator==(const RGBColor&) const = default;
};

/// With every component held to 0...1.
[[nodiscard]] QColor toColor(const RGBColor& color);

/// An object with the keys "r", "g", "b" and "a", all of them required.
template <> struct JsonForm<RGBColor> {
    static QJsonValue encode(const RGBColor& color);
    static std::optional<RGBColor> decode(const QJsonValue& json);
};

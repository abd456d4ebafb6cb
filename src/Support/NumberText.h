#pragma once

#include <QStringView>

#include <optional>

/// The number that the whole text spells as one floating-point literal in the C locale: decimal
/// with a point, or hexadecimal, or inf, infinity or nan in any letter case. White space, commas,
/// units and anything else left over make it no number, and so does nothing at all.
[[nodiscard]] std::optional<double> parseNumber(QStringView text);

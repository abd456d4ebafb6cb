#pragma once

#include "Model/AppSettings.h"
#include "Model/RGBColor.h"

#include <QString>

#include <optional>

/// The colour class of the time that is shown.
enum class TimeThreshold { normal, amber, red };

/// The colour to draw the time in. With threshold colours off it is the text colour for every
/// threshold: overtime is red to the engine, and this is what makes it look normal again.
[[nodiscard]] RGBColor color(TimeThreshold threshold, const AppSettings& settings);

/// What every output shows.
struct DisplaySnapshot {
    QString timeText = QStringLiteral("00:00");
    TimeThreshold threshold = TimeThreshold::normal;
    /// Never empty or blank; absent when there is none.
    std::optional<QString> message = std::nullopt;
    /// Outputs show nothing but the background.
    bool isBlackout = false;
    /// The attention strobe is in its lit half.
    bool strobe = false;

    bool operator==(const DisplaySnapshot&) const = default;
};

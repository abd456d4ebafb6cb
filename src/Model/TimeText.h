#pragma once

#include <QString>

/// "05:00", "90:00", "125:07": minutes and seconds, without hours however long it is.
[[nodiscard]] QString minutesAndSeconds(quint64 seconds);

/// An operator's minutes as whole seconds: to the nearest, halves away from zero, and 0 for
/// anything negative. Stops the process (see trap()) when the seconds are not finite or do not
/// fit 64 bits.
[[nodiscard]] qint64 secondsFromMinutes(double minutes);

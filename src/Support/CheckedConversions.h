#pragma once

#include <QtGlobal>

#include <limits>

/// The nearest whole number, halves away from zero. Stops the process (see trap()) when `value`
/// is not finite or its rounded magnitude is 2^63 or more; `what` names the value in that line.
[[nodiscard]] qint64 checkedRound(double value, const char* what);

/// `a - b`; stops the process when the difference does not fit.
[[nodiscard]] qint64 checkedSubtract(qint64 a, qint64 b, const char* what);

/// `a + b`, held at the ends of the range instead of wrapping.
[[nodiscard]] constexpr qint64 saturatingAdd(qint64 a, qint64 b)
{
    qint64 sum = 0;
    if (!__builtin_add_overflow(a, b, &sum))
        return sum;
    return b > 0 ? std::numeric_limits<qint64>::max() : std::numeric_limits<qint64>::min();
}

/// `a - b`, held at the ends of the range instead of wrapping.
[[nodiscard]] constexpr qint64 saturatingSubtract(qint64 a, qint64 b)
{
    qint64 difference = 0;
    if (!__builtin_sub_overflow(a, b, &difference))
        return difference;
    return b < 0 ? std::numeric_limits<qint64>::max() : std::numeric_limits<qint64>::min();
}

/// |value|, also for the most negative number, which has no positive twin in its own type.
[[nodiscard]] constexpr quint64 magnitude(qint64 value)
{
    return value < 0 ? 0 - static_cast<quint64>(value) : static_cast<quint64>(value);
}

#include "Support/CheckedConversions.h"

#include "Support/Trap.h"

#include <cmath>

using namespace Qt::StringLiterals;

qint64 checkedRound(double value, const char* what)
{
    constexpr double limit = 9223372036854775808.0; // 2^63
    const double rounded = std::round(value);
    // Written so that NaN, which compares false with everything, fails too.
    if (!(std::abs(rounded) < limit))
        trap(u"%1 is %2, which is not a whole number of 64 bits"_s.arg(QLatin1StringView(what))
                 .arg(value, 0, 'g', 17));
    return static_cast<qint64>(rounded);
}

qint64 checkedSubtract(qint64 a, qint64 b, const char* what)
{
    qint64 difference = 0;
    if (__builtin_sub_overflow(a, b, &difference))
        trap(u"%1 is %2 - %3, which is not a whole number of 64 bits"_s.arg(QLatin1StringView(what))
                 .arg(a)
                 .arg(b));
    return difference;
}

#include "Support/CheckedConversions.h"

#include "Support/Trap.h"

#include <QLocale>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

[[noreturn]] void trapNoInteger(const char* what, const QString& value)
{
    trap(u"%1 is %2, which is not a whole number of 64 bits"_s.arg(QLatin1StringView(what), value));
}

} // namespace

qint64 checkedRound(double value, const char* what)
{
    constexpr double limit = 9223372036854775808.0; // 2^63
    const double rounded = std::round(value);
    // Written so that NaN, which compares false with everything, fails too.
    if (!(std::abs(rounded) < limit))
        trapNoInteger(what, QString::number(value, 'g', QLocale::FloatingPointShortest));
    return static_cast<qint64>(rounded);
}

qint64 checkedSubtract(qint64 a, qint64 b, const char* what)
{
    qint64 difference = 0;
    if (__builtin_sub_overflow(a, b, &difference))
        trapNoInteger(what, u"%1 - %2"_s.arg(a).arg(b));
    return difference;
}

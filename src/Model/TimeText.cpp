#include "Model/TimeText.h"

#include "Support/CheckedConversions.h"

#include <algorithm>

QString minutesAndSeconds(quint64 seconds)
{
    const auto twoDigits = [](quint64 number) {
        return QString::number(number).rightJustified(2, u'0');
    };
    return twoDigits(seconds / 60) + u':' + twoDigits(seconds % 60);
}

qint64 secondsFromMinutes(double minutes)
{
    return std::max<qint64>(0, checkedRound(minutes * 60, "a duration in seconds"));
}

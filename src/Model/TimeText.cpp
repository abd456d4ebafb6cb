#include "Model/TimeText.h"

#include "Support/CheckedConversions.h"

#include <algorithm>

QString minutesAndSeconds(quint64 seconds)
{
    return QString::asprintf("%02llu:%02llu", seconds / 60, seconds % 60);
}

qint64 secondsFromMinutes(double minutes)
{
    return std::max<qint64>(0, checkedRound(minutes * 60, "a duration in seconds"));
}

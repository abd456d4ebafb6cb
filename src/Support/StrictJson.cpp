#include "Support/StrictJson.h"

#include <cmath>
#include <limits>

std::optional<bool> JsonForm<bool>::decode(const QJsonValue& json)
{
    if (!json.isBool())
        return std::nullopt;
    return json.toBool();
}

QJsonValue JsonForm<double>::encode(double value)
{
    return std::isfinite(value) ? QJsonValue(value) : QJsonValue(QJsonValue::Undefined);
}

std::optional<double> JsonForm<double>::decode(const QJsonValue& json)
{
    if (!json.isDouble())
        return std::nullopt;
    return json.toDouble();
}

std::optional<qint64> JsonForm<qint64>::decode(const QJsonValue& json)
{
    // What is no integer gives the default, whichever it is.
    const qint64 value = json.toInteger(0);
    if (value == 0 && json.toInteger(1) == 1)
        return std::nullopt;
    return value;
}

std::optional<quint32> JsonForm<quint32>::decode(const QJsonValue& json)
{
    const std::optional<qint64> value = JsonForm<qint64>::decode(json);
    if (!value || *value < 0 || *value > std::numeric_limits<quint32>::max())
        return std::nullopt;
    return static_cast<quint32>(*value);
}

QJsonValue JsonForm<QString>::encode(const QString& value)
{
    return value.isValidUtf16() ? value : QString::fromUtf8(value.toUtf8());
}

std::optional<QString> JsonForm<QString>::decode(const QJsonValue& json)
{
    if (!json.isString() || !json.toString().isValidUtf16())
        return std::nullopt;
    return json.toString();
}

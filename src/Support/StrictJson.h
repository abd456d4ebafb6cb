#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QString>

#include <optional>

/// How a type is written in JSON, and read back strictly: a value of another JSON type is no
/// value, never a converted one. A type joins by specialising this with the two functions.
///
/// encode() gives Undefined for what JSON cannot say (a number that is not finite).
template <typename T> struct JsonForm;

template <> struct JsonForm<bool> {
    static QJsonValue encode(bool value) { return value; }
    static std::optional<bool> decode(const QJsonValue& json);
};

template <> struct JsonForm<double> {
    static QJsonValue encode(double value);
    static std::optional<double> decode(const QJsonValue& json);
};

/// 300.0 is an integer, 1.5 is none, and neither is anything beyond 64 bits.
template <> struct JsonForm<qint64> {
    static QJsonValue encode(qint64 value) { return value; }
    static std::optional<qint64> decode(const QJsonValue& json);
};

template <> struct JsonForm<quint32> {
    static QJsonValue encode(quint32 value) { return static_cast<qint64>(value); }
    static std::optional<quint32> decode(const QJsonValue& json);
};

/// Half of a surrogate pair is no text, and is never written.
template <> struct JsonForm<QString> {
    static QJsonValue encode(const QString& value);
    static std::optional<QString> decode(const QJsonValue& json);
};

template <typename Range> [[nodiscard]] QJsonArray encodeArray(const Range& values)
{
    QJsonArray array;
    for (const auto& value : values)
        array.append(JsonForm<typename Range::value_type>::encode(value));
    return array;
}

/// All elements, or nothing when `json` is no array or one of them does not decode.
template <typename T> [[nodiscard]] std::optional<QList<T>> decodeArray(const QJsonValue& json)
{
    if (!json.isArray())
        return std::nullopt;
    const QJsonArray array = json.toArray();
    QList<T> values;
    values.reserve(array.size());
    for (const QJsonValue element : array) {
        std::optional<T> value = JsonForm<T>::decode(element);
        if (!value)
            return std::nullopt;
        values.append(*std::move(value));
    }
    return values;
}

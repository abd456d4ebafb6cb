#include "Support/Preferences.h"

#include <charconv>

using namespace Qt::StringLiterals;

QJsonDocument Preferences::document(const QString& key) const
{
    return QJsonDocument::fromJson(data(key).value_or(QByteArray()));
}

void Preferences::setDocument(const QString& key, const QJsonDocument& value)
{
    setData(key, value.toJson(QJsonDocument::Compact));
}

std::optional<bool> Preferences::boolean(const QString& key) const
{
    const std::optional<QString> written = text(key);
    if (written == QLatin1StringView("true"))
        return true;
    if (written == QLatin1StringView("false"))
        return false;
    return std::nullopt;
}

void Preferences::setBoolean(const QString& key, bool value)
{
    setText(key, value ? u"true"_s : u"false"_s);
}

std::optional<qint64> Preferences::integer(const QString& key) const
{
    const QByteArray written = text(key).value_or(QString()).toUtf8();
    qint64 value = 0;
    const auto [end, error] = std::from_chars(written.begin(), written.end(), value);
    if (error != std::errc() || end != written.end())
        return std::nullopt;
    return value;
}

void Preferences::setInteger(const QString& key, qint64 value)
{
    setText(key, QString::number(value));
}

#include "Model/AppSettings.h"

#include <functional>
#include <type_traits>

/// Duplicates collapse on reading.
template <> struct JsonForm<std::set<quint32>> {
    static QJsonValue encode(const std::set<quint32>& values) { return encodeArray(values); }

    static std::optional<std::set<quint32>> decode(const QJsonValue& json)
    {
        const std::optional<QList<quint32>> values = decodeArray<quint32>(json);
        if (!values)
            return std::nullopt;
        return std::set<quint32>(values->begin(), values->end());
    }
};

AppSettings::AppSettings(Preferences& preferences)
    : m_preferences(preferences)
    , m_saveNotifiers(observe([this] { save(); }))
{
    load();
    m_suppressSave = false;
}

std::optional<QJsonObject> AppSettings::snapshot() const
{
    QJsonObject object;
    bool isComplete = true;
    visitProperties(*this, [&](const Key& key, const auto& property) {
        using Value = std::remove_cvref_t<decltype(property.value())>;
        const QJsonValue value = JsonForm<Value>::encode(property.value());
        isComplete = isComplete && !value.isUndefined();
        object.insert(key.name, value);
    });
    if (!isComplete)
        return std::nullopt;
    return object;
}

void AppSettings::load()
{
    const QJsonObject object = m_preferences.document(defaultsKey).object();

    // Nothing is assigned before everything has been read.
    std::vector<std::function<void()>> assignments;
    bool isComplete = true;
    visitProperties(*this, [&](const Key& key, auto& property) {
        using Value = std::remove_cvref_t<decltype(property.value())>;
        const QJsonValue json = object.value(key.name);
        if (key.presence == Key::Presence::optional && (json.isUndefined() || json.isNull()))
            return;
        std::optional<Value> value = JsonForm<Value>::decode(json);
        if (!value) {
            isComplete = false;
            return;
        }
        assignments.emplace_back([&property, value = *std::move(value)] { property = value; });
    });
    if (!isComplete)
        return;
    for (const auto& assign : assignments)
        assign();
}

void AppSettings::save()
{
    if (m_suppressSave)
        return;
    if (const std::optional<QJsonObject> object = snapshot())
        m_preferences.setDocument(defaultsKey, QJsonDocument(*object));
}

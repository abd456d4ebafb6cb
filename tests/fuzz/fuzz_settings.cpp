// The settings document as the preferences hold it.

#include "Fuzzing.h"

#include "Model/AppSettings.h"

#include "helpers/MemoryPreferences.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <set>

namespace {

/// What the settings are now, as the document that they write.
QJsonObject written(AppSettings& settings, const MemoryPreferences& preferences)
{
    settings.allowCountUp = !settings.allowCountUp;
    settings.allowCountUp = !settings.allowCountUp;
    return QJsonDocument::fromJson(preferences.documents[AppSettings::defaultsKey]).object();
}

std::set<double> numbers(const QJsonArray& array)
{
    std::set<double> numbers;
    for (const auto value : array)
        numbers.insert(value.toDouble());
    return numbers;
}

/// Whether a value was kept as it was given. What more there is in an object counts for nothing.
bool isKept(const QJsonValue& kept, const QJsonValue& given)
{
    if (kept.isArray())
        return given.isArray() && numbers(kept.toArray()) == numbers(given.toArray());
    if (!kept.isObject())
        return kept == given;
    const QStringList keys = kept.toObject().keys();
    return std::ranges::all_of(
        keys, [&](const QString& key) { return isKept(kept[key], given[key]); });
}

bool areKept(const QJsonObject& kept, QJsonObject given)
{
    for (const auto& [key, absent] :
        {std::pair(u"cueFollow", false), {u"autoCheckUpdates", true}}) {
        if (given[key].isUndefined() || given[key].isNull())
            given[key] = absent;
    }
    return isKept(kept, given);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QJsonObject defaults = [] {
        MemoryPreferences preferences;
        AppSettings settings(preferences);
        return written(settings, preferences);
    }();

    const QByteArray bytes = byteArray(data, size);
    MemoryPreferences preferences;
    preferences.documents[AppSettings::defaultsKey] = bytes;
    AppSettings settings(preferences);
    require(preferences.writes == 0, "reading wrote");
    const QJsonObject document = written(settings, preferences);
    require(document == defaults || areKept(document, QJsonDocument::fromJson(bytes).object()),
        "neither the defaults nor what was stored");
    require(document.keys() == defaults.keys(), "an incomplete document");

    AppSettings restarted(preferences);
    require(written(restarted, preferences) == document, "not read back as written");
    return 0;
}

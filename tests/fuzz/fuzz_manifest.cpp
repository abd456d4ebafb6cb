// What the update feed answers, and the versions in it: every line of the input is one.

#include "Fuzzing.h"

#include "Support/Utf8.h"
#include "Update/UpdateChecker.h"
#include "Update/UpdateManifest.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

template <typename T> bool isKept(const std::optional<T>& kept, const QJsonValue& given)
{
    return kept ? given == *kept : given.isUndefined() || given.isNull();
}

void checkManifest(const QByteArray& bytes)
{
    const ManifestResult result = decodeManifest(bytes);
    const auto* manifest = std::get_if<UpdateManifest>(&result);
    if (!manifest) {
        require(!std::get<QString>(result).isEmpty(), "no reason");
        return;
    }
    const QJsonObject object = QJsonDocument::fromJson(bytes).object();
    require(object[u"version"] == manifest->version
            && object[u"downloadURL"] == manifest->downloadURL
            && isKept(manifest->build, object[u"build"])
            && isKept(manifest->minimumSystemVersion, object[u"minimumSystemVersion"])
            && isKept(manifest->notes, object[u"notes"]),
        "not what the feed said");
}

/// -1, 0 or 1 as `a` comes before, with or after `b`.
int compare(const QString& a, const QString& b)
{
    const bool isAfter = UpdateChecker::isNewer(a, b);
    const bool isBefore = UpdateChecker::isNewer(b, a);
    require(!isAfter || !isBefore, "each newer than the other");
    return isAfter - isBefore;
}

void checkVersion(const QString& version)
{
    require(compare(version, version) == 0, "newer than itself");
    require(compare(version + u"..0."_s, version) == 0, "nothing more is something");
    require(compare(version + u"rc1"_s, version) == 0, "a suffix counts");
    require(compare(version + u".1"_s, version) == 1, "one piece more is not newer");
}

void checkOrder(const QString& a, const QString& b, const QString& c)
{
    const int order = compare(a, b);
    require(compare(u"7."_s + a, u"7."_s + b) == order, "the first difference does not decide");
    if (order == 0)
        require(compare(a, c) == compare(b, c), "equals that compare differently");
    if (order == compare(b, c))
        require(compare(a, c) == order, "no order");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    checkManifest(bytes);
    const QStringList versions = repairUtf8(bytes).split(u'\n');
    for (const QString& version : versions)
        checkVersion(version);
    for (qsizetype i = 2; i < versions.size(); ++i)
        checkOrder(versions[i - 2], versions[i - 1], versions[i]);
    return 0;
}

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

void checkVersions(const QString& a, const QString& b)
{
    const bool isAfter = UpdateChecker::isNewer(a, b);
    require(!isAfter || !UpdateChecker::isNewer(b, a), "each newer than the other");
    require(!UpdateChecker::isNewer(a, a), "newer than itself");
    require(UpdateChecker::isNewer(a + u".1"_s, a), "one piece more is not newer");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = byteArray(data, size);
    checkManifest(bytes);
    const QStringList versions = repairUtf8(bytes).split(u'\n');
    for (qsizetype i = 1; i < versions.size(); ++i)
        checkVersions(versions[i - 1], versions[i]);
    return 0;
}

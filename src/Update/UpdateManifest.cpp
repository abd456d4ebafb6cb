#include "Update/UpdateManifest.h"

#include "Support/StrictJson.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace {

/// Reads the values of one JSON object, and remembers whether all were what they must be.
class ObjectReader {
public:
    explicit ObjectReader(const QJsonObject& object)
        : m_object(object)
    {
    }

    template <typename T> std::optional<T> optional(QStringView key)
    {
        const QJsonValue json = m_object.value(key);
        if (json.isUndefined() || json.isNull())
            return std::nullopt;
        return required<T>(key);
    }

    template <typename T> std::optional<T> required(QStringView key)
    {
        std::optional<T> value = JsonForm<T>::decode(m_object.value(key));
        if (!value)
            m_isComplete = false;
        return value;
    }

    [[nodiscard]] bool isComplete() const { return m_isComplete; }

private:
    const QJsonObject& m_object;
    bool m_isComplete = true;
};

} // namespace

ManifestResult decodeManifest(const QByteArray& bytes)
{
    const QJsonObject object = QJsonDocument::fromJson(bytes).object();
    ObjectReader reader(object);
    UpdateManifest manifest {
        .version = reader.required<QString>(u"version").value_or(QString()),
        .build = reader.optional<qint64>(u"build"),
        .minimumSystemVersion = reader.optional<QString>(u"minimumSystemVersion"),
        .downloadURL = reader.required<QString>(u"downloadURL").value_or(QString()),
        .notes = reader.optional<QString>(u"notes"),
    };
    if (!reader.isComplete())
        return u"The answer of the update feed is not in the correct format."_s;
    return manifest;
}

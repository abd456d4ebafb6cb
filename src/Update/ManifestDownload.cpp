#include "Update/ManifestDownload.h"

#include "Support/StrictJson.h"

#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 mostBytes = 1 << 20;
constexpr int statusOK = 200;

const QString timedOut = u"The request timed out."_s;
const QString badResponse = u"There was a bad response from the server."_s;
const QString notReadable = u"The answer of the update feed is not in the correct format."_s;

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

/// No status yet, or none because the address is not one of the web, is 0.
int statusOf(const QNetworkReply& reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

ManifestResult resultOf(QNetworkReply& reply)
{
    const int status = statusOf(reply);
    const bool hasFailed = reply.error() != QNetworkReply::NoError;
    if (hasFailed && (status == 0 || status == statusOK))
        return reply.errorString();
    if (status != statusOK)
        return badResponse;
    return decodeManifest(reply.readAll());
}

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
        return notReadable;
    return manifest;
}

void downloadManifest(QNetworkAccessManager& network, const QUrl& feed,
    std::chrono::milliseconds limit, std::function<void(const ManifestResult&)> onResult)
{
    QNetworkRequest request(feed);
    request.setAttribute(
        QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    QNetworkReply* reply = network.get(request);

    const auto ownReason = std::make_shared<QString>();
    const auto giveUp = [reply, ownReason](const QString& reason) {
        *ownReason = reason;
        reply->abort();
    };
    QTimer::singleShot(limit, reply, [giveUp] { giveUp(timedOut); });
    QObject::connect(reply, &QIODevice::readyRead, reply, [reply, giveUp] {
        if (reply->bytesAvailable() > mostBytes)
            giveUp(statusOf(*reply) == statusOK ? notReadable : badResponse);
    });
    QObject::connect(
        reply, &QNetworkReply::finished, reply, [reply, ownReason, onResult = std::move(onResult)] {
            reply->deleteLater();
            onResult(ownReason->isEmpty() ? resultOf(*reply) : *ownReason);
        });
}

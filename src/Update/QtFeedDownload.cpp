#include "Update/FeedDownload.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 mostBytes = 1 << 20;
constexpr int statusOK = 200;

const QString timedOut = u"The request timed out."_s;
const QString badResponse = u"There was a bad response from the server."_s;

/// No status yet, or none because the address is not one of the web, is 0.
int statusOf(const QNetworkReply& reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

FeedDownload::Answer answerOf(QNetworkReply& reply)
{
    const int status = statusOf(reply);
    const bool hasFailed = reply.error() != QNetworkReply::NoError;
    if (hasFailed && (status == 0 || status == statusOK))
        return reply.errorString();
    if (status != statusOK)
        return badResponse;
    return reply.readAll();
}

} // namespace

class QtFeedDownload final : public QObject, public FeedDownload {
    Q_OBJECT
    Q_INTERFACES(FeedDownload)
    Q_PLUGIN_METADATA(IID "com.quillfen.tarrow.FeedDownload")

public:
    void fetch(const QUrl& feed, std::chrono::milliseconds limit, QObject& context,
        std::function<void(const Answer&)> onAnswer) override
    {
        // Goes with its one request: it has a thread.
        auto* network = std::make_unique<QNetworkAccessManager>(&context).release();
        ++m_requests;
        connect(network, &QObject::destroyed, this, [this] { --m_requests; });
        QNetworkRequest request(feed);
        request.setAttribute(
            QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
        QNetworkReply* reply = network->get(request);

        const auto ownAnswer = std::make_shared<std::optional<Answer>>();
        const auto giveUp = [reply, ownAnswer](const Answer& answer) {
            *ownAnswer = answer;
            reply->abort();
        };
        QTimer::singleShot(limit, reply, [giveUp] { giveUp(timedOut); });
        connect(reply, &QIODevice::readyRead, reply, [reply, giveUp] {
            if (reply->bytesAvailable() > mostBytes)
                giveUp(statusOf(*reply) == statusOK ? Answer(QByteArray()) : badResponse);
        });
        connect(reply, &QNetworkReply::finished, network,
            [network, reply, ownAnswer, onAnswer = std::move(onAnswer)] {
                // The search for an address may go on when the time for it is over.
                if (*ownAnswer != Answer(timedOut))
                    network->deleteLater();
                onAnswer(*ownAnswer ? **ownAnswer : answerOf(*reply));
            });
    }

    [[nodiscard]] bool isIdle() const override { return m_requests == 0; }

private:
    /// Those that may still wait for something.
    int m_requests = 0;
};

#include "QtFeedDownload.moc"

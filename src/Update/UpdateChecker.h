#pragma once

#include "Support/Clock.h"
#include "Support/Preferences.h"
#include "Update/FeedDownload.h"
#include "Update/UpdateManifest.h"

#include <QDateTime>
#include <QJsonObject>
#include <QMessageBox>
#include <QObject>

#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <optional>

/// Finds out whether a newer version of the program has been published, and offers it.
///
/// Checks do not wait for each other; each shows its own alerts, which are modal for the whole
/// application and block nothing else.
class UpdateChecker {
public:
    /// Where the preferences keep the version that the operator does not want to hear of, and the
    /// time of the last successful check (ISO 8601, in UTC).
    static constexpr QStringView skipKey = u"TarrowSkippedUpdateVersion";
    static constexpr QStringView lastCheckKey = u"TarrowLastUpdateCheck";

    /// `information` holds the feed's address and the running version (see
    /// informationDictionary()). `preferences` must outlive the checker. A request ends after
    /// `requestLimit`, whatever the server does.
    UpdateChecker(QJsonObject information, Preferences& preferences, Clock clock = systemClock(),
        std::chrono::milliseconds requestLimit = std::chrono::seconds(15));
    UpdateChecker(const UpdateChecker&) = delete;
    UpdateChecker& operator=(const UpdateChecker&) = delete;
    ~UpdateChecker() = default;

    /// Checks when that is `autoEnabled` and the last check is more than a day old. Says nothing
    /// but that there is a new version, and that only if it was not skipped before.
    void checkInBackground(bool autoEnabled);
    /// Checks at once, and tells every outcome.
    void checkForUpdatesMenu();

    /// False when the process must end without tidying up (std::quick_exit), which would wait for
    /// a name server that may never answer.
    [[nodiscard]] bool isIdle() const { return m_download == nullptr || m_download->isIdle(); }

    /// Whether version `a` comes after version `b`, piece by piece. What is not a number counts as
    /// 0, and so does a piece that is not there.
    [[nodiscard]] static bool isNewer(const QString& a, const QString& b);

private:
    enum class Initiator { launch, user };
    struct Choice {
        QString title;
        std::function<void()> action = {};
    };

    void check(Initiator initiator);
    void handleAnswer(const FeedDownload::Answer& answer, Initiator initiator);
    void handleManifest(const UpdateManifest& manifest, Initiator initiator);
    void handleFailure(const QString& reason, Initiator initiator);
    void present(const UpdateManifest& manifest);
    void showAlert(
        const QString& message, const QString& informativeText, const QList<Choice>& choices);
    [[nodiscard]] std::optional<QDateTime> lastCheck() const;
    [[nodiscard]] QDateTime now() const;
    [[nodiscard]] std::optional<QUrl> feedURL() const;

    QJsonObject m_information;
    QString m_currentVersion;
    Preferences& m_preferences;
    Clock m_clock;
    std::chrono::milliseconds m_requestLimit;
    /// Loaded for the first check.
    FeedDownload* m_download = nullptr;
    std::list<std::unique_ptr<QMessageBox>> m_alerts;
    /// Takes the requests that are under way with it.
    QObject m_context;
};

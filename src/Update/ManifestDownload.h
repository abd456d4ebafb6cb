#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <optional>
#include <variant>

class QNetworkAccessManager;

/// What a feed says of the published version.
struct UpdateManifest {
    /// Dotted.
    QString version;
    std::optional<qint64> build;
    std::optional<QString> minimumSystemVersion;
    QString downloadURL;
    std::optional<QString> notes;
};

/// The manifest, or what went wrong, for people to read.
using ManifestResult = std::variant<UpdateManifest, QString>;

/// What the feed answered. Keys other than the manifest's are ignored, those that need not be
/// there may be null.
[[nodiscard]] ManifestResult decodeManifest(const QByteArray& bytes);

/// Fetches the manifest at `feed` and tells once, from the event loop, how that went; never when
/// `network` goes before. `limit` is for all of it: a server that keeps sending a little is no
/// reason to wait for ever. No manifest is larger than a mebibyte.
void downloadManifest(QNetworkAccessManager& network, const QUrl& feed,
    std::chrono::milliseconds limit, std::function<void(const ManifestResult&)> onResult);

#pragma once

#include <QByteArray>
#include <QString>

#include <optional>
#include <variant>

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

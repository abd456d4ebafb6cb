#pragma once

#include <QByteArray>
#include <QObject>
#include <QUrl>

#include <chrono>
#include <functional>
#include <variant>

/// The part of the update check that needs the network library. It is a module of its own, loaded
/// for the first check, because the library takes long to load and most launches check nothing.
class FeedDownload {
public:
    /// What the feed answered, or what went wrong, for people to read.
    using Answer = std::variant<QByteArray, QString>;

    FeedDownload() = default;
    FeedDownload(const FeedDownload&) = delete;
    FeedDownload& operator=(const FeedDownload&) = delete;
    virtual ~FeedDownload() = default;

    /// Fetches what is at `feed` and tells once, from the event loop, how that went; never when
    /// `context` goes before. `limit` is for all of it: a server that keeps sending a little is no
    /// reason to wait for ever. An answer of more than a mebibyte counts as empty.
    virtual void fetch(const QUrl& feed, std::chrono::milliseconds limit, QObject& context,
        std::function<void(const Answer&)> onAnswer) = 0;

    /// False while the system may still be looking for the address of a feed, which it may do for
    /// longer than any limit; the network library waits for it when the process tidies up.
    [[nodiscard]] virtual bool isIdle() const = 0;
};

Q_DECLARE_INTERFACE(FeedDownload, "com.quillfen.tarrow.FeedDownload")

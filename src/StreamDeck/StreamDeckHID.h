#pragma once

#include "Platform/HIDManager.h"
#include "StreamDeck/StreamDeckDevice.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QThread>

#include <functional>
#include <memory>
#include <optional>

/// Talks to one Stream Deck at a time: turns its reports into keys that go down and up, and sends
/// it pictures and settings. The first supported deck that opens is the one; another one gets its
/// chance when that has gone, by being plugged in or by rescan().
///
/// It has a thread for what the devices tell, and a second one for what is written to them, so
/// that a slow deck holds up nothing else.
class StreamDeckHID {
public:
    static constexpr quint16 vendorID = 0x0FD9;

    using ManagerFactory = std::function<std::unique_ptr<HIDManager>()>;

    /// `makeManager` is called for each start().
    explicit StreamDeckHID(ManagerFactory makeManager = [] { return systemHIDManager(vendorID); });
    StreamDeckHID(const StreamDeckHID&) = delete;
    StreamDeckHID& operator=(const StreamDeckHID&) = delete;
    /// Stops. No callback is called any more, unless the system has held one up for seconds.
    ~StreamDeckHID();

    // To be set before the first start(), and called on a thread of this object's own.
    /// A deck has been opened.
    std::function<void(const StreamDeckModel&)> onConnect;
    /// The open deck has been pulled out.
    std::function<void()> onDisconnect;
    /// A key has gone down or up; the index counts from the top left key, row by row.
    std::function<void(int key, bool pressed)> onKeyChange;
    /// The devices or one of them cannot be opened: a sentence for the operator.
    std::function<void(const QString& message)> onAccessDenied;

    /// What follows is for the thread that made the object.

    /// Begins to look for decks; does nothing while it does so already.
    void start();
    /// Lets go of the deck, telling nobody.
    void stop();
    /// Tries again to open the decks that are there. Starts what has not been started.
    void rescan();

    /// The open deck, if any.
    [[nodiscard]] std::optional<StreamDeckModel> model() const;
    /// In percent, clamped to 0 … 100.
    void setBrightness(qint64 percent);
    /// Makes the deck show its own picture.
    void reset();
    /// Has the reports of a key's picture written one after the other, with nothing in between.
    /// Does nothing without a deck, like everything that is written.
    ///
    /// Pictures of one key and settings of one kind supersede each other: one that the deck has not
    /// begun to take when the next one comes is left out.
    void sendKeyPackets(int key, const QList<QByteArray>& reports);
    /// Returns when all that was to be written has been written, however slow the deck is, or
    /// after three seconds in which it has taken nothing.
    void flushWrites();

private:
    class Session;
    class WriteQueue;
    /// What a write sets: the picture of the key of that number, or one of these.
    enum class Subject : int { brightness = -1, reset = -2 };

    void setFeature(Subject subject, const QByteArray& gen2, const QByteArray& older);

    ManagerFactory m_makeManager;
    /// What the thread works on, which may outlive this object if the system holds it up. Null
    /// while stopped.
    std::shared_ptr<Session> m_session;
    std::unique_ptr<QThread> m_thread;
    std::unique_ptr<WriteQueue> m_writeQueue;
};

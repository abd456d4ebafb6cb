#include "StreamDeck/StreamDeckHID.h"

#include "StreamDeck/StreamDeckKeys.h"
#include "Support/ControlLog.h"

#include <QMutex>
#include <QObject>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Generation = StreamDeckModel::Generation;

// Both lend their threads their names.
constexpr auto threadName = "com.quillfen.plinth.streamdeck.hid"_L1;
constexpr auto writeQueueName = "com.quillfen.plinth.streamdeck.write"_L1;
constexpr uint threadStackBytes = 0x80000;
/// How long stop() waits for the thread.
constexpr unsigned long stopPatienceInMilliseconds = 500;
/// How long a deck that takes nothing at all may hold up flushWrites().
constexpr auto writePatience = 3s;

constexpr qint64 defaultInputReportSize = 64;

QString accessMessage(int error)
{
    switch (error) {
    case EACCES:
    case EPERM:
        return u"macOS blocked Stream Deck access — grant Tarrow under System Settings ▸ Privacy & "
               "Security ▸ Input Monitoring, then Rescan."_s;
    case EBUSY:
        return u"The Stream Deck is in use by another app — fully quit the Elgato Stream Deck "
               "software (its menu-bar helper too), then Rescan."_s;
    default:
        return u"Couldn't open the Stream Deck (IOKit 0x%1)."_s.arg(
            QString::number(static_cast<uint>(error), 16).toUpper().rightJustified(8, u'0'));
    }
}

void logAccess(int error, const QByteArray& node)
{
    // The operator's message speaks of another system's settings; this is the way out on this one.
    const bool isPermission = error == EACCES || error == EPERM;
    qCCritical(controlLog, "Stream Deck: cannot open %s: %s%s", node.constData(),
        qUtf8Printable(qt_error_string(error)),
        isPermission ? "; install the udev rule 60-tarrow-streamdeck.rules and plug it in again"
                     : "");
}

} // namespace

/// What one run of the thread knows. It belongs to that thread, except for the deck and its model,
/// which the owner's thread reads.
class StreamDeckHID::Session {
public:
    struct Deck {
        std::shared_ptr<HIDDevice> device;
        StreamDeckModel model;
    };

    Session(std::unique_ptr<HIDManager> manager, const StreamDeckHID& owner)
        : onConnect(owner.onConnect)
        , onDisconnect(owner.onDisconnect)
        , onKeyChange(owner.onKeyChange)
        , onAccessDenied(owner.onAccessDenied)
        , m_manager(std::move(manager))
    {
    }

    // Copies, for the owner may be gone while the system still holds up the thread.
    decltype(StreamDeckHID::onConnect) onConnect;
    decltype(StreamDeckHID::onDisconnect) onDisconnect;
    decltype(StreamDeckHID::onKeyChange) onKeyChange;
    decltype(StreamDeckHID::onAccessDenied) onAccessDenied;

    void threadMain();

    // From here on for the owner's thread.

    [[nodiscard]] std::optional<Deck> deck() const
    {
        const QMutexLocker lock(&m_mutex);
        return m_deck;
    }

    /// No callback begins after this.
    void stop()
    {
        {
            const QMutexLocker lock(&m_mutex);
            m_isStopped = true;
        }
        m_manager->stop();
    }

    void rescan()
    {
        m_manager->perform([this] {
            if (m_identity)
                return;
            for (const HIDDeviceInfo& info : m_manager->devices()) {
                deviceAttached(info);
                if (m_identity)
                    break;
            }
        });
    }

private:
    void deviceAttached(const HIDDeviceInfo& info);
    void deviceRemoved(const QByteArray& identity);
    void teardownDevice();

    template <typename Callback, typename... Arguments>
    void tell(const Callback& callback, const Arguments&... arguments) const
    {
        {
            const QMutexLocker lock(&m_mutex);
            if (m_isStopped)
                return;
        }
        if (callback)
            callback(arguments...);
    }

    std::unique_ptr<HIDManager> m_manager;
    /// Of the open deck.
    std::optional<QByteArray> m_identity;
    std::optional<StreamDeckKeys> m_keys;

    mutable QMutex m_mutex;
    std::optional<Deck> m_deck;
    bool m_isStopped = false;
};

void StreamDeckHID::Session::threadMain()
{
    m_manager->onMatch = [this](const HIDDeviceInfo& info) { deviceAttached(info); };
    m_manager->onRemoval = [this](const QByteArray& identity) { deviceRemoved(identity); };
    m_manager->onInputReport = [this](QByteArrayView report) {
        for (const auto& [key, pressed] : m_keys->changes(report))
            tell(onKeyChange, key, pressed);
    };
    if (const int error = m_manager->open(); error != 0) {
        logAccess(error, "the list of devices");
        tell(onAccessDenied, accessMessage(error));
    }
    m_manager->run();
    teardownDevice();
}

void StreamDeckHID::Session::deviceAttached(const HIDDeviceInfo& info)
{
    if (m_identity)
        return;
    const auto model = StreamDeckModel::model(info.productID);
    if (!model)
        return;
    const HIDManager::Opened opened = m_manager->openDevice(info);
    if (!opened.device) {
        logAccess(opened.error, info.node);
        tell(onAccessDenied, accessMessage(opened.error));
        return;
    }
    const qint64 reportSize = opened.device->maxInputReportSize().value_or(defaultInputReportSize);
    const int shortest = StreamDeckKeys::headerLength(*model) + model->keyCount + 4;
    m_manager->listen(opened.device, std::max<qint64>(reportSize, shortest));
    m_identity = info.identity;
    m_keys.emplace(*model);
    {
        const QMutexLocker lock(&m_mutex);
        m_deck = Deck {opened.device, *model};
    }
    tell(onConnect, *model);
}

void StreamDeckHID::Session::deviceRemoved(const QByteArray& identity)
{
    if (m_identity != identity)
        return;
    teardownDevice();
    tell(onDisconnect);
}

void StreamDeckHID::Session::teardownDevice()
{
    m_manager->stopListening();
    m_identity.reset();
    m_keys.reset();
    // What is still to be written holds the device open until it has been written, so that no
    // descriptor is reused too early.
    const QMutexLocker lock(&m_mutex);
    m_deck.reset();
}

/// Writes one thing after the other, in the order in which they were asked for, on its thread.
///
/// A write that has not begun gives way to a later one that sets the same thing of the same deck:
/// then a deck that takes nothing for hours holds up one picture for each of its keys, and not one
/// for each second. The later one goes to the end, so what is left over is still in the order of
/// the requests, and leaves the deck as all of them would have.
class StreamDeckHID::WriteQueue {
public:
    struct Write {
        std::shared_ptr<HIDDevice> device;
        Subject subject;
        std::function<void(HIDDevice&)> perform;
    };

    WriteQueue()
        : m_thread(QThread::create([state = m_state] { state->run(); }))
    {
        m_thread->setObjectName(writeQueueName);
        m_thread->start();
    }
    WriteQueue(const WriteQueue&) = delete;
    WriteQueue& operator=(const WriteQueue&) = delete;

    /// Does first what is still to be done.
    ~WriteQueue()
    {
        m_state->end();
        if (flush() && m_thread->wait())
            return;
        // The system holds up a write for good: the process ends without it.
        [[maybe_unused]] const auto* thread = m_thread.release();
    }

    void add(Write write) { m_state->add(std::move(write)); }

    /// False when nothing has been done for so long that nothing will be.
    bool flush() { return m_state->waitUntilDone(); }

private:
    /// It may outlive the queue if the system holds up the thread. Its mutex and its condition are
    /// the standard library's, which the thread sanitizer sees.
    class State {
    public:
        void run()
        {
            std::unique_lock lock(m_mutex);
            for (;;) {
                m_changed.wait(lock, [this] { return m_isEnding || !m_waiting.isEmpty(); });
                if (m_waiting.isEmpty())
                    return;
                m_isWriting = true;
                std::optional<Write> write = m_waiting.takeFirst();
                lock.unlock();
                write->perform(*write->device);
                // It lets go of its device before it counts as done.
                write.reset();
                lock.lock();
                m_isWriting = false;
                ++m_done;
                m_changed.notify_all();
            }
        }

        void add(Write write)
        {
            const std::lock_guard lock(m_mutex);
            m_waiting.removeIf([&](const Write& earlier) {
                return earlier.device == write.device && earlier.subject == write.subject;
            });
            m_waiting.append(std::move(write));
            m_changed.notify_all();
        }

        void end()
        {
            const std::lock_guard lock(m_mutex);
            m_isEnding = true;
            m_changed.notify_all();
        }

        bool waitUntilDone()
        {
            std::unique_lock lock(m_mutex);
            while (m_isWriting || !m_waiting.isEmpty()) {
                const quint64 before = m_done;
                if (m_doneWhenHeldUp == before)
                    return false;
                if (m_changed.wait_for(lock, writePatience, [&] { return m_done != before; }))
                    continue;
                qCWarning(controlLog, "Stream Deck: the deck does not take what is written to it");
                m_doneWhenHeldUp = before;
                return false;
            }
            return true;
        }

    private:
        std::mutex m_mutex;
        std::condition_variable m_changed;
        QList<Write> m_waiting;
        bool m_isWriting = false;
        quint64 m_done = 0;
        /// How many were done when the patience ended: while it is so many, nobody waits again.
        std::optional<quint64> m_doneWhenHeldUp;
        bool m_isEnding = false;
    };

    std::shared_ptr<State> m_state = std::make_shared<State>();
    std::unique_ptr<QThread> m_thread;
};

StreamDeckHID::StreamDeckHID(ManagerFactory makeManager)
    : m_makeManager(std::move(makeManager))
{
}

StreamDeckHID::~StreamDeckHID()
{
    stop();
}

void StreamDeckHID::start()
{
    if (m_session)
        return;
    if (!m_writeQueue)
        m_writeQueue = std::make_unique<WriteQueue>();
    m_session = std::make_shared<Session>(m_makeManager(), *this);
    m_thread.reset(QThread::create([session = m_session] { session->threadMain(); }));
    m_thread->setObjectName(threadName);
    m_thread->setStackSize(threadStackBytes);
    m_thread->start();
}

void StreamDeckHID::stop()
{
    if (!m_session)
        return;
    m_session->stop();
    m_session.reset();
    if (m_thread->wait(stopPatienceInMilliseconds)) {
        m_thread.reset();
        return;
    }
    // The system holds it up; it ends by itself when it is let go.
    QThread* thread = m_thread.release();
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    if (thread->isFinished())
        thread->deleteLater();
}

void StreamDeckHID::rescan()
{
    // It ends by itself only when the system has refused it what it needs.
    if (m_session && m_thread->isFinished())
        stop();
    if (m_session)
        m_session->rescan();
    else
        start();
}

std::optional<StreamDeckModel> StreamDeckHID::model() const
{
    const auto deck = m_session ? m_session->deck() : std::nullopt;
    return deck ? std::optional(deck->model) : std::nullopt;
}

void StreamDeckHID::setBrightness(qint64 percent)
{
    const auto level = static_cast<char>(std::clamp<qint64>(percent, 0, 100));
    setFeature(Subject::brightness, QByteArray("\x03\x08", 2) + level,
        QByteArray("\x05\x55\xAA\xD1\x01", 5) + level);
}

void StreamDeckHID::reset()
{
    setFeature(Subject::reset, QByteArray("\x03\x02", 2), QByteArray("\x0B\x63", 2));
}

void StreamDeckHID::setFeature(Subject subject, const QByteArray& gen2, const QByteArray& older)
{
    const auto deck = m_session ? m_session->deck() : std::nullopt;
    if (!deck)
        return;
    const QByteArray report = deck->model.generation == Generation::gen2
        ? gen2.leftJustified(32, '\0')
        : older.leftJustified(17, '\0');
    m_writeQueue->add(
        {deck->device, subject, [report](HIDDevice& device) { device.setFeatureReport(report); }});
}

void StreamDeckHID::sendKeyPackets(int key, const QList<QByteArray>& reports)
{
    const auto deck = m_session && !reports.isEmpty() ? m_session->deck() : std::nullopt;
    if (!deck)
        return;
    m_writeQueue->add({deck->device, Subject {key}, [reports](HIDDevice& device) {
                           for (const QByteArray& report : reports) {
                               if (!report.isEmpty())
                                   device.setOutputReport(report);
                           }
                       }});
}

void StreamDeckHID::flushWrites()
{
    if (m_writeQueue)
        m_writeQueue->flush();
}

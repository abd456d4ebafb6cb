#include "Platform/DisplaySleepAssertion.h"

#include "Support/ControlLog.h"

#include <QSocketNotifier>
#include <QTimer>

#include <cstdint>
#include <cstring>
#include <optional>

#include <poll.h>
#include <systemd/sd-bus.h>

namespace {

constexpr auto service = "org.freedesktop.ScreenSaver";
constexpr auto path = "/org/freedesktop/ScreenSaver";

void logFailure(const char* reason)
{
    qCInfo(controlLog, "Displays are not kept awake: %s", reason);
}

} // namespace

/// The session bus, driven by the event loop. sd-bus connects, authenticates and calls without
/// ever waiting; Qt's own bus class waits for the bus when it connects.
class DisplaySleepAssertion::Bus {
public:
    static std::unique_ptr<Bus> connect()
    {
        sd_bus* bus = nullptr;
        if (const int result = sd_bus_open_user(&bus); result < 0) {
            logFailure(std::strerror(-result));
            return nullptr;
        }
        return std::unique_ptr<Bus>(new Bus(bus));
    }

    void inhibit(const char* reason, std::function<void(quint32)> onTaken)
    {
        m_onTaken = std::move(onTaken);
        const int result = sd_bus_call_method_async(m_bus.get(), nullptr, service, path, service,
            "Inhibit", takeReply, this, "ss", "Tarrow", reason);
        if (result < 0)
            logFailure(std::strerror(-result));
        process();
    }

    void unInhibit(quint32 identifier)
    {
        sd_bus_call_method_async(m_bus.get(), nullptr, service, path, service, "UnInhibit", nullptr,
            nullptr, "u", identifier);
        process();
    }

private:
    struct Closer {
        void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
    };

    explicit Bus(sd_bus* bus)
        : m_bus(bus)
    {
        const int descriptor = sd_bus_get_fd(bus);
        for (auto [notifier, type] : {std::pair(&m_readable, QSocketNotifier::Read),
                 std::pair(&m_writable, QSocketNotifier::Write)}) {
            notifier->emplace(descriptor, type);
            QObject::connect(&**notifier, &QSocketNotifier::activated, [this] { process(); });
        }
        m_deadline.setSingleShot(true);
        QObject::connect(&m_deadline, &QTimer::timeout, [this] { process(); });
    }

    static int takeReply(sd_bus_message* reply, void* userdata, sd_bus_error*)
    {
        const auto* bus = static_cast<Bus*>(userdata);
        if (const sd_bus_error* error = sd_bus_message_get_error(reply)) {
            logFailure(error->message ? error->message : error->name);
            return 0;
        }
        quint32 identifier = 0;
        if (sd_bus_message_read(reply, "u", &identifier) >= 0 && identifier != 0)
            bus->m_onTaken(identifier);
        return 0;
    }

    /// Does what can be done at once, then tells the event loop what to wait for.
    void process()
    {
        int result = 0;
        do {
            result = sd_bus_process(m_bus.get(), nullptr);
        } while (result > 0);
        const int events = result < 0 ? result : sd_bus_get_events(m_bus.get());
        if (events < 0) {
            // The bus is gone, and with it all that was asked of it.
            m_readable->setEnabled(false);
            m_writable->setEnabled(false);
            m_deadline.stop();
            return;
        }
        m_readable->setEnabled((events & POLLIN) != 0);
        m_writable->setEnabled((events & POLLOUT) != 0);
        setDeadline();
    }

    void setDeadline()
    {
        std::uint64_t deadline = 0;
        if (sd_bus_get_timeout(m_bus.get(), &deadline) < 0 || deadline == UINT64_MAX) {
            m_deadline.stop();
            return;
        }
        timespec now {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        const auto nowMicroseconds = static_cast<std::uint64_t>(now.tv_sec) * 1'000'000
            + static_cast<std::uint64_t>(now.tv_nsec) / 1000;
        const std::uint64_t wait = deadline > nowMicroseconds ? deadline - nowMicroseconds : 0;
        m_deadline.start(std::chrono::milliseconds((wait + 999) / 1000));
    }

    std::unique_ptr<sd_bus, Closer> m_bus;
    std::optional<QSocketNotifier> m_readable;
    std::optional<QSocketNotifier> m_writable;
    QTimer m_deadline;
    std::function<void(quint32)> m_onTaken;
};

DisplaySleepAssertion::DisplaySleepAssertion() = default;

DisplaySleepAssertion::~DisplaySleepAssertion() = default;

void DisplaySleepAssertion::take(const char* reason, std::function<void(quint32)> onTaken)
{
    m_bus = Bus::connect();
    if (m_bus)
        m_bus->inhibit(reason, std::move(onTaken));
}

void DisplaySleepAssertion::release(quint32 identifier)
{
    if (m_bus)
        m_bus->unInhibit(identifier);
}

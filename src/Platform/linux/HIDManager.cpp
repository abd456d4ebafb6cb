#include "Platform/HIDManager.h"

#include "Platform/HIDReportDescriptor.h"

#include <QFile>
#include <QMutex>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <libudev.h>
#include <linux/hidraw.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

struct UdevRelease {
    void operator()(udev* object) const { udev_unref(object); }
    void operator()(udev_monitor* object) const { udev_monitor_unref(object); }
    void operator()(udev_enumerate* object) const { udev_enumerate_unref(object); }
    void operator()(udev_device* object) const { udev_device_unref(object); }
};
template <typename T> using Udev = std::unique_ptr<T, UdevRelease>;

/// The device that a hidraw node belongs to; owned by the node's own object. Null without one.
udev_device* hidParent(udev_device* hidraw)
{
    return udev_device_get_parent_with_subsystem_devtype(hidraw, "hid", nullptr);
}

struct ProductKey {
    qint64 vendor = 0;
    qint64 product = 0;
};

/// HID_ID holds bus, vendor and product as hexadecimal numbers: 0003:00000FD9:0000006C.
std::optional<ProductKey> productKey(udev_device* hid)
{
    const QList<QByteArray> parts =
        QByteArray(udev_device_get_property_value(hid, "HID_ID")).split(':');
    if (parts.size() != 3)
        return std::nullopt;
    bool hasVendor = false;
    bool hasProduct = false;
    const ProductKey key {
        parts[1].toLongLong(&hasVendor, 16), parts[2].toLongLong(&hasProduct, 16)};
    if (!hasVendor)
        return std::nullopt;
    return ProductKey {key.vendor, hasProduct ? key.product : 0};
}

class HIDRawDevice final : public HIDDevice {
public:
    HIDRawDevice(int descriptor, QString reportDescriptorFile)
        : m_descriptor(descriptor)
        , m_reportDescriptorFile(std::move(reportDescriptorFile))
    {
    }
    ~HIDRawDevice() override { close(m_descriptor); }

    [[nodiscard]] int descriptor() const { return m_descriptor; }

    [[nodiscard]] std::optional<qint64> maxInputReportSize() const override
    {
        QFile file(m_reportDescriptorFile);
        if (!file.open(QIODevice::ReadOnly))
            return std::nullopt;
        return ::maxInputReportSize(file.readAll());
    }

    void setOutputReport(QByteArrayView report) override
    {
        while (write(m_descriptor, report.data(), static_cast<size_t>(report.size())) < 0
            && errno == EINTR) { }
    }

    void setFeatureReport(QByteArrayView report) override
    {
        // The system writes into the buffer what the device answers.
        QByteArray buffer = report.toByteArray();
        ioctl(m_descriptor, HIDIOCSFEATURE(static_cast<unsigned>(buffer.size())), buffer.data());
    }

private:
    int m_descriptor;
    QString m_reportDescriptorFile;
};

class UdevHIDManager final : public HIDManager {
public:
    explicit UdevHIDManager(quint16 vendorID)
        : m_vendorID(vendorID)
        , m_wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
        , m_wakeUpError(m_wakeUp < 0 ? errno : 0)
    {
    }
    ~UdevHIDManager() override { close(m_wakeUp); }

    int open() override;
    QList<HIDDeviceInfo> devices() override;
    Opened openDevice(const HIDDeviceInfo& info) override;
    void listen(const std::shared_ptr<HIDDevice>& device, qsizetype bufferLength) override;
    void stopListening() override;
    void run() override;
    void perform(std::function<void()> task) override;
    void stop() override;

private:
    [[nodiscard]] std::optional<HIDDeviceInfo> info(udev_device* hidraw) const;
    [[nodiscard]] bool isOfProduct(int descriptor, qint64 productID) const;
    void wake() const;
    void performTasks();
    void receiveChange();
    void lookAgain();
    void readReport();

    qint64 m_vendorID;
    int m_wakeUp;
    int m_wakeUpError;
    Udev<udev> m_udev;
    Udev<udev_monitor> m_monitor;
    QList<HIDDeviceInfo> m_known;
    std::shared_ptr<HIDRawDevice> m_device;
    QByteArray m_buffer;

    std::atomic<bool> m_isStopped = false;
    QMutex m_mutex;
    QList<std::function<void()>> m_tasks;
};

int UdevHIDManager::open()
{
    if (m_wakeUpError != 0)
        return m_wakeUpError;
    m_udev.reset(udev_new());
    if (!m_udev)
        return errno;
    // Not the kernel's own announcements: a node is of use when udev's rules have given it its
    // permissions, and not before.
    m_monitor.reset(udev_monitor_new_from_netlink(m_udev.get(), "udev"));
    if (!m_monitor)
        return errno;
    int error = udev_monitor_filter_add_match_subsystem_devtype(m_monitor.get(), "hidraw", nullptr);
    if (error == 0)
        error = udev_monitor_enable_receiving(m_monitor.get());
    if (error != 0)
        m_monitor.reset();
    return -error;
}

QList<HIDDeviceInfo> UdevHIDManager::devices()
{
    QList<HIDDeviceInfo> found;
    if (!m_udev)
        return found;
    const Udev<udev_enumerate> list(udev_enumerate_new(m_udev.get()));
    if (!list || udev_enumerate_add_match_subsystem(list.get(), "hidraw") < 0
        || udev_enumerate_scan_devices(list.get()) < 0)
        return found;
    udev_list_entry* entry = nullptr;
    udev_list_entry_foreach(entry, udev_enumerate_get_list_entry(list.get()))
    {
        const Udev<udev_device> device(
            udev_device_new_from_syspath(m_udev.get(), udev_list_entry_get_name(entry)));
        // It may have gone in the meantime.
        if (const auto known = device ? info(device.get()) : std::nullopt)
            found.append(*known);
    }
    return found;
}

std::optional<HIDDeviceInfo> UdevHIDManager::info(udev_device* hidraw) const
{
    udev_device* hid = hidParent(hidraw);
    const char* node = udev_device_get_devnode(hidraw);
    const auto key = hid ? productKey(hid) : std::nullopt;
    if (!node || !key || key->vendor != m_vendorID)
        return std::nullopt;
    return HIDDeviceInfo {udev_device_get_syspath(hidraw), node, key->product};
}

/// Between the list and the opening a node may have gone over to another device, which must not be
/// written to. One that no longer says what it is has gone.
bool UdevHIDManager::isOfProduct(int descriptor, qint64 productID) const
{
    hidraw_devinfo said {};
    return ioctl(descriptor, HIDIOCGRAWINFO, &said) != 0
        || (static_cast<quint16>(said.vendor) == m_vendorID
            && static_cast<quint16>(said.product) == productID);
}

HIDManager::Opened UdevHIDManager::openDevice(const HIDDeviceInfo& info)
{
    const int descriptor = ::open(info.node.constData(), O_RDWR | O_CLOEXEC);
    if (descriptor < 0)
        return {.device = nullptr, .error = errno};
    if (!isOfProduct(descriptor, info.productID)) {
        close(descriptor);
        return {.device = nullptr, .error = ENODEV};
    }
    QString reportDescriptorFile;
    const Udev<udev_device> hidraw(udev_device_new_from_syspath(m_udev.get(), info.identity));
    if (udev_device* hid = hidraw ? hidParent(hidraw.get()) : nullptr) {
        reportDescriptorFile =
            QFile::decodeName(udev_device_get_syspath(hid)) + u"/report_descriptor"_s;
    }
    return {.device = std::make_shared<HIDRawDevice>(descriptor, reportDescriptorFile), .error = 0};
}

void UdevHIDManager::listen(const std::shared_ptr<HIDDevice>& device, qsizetype bufferLength)
{
    m_device = std::static_pointer_cast<HIDRawDevice>(device);
    m_buffer = QByteArray(bufferLength, '\0');
}

void UdevHIDManager::stopListening()
{
    m_device.reset();
    m_buffer.clear();
}

void UdevHIDManager::run()
{
    // Nobody could end it.
    if (m_wakeUpError != 0)
        return;
    if (m_monitor)
        lookAgain();
    while (!m_isStopped) {
        enum { wakeUp, monitor, device, count };
        // A negative descriptor is passed over.
        pollfd ready[count] = {
            {.fd = m_wakeUp, .events = POLLIN, .revents = 0},
            {.fd = m_monitor ? udev_monitor_get_fd(m_monitor.get()) : -1,
                .events = POLLIN,
                .revents = 0},
            {.fd = m_device ? m_device->descriptor() : -1, .events = POLLIN, .revents = 0},
        };
        if (poll(ready, count, -1) < 0)
            continue;
        // Reports come first: what follows may close the device.
        if (ready[device].revents != 0)
            readReport();
        if (ready[monitor].revents != 0)
            receiveChange();
        if (ready[wakeUp].revents != 0)
            performTasks();
    }
}

void UdevHIDManager::perform(std::function<void()> task)
{
    {
        const QMutexLocker lock(&m_mutex);
        m_tasks.append(std::move(task));
    }
    wake();
}

void UdevHIDManager::stop()
{
    m_isStopped = true;
    wake();
}

void UdevHIDManager::wake() const
{
    const quint64 one = 1;
    // It can fail only because the thread is about to wake up anyway.
    [[maybe_unused]] const auto written = write(m_wakeUp, &one, sizeof one);
}

void UdevHIDManager::performTasks()
{
    quint64 wakeUps = 0;
    [[maybe_unused]] const auto taken = read(m_wakeUp, &wakeUps, sizeof wakeUps);
    QList<std::function<void()>> tasks;
    {
        const QMutexLocker lock(&m_mutex);
        tasks = std::exchange(m_tasks, {});
    }
    for (const auto& task : tasks)
        task();
}

void UdevHIDManager::receiveChange()
{
    const Udev<udev_device> changed(udev_monitor_receive_device(m_monitor.get()));
    if (!changed) {
        // More has changed than the monitor could hold, so some of it is lost.
        if (errno == ENOBUFS)
            lookAgain();
        return;
    }
    const QByteArray action = udev_device_get_action(changed.get());
    const QByteArray identity = udev_device_get_syspath(changed.get());
    if (action == "remove") {
        m_known.removeIf([&](const HIDDeviceInfo& known) { return known.identity == identity; });
        onRemoval(identity);
    } else if (action == "add") {
        const auto added = info(changed.get());
        if (!added)
            return;
        m_known.append(*added);
        onMatch(*added);
    }
}

void UdevHIDManager::lookAgain()
{
    const QList<HIDDeviceInfo> before = std::exchange(m_known, devices());
    const auto contains = [](const QList<HIDDeviceInfo>& list, const QByteArray& identity) {
        return std::ranges::find(list, identity, &HIDDeviceInfo::identity) != list.end();
    };
    for (const HIDDeviceInfo& known : before) {
        if (!contains(m_known, known.identity))
            onRemoval(known.identity);
    }
    const QList<HIDDeviceInfo> now = m_known;
    for (const HIDDeviceInfo& known : now) {
        if (!contains(before, known.identity))
            onMatch(known);
    }
}

void UdevHIDManager::readReport()
{
    const auto length =
        read(m_device->descriptor(), m_buffer.data(), static_cast<size_t>(m_buffer.size()));
    if (length > 0) {
        onInputReport(QByteArrayView(m_buffer).first(length));
        return;
    }
    // A device that was pulled out is readable for ever; its removal is told by the monitor.
    if (length == 0 || errno != EINTR)
        stopListening();
}

} // namespace

std::unique_ptr<HIDManager> systemHIDManager(quint16 vendorID)
{
    return std::make_unique<UdevHIDManager>(vendorID);
}

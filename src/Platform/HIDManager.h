#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

#include <functional>
#include <memory>
#include <optional>

/// A human interface device that is attached to the machine.
struct HIDDeviceInfo {
    /// Tells it from every other device that is attached at the same time.
    QByteArray identity;
    /// Where the system offers it to programs, for people to read.
    QByteArray node;
    /// 0 when it does not say.
    qint64 productID = 0;
};

/// An open device. It is closed with the object.
class HIDDevice {
public:
    HIDDevice() = default;
    HIDDevice(const HIDDevice&) = delete;
    HIDDevice& operator=(const HIDDevice&) = delete;
    virtual ~HIDDevice() = default;

    /// In bytes, the report's number included; nothing when the device does not say.
    [[nodiscard]] virtual std::optional<qint64> maxInputReportSize() const = 0;

    /// Both take a whole report, its number being the first byte, and return when the device has
    /// it or never will. For any thread, one at a time.
    virtual void setOutputReport(QByteArrayView report) = 0;
    virtual void setFeatureReport(QByteArrayView report) = 0;
};

/// Finds the human interface devices of one vendor, tells which come and go, and reads one of
/// them.
///
/// All of it belongs to the thread that runs it, except for perform() and stop().
class HIDManager {
public:
    HIDManager() = default;
    HIDManager(const HIDManager&) = delete;
    HIDManager& operator=(const HIDManager&) = delete;
    virtual ~HIDManager() = default;

    /// A device is there: from within run(), once for each that is attached when it begins and for
    /// each that comes.
    std::function<void(const HIDDeviceInfo&)> onMatch;
    /// The device with this identity has gone.
    std::function<void(const QByteArray& identity)> onRemoval;
    /// The open device has sent a report; its first byte is the report's number where the device
    /// numbers them. The bytes are valid during the call.
    std::function<void(QByteArrayView)> onInputReport;

    /// Begins to watch. Gives 0, or the system's error number: then no device is told of, and
    /// run() only waits for its end, or ends at once where it lacks what it could be woken with.
    [[nodiscard]] virtual int open() = 0;

    /// What is attached now, in the system's order.
    [[nodiscard]] virtual QList<HIDDeviceInfo> devices() = 0;

    struct Opened {
        /// Null when it cannot be opened.
        std::shared_ptr<HIDDevice> device;
        /// The system's error number.
        int error = 0;
    };
    /// Opens a device; others may have it open too. Nothing is read from it before listen().
    [[nodiscard]] virtual Opened openDevice(const HIDDeviceInfo& info) = 0;

    /// Reads the reports of this device from now on, each into `bufferLength` bytes; what is
    /// longer is cut.
    virtual void listen(const std::shared_ptr<HIDDevice>& device, qsizetype bufferLength) = 0;
    virtual void stopListening() = 0;

    /// Sleeps and calls back until stop().
    virtual void run() = 0;

    /// Has run() call this on its thread, in the order of the calls. For any thread.
    virtual void perform(std::function<void()> task) = 0;
    /// Ends run(), which may not have begun yet. For any thread.
    virtual void stop() = 0;
};

/// The system's own.
[[nodiscard]] std::unique_ptr<HIDManager> systemHIDManager(quint16 vendorID);

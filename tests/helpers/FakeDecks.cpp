#include "helpers/FakeDecks.h"

#include <QString>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <linux/hidraw.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <umockdev.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

constexpr auto patience = 10s;
/// What the report descriptor below says, with the report's number.
constexpr int inputReportLength = 512;

QByteArray hidPath(int number, int productID)
{
    return QString::asprintf("/devices/pci0000:00/usb1/1-%d/1-%d:1.0/0003:0FD9:%04X.%04X", number,
        number, productID, number)
        .toLatin1();
}

QByteArray hidrawPath(int number, int productID)
{
    return hidPath(number, productID) + "/hidraw/hidraw" + QByteArray::number(number);
}

/// A device as umockdev describes it.
QByteArray description(int number, int productID)
{
    const QByteArray text = QByteArray::number(number);
    return "P: " + hidPath(number, productID)
        + "\nE: SUBSYSTEM=hid"
          "\nE: HID_ID="
        + QString::asprintf("0003:00000FD9:%08X", productID).toLatin1()
        // One input report of 511 bytes, and its number.
        + "\nH: report_descriptor=0600ff0901a1018501150026ff00750896ff0109028102c0"
          "\n\nP: "
        + hidrawPath(number, productID) + "\nN: hidraw" + text
        + "\nE: SUBSYSTEM=hidraw"
          "\nE: DEVNAME=/dev/hidraw"
        + text + "\nA: dev=241:" + text + "\n";
}

} // namespace

struct FakeDecks::Testbed {
    struct Deck {
        QByteArray path;
        int productID = 0;
        /// The device's side of the node.
        int descriptor = -1;
        /// The node is never closed by all: that would be an error on the device's side.
        int keptOpen = -1;
        UMockdevIoctlBase* requests = nullptr;
        std::jthread reader;
        QByteArray written;
        QList<QByteArray> featureReports;
    };

    static gboolean handleRequest(
        UMockdevIoctlBase* requests, UMockdevIoctlClient* client, gpointer self);
    void read(const std::stop_token& stop, int number, int descriptor);

    // The thread sanitizer does not see into Qt's.
    std::mutex mutex;
    std::condition_variable changed;
    std::map<int, Deck> decks;
    /// Starts the thread that asks for the others.
    UMockdevTestbed* testbed = umockdev_testbed_new();
};

FakeDecks::FakeDecks()
    : m_testbed(std::make_unique<Testbed>())
{
}

FakeDecks::~FakeDecks()
{
    for (auto& [number, deck] : m_testbed->decks) {
        hang(number);
        close(deck.keptOpen);
        g_object_unref(deck.requests);
    }
    g_object_unref(m_testbed->testbed);
}

/// Called on a thread of umockdev's own.
gboolean FakeDecks::Testbed::handleRequest(
    UMockdevIoctlBase* requests, UMockdevIoctlClient* client, gpointer self)
{
    const gulong request = umockdev_ioctl_client_get_request(client);
    const auto length = _IOC_SIZE(request);
    if (request != HIDIOCGRAWINFO && request != HIDIOCSFEATURE(length))
        return FALSE;
    UMockdevIoctlData* argument = umockdev_ioctl_client_get_arg(client);
    UMockdevIoctlData* bytes = umockdev_ioctl_data_resolve(argument, 0, length, nullptr);
    auto* testbed = static_cast<Testbed*>(self);
    {
        const std::lock_guard lock(testbed->mutex);
        const auto deck = std::ranges::find(testbed->decks, requests,
            [](const auto& numbered) { return numbered.second.requests; });
        if (request == HIDIOCGRAWINFO) {
            hidraw_devinfo info {.bustype = 3,
                .vendor = 0x0FD9,
                .product = static_cast<__s16>(deck->second.productID)};
            umockdev_ioctl_data_update(bytes, 0, reinterpret_cast<guint8*>(&info), sizeof info);
        } else {
            guint8* copy = nullptr;
            int count = 0;
            umockdev_ioctl_data_retrieve(bytes, &copy, &count);
            deck->second.featureReports.append(QByteArray(reinterpret_cast<char*>(copy), count));
            g_free(copy);
        }
    }
    g_object_unref(bytes);
    umockdev_ioctl_client_complete(client, request == HIDIOCGRAWINFO ? 0 : long(length), 0);
    return TRUE;
}

void FakeDecks::Testbed::read(const std::stop_token& stop, int number, int descriptor)
{
    std::array<char, 16384> buffer {};
    while (!stop.stop_requested()) {
        pollfd ready {.fd = descriptor, .events = POLLIN, .revents = 0};
        // It wakes up now and then to see whether it should end.
        if (poll(&ready, 1, 50) <= 0)
            continue;
        const auto length = ::read(descriptor, buffer.data(), buffer.size());
        if (length <= 0)
            return;
        const std::lock_guard lock(mutex);
        decks[number].written.append(buffer.data(), length);
        changed.notify_all();
    }
}

void FakeDecks::plug(int number, int productID, std::optional<int> behindTheNode)
{
    Testbed& testbed = *m_testbed;
    GError* error = nullptr;
    if (!umockdev_testbed_add_from_string(
            testbed.testbed, description(number, productID).constData(), &error))
        qFatal("no fake deck: %s", error->message);

    const QByteArray path = "/sys" + hidrawPath(number, productID);
    {
        const std::lock_guard lock(testbed.mutex);
        Testbed::Deck& deck = testbed.decks[number];
        deck.path = path;
        deck.productID = behindTheNode.value_or(productID);
        const QByteArray node = "/dev/hidraw" + QByteArray::number(number);
        deck.requests = UMOCKDEV_IOCTL_BASE(umockdev_ioctl_base_new());
        g_signal_connect(
            deck.requests, "handle-ioctl", G_CALLBACK(Testbed::handleRequest), &testbed);
        if (!umockdev_testbed_attach_ioctl(
                testbed.testbed, node.constData(), deck.requests, &error))
            qFatal("no feature reports: %s", error->message);
        deck.descriptor = umockdev_testbed_get_dev_fd(testbed.testbed, node.constData());
        deck.keptOpen = open(node.constData(), O_RDWR | O_CLOEXEC);
        deck.reader = std::jthread(
            [&testbed, number, descriptor = deck.descriptor](
                const std::stop_token& stop) { testbed.read(stop, number, descriptor); });
    }
    umockdev_testbed_uevent(testbed.testbed, path.constData(), "add");
}

void FakeDecks::unplug(int number)
{
    const QByteArray path = m_testbed->decks[number].path;
    umockdev_testbed_uevent(m_testbed->testbed, path.constData(), "remove");
}

void FakeDecks::plugAgain(int number)
{
    const QByteArray path = m_testbed->decks[number].path;
    umockdev_testbed_uevent(m_testbed->testbed, path.constData(), "add");
}

void FakeDecks::hang(int number)
{
    std::jthread& reader = m_testbed->decks[number].reader;
    reader.request_stop();
    if (reader.joinable())
        reader.join();
}

void FakeDecks::sendReport(int number, const QByteArray& report)
{
    const int descriptor = m_testbed->decks[number].descriptor;
    // The node is a stream here, where only reports of full length stay apart.
    const QByteArray full = report.leftJustified(inputReportLength, '\0');
    if (write(descriptor, full.constData(), static_cast<size_t>(full.size())) != full.size())
        qFatal("cannot send a report");
}

QByteArray FakeDecks::takeReport(int number, qsizetype length)
{
    std::unique_lock lock(m_testbed->mutex);
    QByteArray& written = m_testbed->decks[number].written;
    if (!m_testbed->changed.wait_for(lock, patience, [&] { return written.size() >= length; }))
        return {};
    QByteArray report = written.first(length);
    written.remove(0, length);
    return report;
}

QByteArray FakeDecks::takeAll(int number)
{
    const std::lock_guard lock(m_testbed->mutex);
    return std::exchange(m_testbed->decks[number].written, {});
}

QList<QByteArray> FakeDecks::featureReports(int number)
{
    const std::lock_guard lock(m_testbed->mutex);
    return m_testbed->decks[number].featureReports;
}

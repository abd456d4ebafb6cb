#pragma once

#include "Platform/HIDManager.h"

#include <QMutex>
#include <QSemaphore>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <semaphore>
#include <utility>

/// Human interface devices that exist in the test alone. Everything may be called from any thread.
///
/// What the threads wait with is the standard library's where data go along with it, since the
/// thread sanitizer does not see into Qt's.
class FakeHID {
public:
    /// What one device was given, in order; a feature report begins with "feature".
    struct Device {
        QMutex mutex;
        QList<QByteArray> written;
        std::atomic<bool> isOpen = false;
        /// A write takes one of them first.
        QSemaphore writable {1'000'000};
        QSemaphore writesBegun;
    };

    /// What the next start says.
    int openError = 0;
    bool endsAtOnce = false;
    int deviceOpenError = 0;
    /// An opening takes one of them first.
    QSemaphore openable {1'000'000};
    /// How many openings have begun.
    QSemaphore openings;

    [[nodiscard]] std::unique_ptr<HIDManager> makeManager()
    {
        return std::make_unique<Manager>(*this);
    }

    // Before the first start, or on the manager's thread; they return when all of it has been done.
    void attach(const HIDDeviceInfo& info)
    {
        {
            const QMutexLocker lock(&m_mutex);
            m_attached.append(info);
        }
        if (m_manager)
            perform([this, info] { m_manager->onMatch(info); });
    }
    void detach(const QByteArray& identity)
    {
        {
            const QMutexLocker lock(&m_mutex);
            m_attached.removeIf(
                [&](const HIDDeviceInfo& info) { return info.identity == identity; });
        }
        perform([this, identity] { m_manager->onRemoval(identity); });
    }
    void report(const QByteArray& bytes)
    {
        perform([this, bytes] { m_manager->onInputReport(bytes); });
    }
    void settle()
    {
        perform([] {});
    }

    /// The device that was opened last.
    [[nodiscard]] std::shared_ptr<Device> device() const
    {
        const QMutexLocker lock(&m_mutex);
        return m_device;
    }
    /// What that one was given since the last call.
    [[nodiscard]] QList<QByteArray> takeWritten()
    {
        const auto opened = device();
        const QMutexLocker lock(&opened->mutex);
        return std::exchange(opened->written, {});
    }

private:
    class OpenDevice final : public HIDDevice {
    public:
        explicit OpenDevice(std::shared_ptr<Device> device)
            : m_device(std::move(device))
        {
            m_device->isOpen = true;
        }
        ~OpenDevice() override { m_device->isOpen = false; }

        [[nodiscard]] std::optional<qint64> maxInputReportSize() const override
        {
            return std::nullopt;
        }
        void setOutputReport(QByteArrayView report) override { write(report.toByteArray()); }
        void setFeatureReport(QByteArrayView report) override
        {
            write("feature" + report.toByteArray());
        }

    private:
        void write(const QByteArray& report)
        {
            m_device->writesBegun.release();
            m_device->writable.acquire();
            const QMutexLocker lock(&m_device->mutex);
            m_device->written.append(report);
        }

        std::shared_ptr<Device> m_device;
    };

    class Manager final : public HIDManager {
    public:
        explicit Manager(FakeHID& fake)
            : m_fake(fake)
            , m_endsAtOnce(fake.endsAtOnce)
        {
            m_fake.m_manager = this;
        }

        int open() override { return m_fake.openError; }
        QList<HIDDeviceInfo> devices() override
        {
            const QMutexLocker lock(&m_fake.m_mutex);
            return m_fake.m_attached;
        }
        Opened openDevice(const HIDDeviceInfo&) override
        {
            m_fake.openings.release();
            m_fake.openable.acquire();
            if (m_fake.deviceOpenError != 0)
                return {.device = nullptr, .error = m_fake.deviceOpenError};
            const auto opened = std::make_shared<Device>();
            {
                const QMutexLocker lock(&m_fake.m_mutex);
                m_fake.m_device = opened;
            }
            return {.device = std::make_shared<OpenDevice>(opened), .error = 0};
        }
        void listen(const std::shared_ptr<HIDDevice>&, qsizetype) override { }
        void stopListening() override { }
        void run() override
        {
            if (m_endsAtOnce)
                return;
            for (const HIDDeviceInfo& info : devices())
                onMatch(info);
            std::unique_lock lock(m_mutex);
            while (!m_isStopped) {
                if (m_tasks.isEmpty()) {
                    m_changed.wait(lock);
                    continue;
                }
                const auto task = m_tasks.takeFirst();
                lock.unlock();
                task();
                lock.lock();
            }
        }
        void perform(std::function<void()> task) override
        {
            const std::lock_guard lock(m_mutex);
            m_tasks.append(std::move(task));
            m_changed.notify_all();
        }
        void stop() override
        {
            const std::lock_guard lock(m_mutex);
            m_isStopped = true;
            m_changed.notify_all();
        }

    private:
        FakeHID& m_fake;
        const bool m_endsAtOnce;
        std::mutex m_mutex;
        std::condition_variable m_changed;
        QList<std::function<void()>> m_tasks;
        bool m_isStopped = false;
    };

    void perform(const std::function<void()>& task)
    {
        std::binary_semaphore done(0);
        m_manager->perform([&] {
            task();
            done.release();
        });
        done.acquire();
    }

    /// Of the last start; its thread keeps it until that has been stopped.
    Manager* m_manager = nullptr;
    mutable QMutex m_mutex;
    QList<HIDDeviceInfo> m_attached;
    std::shared_ptr<Device> m_device;
};

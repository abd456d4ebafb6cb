#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QProcess>
#include <QTemporaryDir>

#include <memory>

/// The desktop's screen saver, which remembers what is asked of it.
class FakeScreenSaver : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")

public:
    static constexpr uint cookie = 4711;

    QStringList inhibitors;
    QList<uint> released;
    bool refuses = false;

public Q_SLOTS:
    uint Inhibit(const QString& application, const QString& reason);
    void UnInhibit(uint identifier);
};

/// A session bus of the test's own, with or without a screen saver on it.
class SessionBus {
public:
    enum class Services { none, screenSaver };

    explicit SessionBus(Services services);
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;
    ~SessionBus();

    [[nodiscard]] QByteArray address() const { return m_address; }
    [[nodiscard]] FakeScreenSaver& screenSaver() { return m_screenSaver; }
    void kill();

private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
    QByteArray m_address;
    FakeScreenSaver m_screenSaver;
};

#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

class XServer;

/// The built program, started as a user would start it, with a home of its own.
///
/// Unless a settings document says otherwise it listens on any free port, which is read from its
/// log.
class RunningProgram {
public:
    // Of what is stored.
    static inline const QString settingsKey = QStringLiteral("TarrowSettings.v1");
    static inline const QString cuesKey = QStringLiteral("TarrowCues.v1");

    RunningProgram();
    ~RunningProgram();

    /// What the preferences hold when the program starts next: documents by key.
    void setStored(const QString& key, const QByteArray& document);
    void setStoredText(const QString& key, const QString& text);
    [[nodiscard]] QByteArray stored(const QString& key) const;

    /// Stores the default settings, but for the values given, and for the ports, which are 0.
    void setSettings(const QJsonObject& changes);
    [[nodiscard]] QJsonObject storedSettings() const;

    /// For changes before the start.
    [[nodiscard]] QProcessEnvironment& environment() { return m_environment; }
    /// On the displays of an X server.
    void setShownOn(const XServer& server);

    void launch();
    /// Starts the program and waits until it listens.
    [[nodiscard]] bool start();
    /// Sends one datagram.
    void send(const QByteArray& datagram);
    /// Sends one command, and waits until the log tells of it.
    [[nodiscard]] bool carriesOut(const QByteArray& command);
    /// Waits until the log holds `text` so many times, for ten seconds at most.
    [[nodiscard]] bool waitForLog(const QByteArray& text, qsizetype count = 1);
    /// Waits for the end, for ten seconds at most.
    [[nodiscard]] bool waitForEnd();
    /// Whether it ends in this time as it should.
    [[nodiscard]] bool endsWell();
    /// The same, when it is asked to.
    [[nodiscard]] bool quits();

    /// Of the web remote, once it is there; 0 when it does not come.
    [[nodiscard]] quint16 webPort();
    /// The body that the web remote answers with, once it is there; empty when there is none.
    [[nodiscard]] QByteArray webAnswer(const QByteArray& path);
    /// What it tells of the timer.
    [[nodiscard]] QJsonObject state();

    [[nodiscard]] QByteArray log();
    [[nodiscard]] QProcess& process() { return m_process; }
    [[nodiscard]] quint16 port() const { return m_port; }
    [[nodiscard]] QString configFile() const;

private:
    [[nodiscard]] quint16 loggedPort(const QByteArray& text);

    QTemporaryDir m_home;
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
    QProcess m_process;
    QByteArray m_log;
    quint16 m_port = 0;
};

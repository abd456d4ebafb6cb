#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

/// The built program, started as a user would start it, with a home of its own.
///
/// Unless a settings document says otherwise it listens on any free port, which is read from its
/// log.
class RunningProgram {
public:
    RunningProgram();
    ~RunningProgram();

    /// What the preferences hold when the program starts next: documents by key.
    void setStored(const QString& key, const QByteArray& document);
    void setStoredText(const QString& key, const QString& text);
    [[nodiscard]] QByteArray stored(const QString& key) const;

    /// A complete settings document with the defaults, but for the UDP port, which is 0, and
    /// for the values given.
    [[nodiscard]] static QByteArray settingsDocument(const QJsonObject& changes = {});

    /// For changes before the start.
    [[nodiscard]] QProcessEnvironment& environment() { return m_environment; }

    /// Starts the program and waits until it listens.
    [[nodiscard]] bool start();
    /// Sends one datagram.
    void send(const QByteArray& datagram);
    /// Waits until the log holds `text`, for ten seconds at most.
    [[nodiscard]] bool waitForLog(const QByteArray& text);
    /// Waits for the end, for ten seconds at most.
    [[nodiscard]] bool waitForEnd();

    /// The body that the web remote answers with, once it is there; empty when there is none.
    [[nodiscard]] QByteArray webAnswer(const QByteArray& path);

    [[nodiscard]] QByteArray log();
    [[nodiscard]] QProcess& process() { return m_process; }
    [[nodiscard]] quint16 port() const { return m_port; }
    [[nodiscard]] QString configFile() const;

private:
    QTemporaryDir m_home;
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
    QProcess m_process;
    QByteArray m_log;
    quint16 m_port = 0;
};

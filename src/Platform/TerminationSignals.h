#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

/// Turns the system's wish that the program ends (SIGINT, SIGTERM, SIGHUP) into a call on the
/// thread that created the object. A second SIGINT while the first still waits to be seen ends the
/// process the system's own way: a program that hangs can still be ended from its terminal. A
/// SIGHUP that was ignored when the program started stays ignored (nohup).
///
/// There is one such object in a process, and it lives as long as the process does.
class TerminationSignals {
public:
    explicit TerminationSignals(std::function<void()> onTermination);
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;
    ~TerminationSignals();

private:
    void handle();

    std::function<void()> m_onTermination;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

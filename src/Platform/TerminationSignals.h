#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

/// Turns the system's wish that the program ends (SIGINT, SIGTERM, SIGHUP) into a call on the
/// thread that created the object, once per wish. A second wish of the same kind, while the
/// first still waits to be seen, ends the process the system's own way: a program that hangs can
/// still be ended from its terminal.
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

/// A reader of our output that goes away must not take the program with it: writing to it fails
/// from now on, and is no reason to die.
void ignoreBrokenPipes();

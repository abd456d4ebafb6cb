#pragma once

#include <QtGlobal>

#include <functional>
#include <memory>

/// Asks the desktop to keep the displays awake.
///
/// The desktop is asked without being waited for: a session bus that is absent, dead or slow
/// delays nothing, and costs one line on the log at most. Whatever was asked for ends with the
/// process, also when it is killed.
class DisplaySleepAssertion {
public:
    DisplaySleepAssertion();
    DisplaySleepAssertion(const DisplaySleepAssertion&) = delete;
    DisplaySleepAssertion& operator=(const DisplaySleepAssertion&) = delete;
    ~DisplaySleepAssertion();

    /// Asks once, giving `reason` for the user to read. `onTaken` gets the identifier, never 0,
    /// when and if the desktop agrees; the event loop must run for that.
    void take(const char* reason, std::function<void(quint32)> onTaken);

    /// Gives an assertion back; the message has left the process when this returns, if the bus
    /// takes it at once.
    void release(quint32 identifier);

private:
    class Bus;
    std::unique_ptr<Bus> m_bus;
};

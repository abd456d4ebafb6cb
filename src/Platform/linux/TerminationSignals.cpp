#include "Platform/TerminationSignals.h"

#include <array>
#include <cerrno>
#include <csignal>

#include <sys/eventfd.h>
#include <unistd.h>

namespace {

constexpr std::array handledSignals {SIGINT, SIGTERM, SIGHUP};

/// What the signal handler, which may do next to nothing, wakes the event loop with.
int wakeUpDescriptor = -1;

void setAction(int signal, void (*handler)(int), int flags)
{
    struct sigaction action { };
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

void wakeUp(int)
{
    const int error = errno;
    const quint64 one = 1;
    // Fails only when the counter is full, and then the loop is being woken already.
    [[maybe_unused]] const auto written = write(wakeUpDescriptor, &one, sizeof one);
    errno = error;
}

bool isIgnored(int signal)
{
    struct sigaction action { };
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

/// Good for one signal: until the loop has seen it, the next one is deadly.
void installInterruptHandler()
{
    setAction(SIGINT, wakeUp, SA_RESTART | static_cast<int>(SA_RESETHAND));
}

} // namespace

TerminationSignals::TerminationSignals(std::function<void()> onTermination)
    : m_onTermination(std::move(onTermination))
{
    wakeUpDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    m_notifier = std::make_unique<QSocketNotifier>(wakeUpDescriptor, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [this] { handle(); });
    installInterruptHandler();
    setAction(SIGTERM, wakeUp, SA_RESTART);
    if (!isIgnored(SIGHUP))
        setAction(SIGHUP, wakeUp, SA_RESTART);
}

TerminationSignals::~TerminationSignals()
{
    for (const int signal : handledSignals)
        setAction(signal, SIG_DFL, 0);
    m_notifier.reset();
    close(wakeUpDescriptor);
}

void TerminationSignals::handle()
{
    quint64 count = 0;
    [[maybe_unused]] const auto taken = read(wakeUpDescriptor, &count, sizeof count);
    installInterruptHandler();
    m_onTermination();
}

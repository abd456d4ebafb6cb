// The program, and an eye on how late the engine's ticks come.
//
// Prints on its end how many ticks there were and how many of them came 20 ms late or later. Its
// settings are the program's. No Stream Deck may be there, which has a timer like the engine's.

#include "App/AppDelegate.h"
#include "Platform/ProcessSetup.h"
#include "Platform/TerminationSignals.h"
#include "Support/ControlLog.h"
#include "Support/SystemPreferences.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <QTimerEvent>

#include <cstdio>

namespace {

using namespace std::chrono_literals;

constexpr auto tickInterval = 100ms;
constexpr auto lateness = 20ms;

/// Sees the events of timers before they do.
class TickWatch : public QObject {
public:
    bool eventFilter(QObject* receiver, QEvent* event) override
    {
        const auto* const timer = qobject_cast<const QTimer*>(receiver);
        if (event->type() == QEvent::Timer && timer && timer->intervalAsDuration() == tickInterval)
            count();
        return false;
    }

    void print() const { std::printf("%d %d\n", m_ticks, m_late); }

private:
    void count()
    {
        const bool isFirst = !m_sinceTick.isValid();
        const std::chrono::nanoseconds gap(isFirst ? 0 : m_sinceTick.nsecsElapsed());
        m_sinceTick.start();
        if (isFirst)
            return;
        ++m_ticks;
        if (gap >= tickInterval + lateness)
            ++m_late;
    }

    QElapsedTimer m_sinceTick;
    int m_ticks = 0;
    int m_late = 0;
};

} // namespace

int main(int argc, char* argv[])
{
    prepareProcess();
    installLogOutput();
    QApplication application(argc, argv);
    TickWatch watch;
    QApplication::instance()->installEventFilter(&watch);
    SystemPreferences preferences;
    AppDelegate delegate(preferences);
    const TerminationSignals terminationSignals([] { QApplication::quit(); });
    QTimer::singleShot(0, &application, [&delegate] { delegate.applicationDidFinishLaunching(); });
    const int exitCode = QApplication::exec();
    delegate.applicationWillTerminate();
    watch.print();
    return exitCode;
}

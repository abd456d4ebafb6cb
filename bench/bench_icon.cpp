// What the live icon costs: the processor time of the program for a new text, drawn and handed to
// the window system for the console's window, on X11 and on Wayland.
//
// Prints, for each, the percent of a core while the time of day is shown, whose colon blinks and so
// makes two texts a second, and the milliseconds of one text.

#include "Windows/IconRenderer.h"
#include "helpers/WaylandServer.h"
#include "helpers/XServer.h"

#include <QApplication>
#include <QWidget>
#include <QWindow>

#include <cstdio>
#include <ctime>

using namespace Qt::StringLiterals;

namespace {

constexpr int rounds = 100;
constexpr double textsASecond = 2;

double processorMilliseconds()
{
    timespec time {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

void showText(int seconds)
{
    const QString text = u"%1:%2"_s.arg(seconds / 60, 2, 10, QLatin1Char('0'))
                             .arg(seconds % 60, 2, 10, QLatin1Char('0'));
    QApplication::setWindowIcon(IconRenderer::icon(text, 512));
    QCoreApplication::processEvents();
}

void measure(const char* name, int argc, char* argv[])
{
    QApplication application(argc, argv);
    QWidget console;
    console.show();
    while (!console.windowHandle()->isExposed())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    showText(rounds);
    const double before = processorMilliseconds();
    for (int seconds = 0; seconds < rounds; ++seconds)
        showText(seconds);
    const double milliseconds = (processorMilliseconds() - before) / rounds;
    std::printf("%s %f %f\n", name, textsASecond * milliseconds / 10, milliseconds);
}

} // namespace

int main(int argc, char* argv[])
{
    {
        XServer server;
        server.plug(u"DUMMY0"_s, u"large"_s, u"0x0"_s);
        qputenv("QT_QPA_PLATFORM", "xcb");
        qputenv("DISPLAY", server.name().toUtf8());
        measure("icon_x11", argc, argv);
    }
    const WaylandServer server;
    if (!server.isRunning())
        qFatal("no Wayland compositor");
    qputenv("QT_QPA_PLATFORM", "wayland");
    qputenv("WAYLAND_DISPLAY", server.name().toUtf8());
    measure("icon_wayland", argc, argv);
    return 0;
}

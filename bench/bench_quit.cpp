// How long the running program takes to be gone when it is asked to quit, with its console on an X
// server, a display for the audience and a deck of 32 keys, which goes dark first. To be run by
// umockdev-wrapper. Prints a line: a name, and milliseconds, the median and the worst.

#include "PairTiming.h"
#include "helpers/FakeDecks.h"
#include "helpers/RunningProgram.h"
#include "helpers/XServer.h"

#include <QCoreApplication>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int xl = 0x006C;
constexpr int keys = 32;
constexpr qsizetype reportLength = 1024;
constexpr int rounds = 11;

double quitMilliseconds(const XServer& server)
{
    FakeDecks decks;
    decks.plug(0, xl);
    RunningProgram program;
    program.setShownOn(server);
    program.setStoredText(u"sd.enabled"_s, u"true"_s);
    if (!program.start())
        qFatal("the program does not start");
    program.send("GO 20");
    // All keys, then the time and the key that lights up.
    for (int pictures = 0; pictures < keys + 2;) {
        const QByteArray report = decks.takeReport(0, reportLength);
        if (report.isEmpty())
            qFatal("the keys stay dark");
        pictures += report[3] == 1;
    }
    return PairTiming::milliseconds([&] {
        program.process().terminate();
        if (!program.waitForEnd())
            qFatal("the program does not end");
    });
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    XServer server;
    server.plug(u"DUMMY1"_s, u"large"_s, u"1440x0"_s);
    std::vector<double> times(rounds);
    for (double& time : times)
        time = quitMilliseconds(server);
    std::printf("quit %.1f %.1f\n", PairTiming::median(times),
        *std::max_element(times.begin(), times.end()));
    return 0;
}

// The running program with a deck of 32 keys that does not exist. To be run by umockdev-wrapper.
// One line for each figure: its name and two numbers.
//
// countdown_reports: the keys that got pictures besides the time, and the pictures of the time a
//     second, while the countdown runs.
// countdown_cpu: percent of a core meanwhile, and over how many seconds.
// press_to_state: milliseconds from a key's report to the state that a browser sees, the median
//     and the worst.

#include "PairTiming.h"
#include "helpers/DeckReports.h"
#include "helpers/FakeDecks.h"
#include "helpers/HTTPPeer.h"
#include "helpers/RunningProgram.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>
#include <thread>

#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int keys = 32;
constexpr qsizetype reportLength = 1024;
constexpr int blackoutKey = 14;
constexpr int presses = 200;
constexpr auto countdownTime = 60s;

double processorSeconds(qint64 process)
{
    QFile file(u"/proc/%1/stat"_s.arg(process));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("the program is gone");
    // Behind the name in brackets; the 12th and 13th fields from there.
    const QByteArray text = file.readAll();
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    return (fields[11].toDouble() + fields[12].toDouble())
        / static_cast<double>(sysconf(_SC_CLK_TCK));
}

void takePictures(FakeDecks& decks, int count)
{
    while (count > 0)
        count -= completedKey(decks.takeReport(0, reportLength)) >= 0;
}

void measureCountdown(FakeDecks& decks, RunningProgram& program)
{
    program.send("GO 20");
    // The time and the key that lights up.
    takePictures(decks, 2);
    const qint64 process = program.process().processId();
    const double before = processorSeconds(process);
    std::this_thread::sleep_for(countdownTime);
    const double seconds = std::chrono::duration<double>(countdownTime).count();
    const double share = (processorSeconds(process) - before) / seconds * 100;

    const QByteArray written = decks.takeAll(0);
    int ofTheTime = 0;
    int others = 0;
    for (qsizetype at = 0; at + reportLength <= written.size(); at += reportLength) {
        const int key = completedKey(written.mid(at, reportLength));
        ofTheTime += key == 0;
        others += key > 0;
    }
    std::printf("countdown_reports %d %.3f\n", others, ofTheTime / seconds);
    std::printf("countdown_cpu %.3f %.0f\n", share, seconds);
}

bool isBlackout(quint16 port)
{
    HTTPPeer browser(port);
    browser.get("/state");
    return browser.answer().contains("\"blackout\":true");
}

void measurePresses(FakeDecks& decks, quint16 port)
{
    const StreamDeckModel model = *StreamDeckModel::model(Deck::xl);
    std::vector<double> times;
    bool expected = false;
    for (int press = 0; press < presses; ++press) {
        // Anywhere between two refreshes of the deck.
        std::this_thread::sleep_for(press * 7ms % 100ms);
        expected = !expected;
        times.push_back(PairTiming::milliseconds([&] {
            decks.sendReport(0, keyReport(model, {blackoutKey}));
            while (isBlackout(port) != expected) { }
        }));
        decks.sendReport(0, keyReport(model));
    }
    std::printf("press_to_state %.3f %.3f\n", PairTiming::median(times),
        *std::max_element(times.begin(), times.end()));
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    FakeDecks decks;
    decks.plug(0, Deck::xl);
    RunningProgram program;
    program.setSettings({{u"webRemoteEnabled"_s, true}});
    program.setStoredText(u"sd.enabled"_s, u"true"_s);
    if (!program.start() || program.webPort() == 0)
        qFatal("the program does not start");
    takePictures(decks, keys);

    measureCountdown(decks, program);
    measurePresses(decks, program.webPort());
    return 0;
}

// Runs a program with a deck of 32 keys that does not exist. To be run by umockdev-wrapper.
//
// Usage: soak_deck PROGRAM
//
// Prints the program's process id, and then does what the lines of its standard input say, each
// answered by one line: "unplug", "plug" (the answer comes once every key has got a picture),
// "press KEY", "end" (asks the program to quit, and kills it when it does not; the answer is its
// exit code, or the negative of the signal that ended it). When the input ends, the program ends.

#include "helpers/DeckReports.h"
#include "helpers/FakeDecks.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <set>
#include <sstream>
#include <string>
#include <thread>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int keys = 32;
constexpr qsizetype reportLength = 1024;
constexpr auto patience = std::chrono::seconds(20);

pid_t start(const char* path)
{
    const pid_t process = fork();
    if (process != 0)
        return process;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // The lines are not for the program, nor is the place where the answers go.
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO})
        close(stream);
    execl(path, path, nullptr);
    std::perror(path);
    _exit(1);
}

int end(pid_t process)
{
    kill(process, SIGTERM);
    const auto deadline = std::chrono::steady_clock::now() + patience;
    int status = 0;
    while (waitpid(process, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline)
            kill(process, SIGKILL);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

bool isPainted(FakeDecks& decks)
{
    std::set<int> painted;
    while (painted.size() < keys) {
        const QByteArray report = decks.takeReport(0, reportLength);
        if (report.isEmpty())
            return false;
        if (const int key = completedKey(report); key >= 0)
            painted.insert(key);
    }
    return true;
}

void press(FakeDecks& decks, int key)
{
    const StreamDeckModel model = *StreamDeckModel::model(Deck::xl);
    decks.sendReport(0, keyReport(model, {key}));
    decks.sendReport(0, keyReport(model));
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 2)
        return 2;
    FakeDecks decks;
    decks.plug(0, Deck::xl);
    const pid_t process = start(argv[1]);
    std::cout << process << std::endl;

    std::string line;
    while (std::getline(std::cin, line)) {
        std::istringstream words(line);
        std::string what;
        words >> what;
        // Nobody looks at the pictures, and they are not to pile up.
        static_cast<void>(decks.takeAll(0));
        if (what == "unplug") {
            decks.unplug(0);
        } else if (what == "plug") {
            decks.plugAgain(0);
            if (!isPainted(decks))
                what = "no pictures";
        } else if (what == "press") {
            int key = 0;
            words >> key;
            press(decks, key);
        } else if (what == "end") {
            what = std::to_string(end(process));
        }
        std::cout << what << std::endl;
    }
    kill(process, SIGKILL);
    return 0;
}

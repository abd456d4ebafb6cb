// Runs a program with a deck of 32 keys that does not exist. To be run by umockdev-wrapper.
//
// Usage: soak_deck PROGRAM
//
// Prints the program's process id, and then does what the lines of its standard input say, each
// answered by one line: "unplug", "plug" (the answer comes once every key has got a picture),
// "press KEY", "end" (asks the program to quit; the answer is its exit code, or the negative of
// the signal that ended it). When the input ends, so does the program.

#include "helpers/FakeDecks.h"

#include <csignal>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int xl = 0x006C;
constexpr int keys = 32;
constexpr qsizetype reportLength = 1024;

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
    int status = 0;
    waitpid(process, &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

bool isPainted(FakeDecks& decks)
{
    for (int key = 0; key < keys; ++key) {
        if (decks.takeReport(0, reportLength).isEmpty())
            return false;
    }
    return true;
}

void press(FakeDecks& decks, int key)
{
    QByteArray report(4 + keys, '\0');
    report[0] = 1;
    report[4 + key] = 1;
    decks.sendReport(0, report);
    report[4 + key] = 0;
    decks.sendReport(0, report);
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 2)
        return 2;
    FakeDecks decks;
    decks.plug(0, xl);
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

#include "Platform/ProcessSetup.h"

#include <array>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

void prepareProcess()
{
    // The lowest free number is the one that is given out.
    for (const int stream : std::array {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0)
            open("/dev/null", O_RDWR);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

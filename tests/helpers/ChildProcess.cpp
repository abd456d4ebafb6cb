#include "helpers/ChildProcess.h"

#include "Support/ControlLog.h"

#include <array>
#include <csignal>

#include <sys/wait.h>
#include <unistd.h>

ChildResult runInChild(const std::function<void()>& code)
{
    std::array<int, 2> ends {};
    if (pipe(ends.data()) != 0)
        qFatal("cannot make a pipe");
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        // Qt Test's own handlers would write a report of the crash that is wanted here.
        for (const int signal : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL})
            std::signal(signal, SIG_DFL);
        installLogOutput();
        code();
        _exit(0);
    }
    close(ends[1]);

    ChildResult result;
    std::array<char, 4096> buffer {};
    for (ssize_t count = 0; (count = read(ends[0], buffer.data(), buffer.size())) > 0;)
        result.standardError.append(buffer.data(), count);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    return result;
}

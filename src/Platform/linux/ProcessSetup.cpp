#include "Platform/ProcessSetup.h"

#include <array>
#include <csignal>

#include <fcntl.h>
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

void raiseDescriptorLimit()
{
    rlimit limit {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    // Where it cannot be raised, a smaller crowd is served at a time.
    setrlimit(RLIMIT_NOFILE, &limit);
}

/// By itself the allocator puts ever larger blocks among the small ones, which then keep what lies
/// below them from being given back.
void keepLargeBlocksApart()
{
    // More than the picture of the icon: a new one each second would cost a fault for each page.
    constexpr int large = 2 * 1024 * 1024;
    mallopt(M_MMAP_THRESHOLD, large);
    // Less than that is not worth giving back: it is wanted again with the next picture.
    mallopt(M_TRIM_THRESHOLD, 2 * large);
}

} // namespace

void prepareProcess()
{
    // The lowest free number is the one that is given out.
    for (const int stream : std::array {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0)
            open("/dev/null", O_RDWR);
    }
    std::signal(SIGPIPE, SIG_IGN);
    raiseDescriptorLimit();
    keepLargeBlocksApart();
}

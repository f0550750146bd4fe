#include "till/cli/standardoutput.h"

#include "till/cli/command.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace till {

namespace {

bool readerIsGone()
{
    pollfd output{.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
    return poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

} // namespace

void guardStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // The lowest number that is free is given; each is opened the wrong way round, so that its use fails.
        if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0)
            std::abort();
    }
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
}

int statusOfOutput(int status)
{
    constexpr int leftByItsReader = 128 + SIGPIPE; // as a shell tells it of a program which that ended
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return status;
    if (readerIsGone())
        return leftByItsReader;
    static_cast<void>(
        std::fputs("till: the standard output cannot be written: something of it is lost\n", stderr));
    return exitUnwritten;
}

} // namespace till

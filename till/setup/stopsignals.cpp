#include "till/setup/stopsignals.h"

#include "till/cli/usageerror.h"

#include <QDeadlineTimer>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace till {

namespace {

volatile std::sig_atomic_t writeEnd = -1;

void handle(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGINT, SIGTERM})
        sigaction(signal, &action, nullptr);
}

void note(int /*signal*/)
{
    const int error = errno; // of what it interrupts
    [[maybe_unused]] const ssize_t written = write(writeEnd, "", 1);
    handle(SIG_DFL);
    errno = error;
}

} // namespace

// A handler, because a program that the till starts does not inherit it: a blocked signal it would.
StopSignals::StopSignals()
{
    if (pipe2(m_pipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        throw UsageError(u"till: the system is out of file descriptors"_s);
    writeEnd = m_pipe[1];
    handle(note);
}

StopSignals::~StopSignals()
{
    handle(SIG_DFL);
    for (const int end : m_pipe)
        close(end);
}

bool StopSignals::wait(std::chrono::milliseconds time) const
{
    const QDeadlineTimer deadline(time);
    pollfd noted{.fd = descriptor(), .events = POLLIN, .revents = 0};
    int found = 0;
    do {
        found = poll(&noted, 1, static_cast<int>(deadline.remainingTime()));
    } while (found < 0); // the signal itself interrupts it
    return found > 0;
}

} // namespace till

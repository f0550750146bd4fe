#include "till/setup/stopsignals.h"

#include "till/cli/usageerror.h"

#include <QDeadlineTimer>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <initializer_list>
#include <poll.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace till {

namespace {

// A handler knows nothing but what is global.
volatile std::sig_atomic_t stopEnd = -1;
volatile std::sig_atomic_t reloadEnd = -1;

void handle(std::initializer_list<int> signals, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int signal : signals)
        sigaction(signal, &action, nullptr);
}

void handleStops(void (*handler)(int)) { handle({SIGINT, SIGTERM}, handler); }

void write(int end)
{
    const int error = errno; // of what it interrupts
    [[maybe_unused]] const ssize_t written = ::write(end, "", 1);
    errno = error;
}

void noteStop(int /*signal*/)
{
    write(stopEnd);
    handleStops(SIG_DFL);
}

void noteReload(int /*signal*/) { write(reloadEnd); }

std::array<int, 2> newPipe()
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        throw UsageError(u"till: the system is out of file descriptors"_s);
    return ends;
}

} // namespace

// A handler, because a program that the till starts does not inherit it: a blocked signal it would.
StopSignals::StopSignals()
    : m_pipe(newPipe())
{
    stopEnd = m_pipe[1];
    handleStops(noteStop);
}

StopSignals::~StopSignals()
{
    handleStops(SIG_DFL);
    for (const int end : m_pipe)
        close(end);
}

bool StopSignals::wait(std::chrono::milliseconds time, int other) const
{
    const QDeadlineTimer deadline(time);
    std::array<pollfd, 2> noted{pollfd{.fd = descriptor(), .events = POLLIN, .revents = 0},
                                pollfd{.fd = other, .events = POLLIN, .revents = 0}};
    int found = 0;
    do {
        found = poll(noted.data(), noted.size(), static_cast<int>(deadline.remainingTime()));
    } while (found < 0); // the signal itself interrupts it
    return noted[0].revents != 0;
}

ReloadSignals::ReloadSignals()
    : m_pipe(newPipe())
{
    reloadEnd = m_pipe[1];
    handle({SIGHUP}, noteReload);
}

ReloadSignals::~ReloadSignals()
{
    handle({SIGHUP}, SIG_DFL);
    for (const int end : m_pipe)
        close(end);
}

bool ReloadSignals::take() const
{
    bool came = false;
    std::array<char, 64> notes{};
    while (read(m_pipe[0], notes.data(), notes.size()) > 0)
        came = true;
    return came;
}

} // namespace till

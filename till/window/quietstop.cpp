#include "till/window/quietstop.h"

#include "till/cli/usageerror.h"

#include <QCoreApplication>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

volatile std::sig_atomic_t writeEnd = -1;

void note(int /*signal*/) { [[maybe_unused]] const ssize_t written = write(writeEnd, "", 1); }

void handle(void (*handler)(int), int flags)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGINT, SIGTERM})
        sigaction(signal, &action, nullptr);
}

} // namespace

// A handler, because a program that the till starts does not inherit it: a blocked signal it would.
QuietStop::QuietStop()
{
    if (pipe2(m_pipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        throw UsageError(u"till: the system is out of file descriptors"_s);
    writeEnd = m_pipe[1];
    m_notifier = std::make_unique<QSocketNotifier>(m_pipe[0], QSocketNotifier::Read);
    // The byte is left there, so that no loop that begins later misses it.
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [] { QCoreApplication::exit(0); });
    handle(note, SA_RESETHAND | SA_RESTART);
}

QuietStop::~QuietStop()
{
    handle(SIG_DFL, 0);
    m_notifier.reset();
    for (const int end : m_pipe)
        close(end);
}

} // namespace till::window

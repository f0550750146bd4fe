#include "stand/program/lifetime.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

#include <sys/signalfd.h>
#include <unistd.h>

namespace stand {

void quitOnSignals(QObject* parent)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    if (const auto error = pthread_sigmask(SIG_BLOCK, &signals, nullptr); error != 0)
        throw std::system_error(error, std::generic_category(), "Cannot block signals");
    // Lives as long as the process: a signal that comes while it is leaving must still find it.
    const int descriptor = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor < 0)
        throw std::system_error(errno, std::generic_category(), "Cannot listen for signals");
    auto* notifier = new QSocketNotifier(descriptor, QSocketNotifier::Read, parent);
    QObject::connect(notifier, &QSocketNotifier::activated, parent, [] { QCoreApplication::quit(); });
}

void quitOnEndOfInput(QObject* parent)
{
    auto* notifier = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, parent);
    QObject::connect(notifier, &QSocketNotifier::activated, parent, [notifier] {
        std::array<char, 4096> ignored{};
        const auto size = read(STDIN_FILENO, ignored.data(), ignored.size());
        if (size > 0 || (size < 0 && (errno == EINTR || errno == EAGAIN)))
            return;
        notifier->setEnabled(false);
        QCoreApplication::quit();
    });
}

} // namespace stand

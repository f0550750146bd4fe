#include "till/setup/stopsignals.h"

#include "till/cli/usageerror.h"

#include <array>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <mutex>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace till {

namespace {

sigset_t stopSignals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

} // namespace

StopSignals::StopSignals()
{
    const sigset_t set = stopSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    m_signals = signalfd(-1, &set, SFD_CLOEXEC);
    m_end = eventfd(0, EFD_CLOEXEC);
    if (m_signals < 0 || m_end < 0)
        throw UsageError(u"till: the system is out of file descriptors"_s);
    m_thread = std::thread([this] { listen(); });
}

StopSignals::~StopSignals()
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(m_end, &one, sizeof one);
    m_thread.join();
    close(m_signals);
    close(m_end);
    const sigset_t set = stopSignals();
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

void StopSignals::listen()
{
    std::array<pollfd, 2> both{pollfd{m_signals, POLLIN, 0}, pollfd{m_end, POLLIN, 0}};
    while (poll(both.data(), both.size(), -1) < 0) {
    } // interrupted
    if ((both[0].revents & POLLIN) == 0)
        return;
    signalfd_siginfo taken{};
    [[maybe_unused]] const ssize_t size = read(m_signals, &taken, sizeof taken);
    const sigset_t set = stopSignals();
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr); // in this thread, which lingers for an impatient second one
    m_stop.request_stop();
    while (poll(&both[1], 1, -1) < 0) {
    }
}

bool StopSignals::wait(std::chrono::milliseconds time) const
{
    std::mutex mutex;
    std::unique_lock lock(mutex);
    std::condition_variable_any never;
    never.wait_for(lock, m_stop.get_token(), time, [] { return false; });
    return m_stop.stop_requested();
}

} // namespace till

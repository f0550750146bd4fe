#include "host/network/queuenotice.h"

#include <condition_variable>
#include <mutex>

namespace network::queuenotice {

namespace {

// GCC 12's thread sanitizer does not see that a wait on the steady clock lets go of the mutex.
#ifdef __SANITIZE_THREAD__
using Clock = std::chrono::system_clock;
#else
using Clock = std::chrono::steady_clock; // a clock that is set must not prolong a wait
#endif

struct Notice
{
    std::mutex mutex;
    std::condition_variable_any raised;
    std::uint64_t count = 0;
};

Notice& notice()
{
    static Notice made;
    return made;
}

} // namespace

void raise()
{
    {
        const std::lock_guard lock(notice().mutex);
        ++notice().count;
    }
    notice().raised.notify_all();
}

std::uint64_t count()
{
    const std::lock_guard lock(notice().mutex);
    return notice().count;
}

void wait(std::uint64_t seen, std::chrono::milliseconds longest, const std::stop_token& stop)
{
    std::unique_lock lock(notice().mutex);
    notice().raised.wait_until(lock, stop, Clock::now() + longest, [seen] { return notice().count > seen; });
}

} // namespace network::queuenotice

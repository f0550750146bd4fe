#include "host/queue/queuewakeup.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace network::queuewakeup {

namespace {

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
    notice().raised.wait_for(lock, stop, longest, [seen] { return notice().count > seen; });
}

} // namespace network::queuewakeup

#pragma once

#include "host/queue/deliveryworker.h"
#include "tests/support/httpserver.h"
#include "tests/unit/queue/scene.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace queuetest {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test_support::HttpAnswer;
using Phase = DeliveryState::Phase;

inline constexpr auto patience = 60s; // on the slowest machine; never waited out

/// The states that a worker told, for another thread to wait for.
class Watch
{
public:
    void tell(const DeliveryState& state)
    {
        const std::lock_guard lock(m_mutex);
        m_states.append(state);
        m_told.notify_all();
    }
    /// So far, each as often as it was told.
    [[nodiscard]] QList<Phase> phases()
    {
        const std::lock_guard lock(m_mutex);
        QList<Phase> result;
        for (const DeliveryState& state : m_states)
            result.append(state.phase);
        return result;
    }
    template <class Condition>
    [[nodiscard]] bool saw(Condition condition)
    {
        std::unique_lock lock(m_mutex);
        return m_told.wait_for(lock, patience,
                               [&] { return std::any_of(m_states.cbegin(), m_states.cend(), condition); });
    }
    [[nodiscard]] bool saw(Phase phase)
    {
        return saw([phase](const DeliveryState& state) { return state.phase == phase; });
    }
    [[nodiscard]] bool sawDelivered(int count)
    {
        return saw([count](const DeliveryState& state) { return state.delivered >= count; });
    }
    [[nodiscard]] bool sawFailed(int count)
    {
        return saw([count](const DeliveryState& state) { return state.failed >= count; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_told;
    QList<DeliveryState> m_states;
};

/// Waits until it is so.
template <class Condition>
bool comesTo(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

class Worker : public test_support::Storage
{
protected:
    void add(const QString& group, int number)
    {
        queue.enqueue(u"q"_s, group,
                      test_support::messageTo(server.url(u"/x"_s).toString(), QByteArray::number(number)),
                      {});
    }
    void answer(int count, std::chrono::milliseconds delay = 0ms)
    {
        for (int i = 0; i < count; ++i) {
            HttpAnswer given = HttpAnswer::status(200, "{}");
            given.delay = delay;
            server.enqueue(given);
        }
    }
    static DeliveryWorker::Options options(Watch& watch, std::chrono::milliseconds poll = 10ms)
    {
        DeliveryWorker::Options result;
        result.changed = [&watch](const DeliveryState& state) { watch.tell(state); };
        result.poll = poll;
        return result;
    }
    /// In a data directory of its own. Returns the file's path.
    [[nodiscard]] QString useADamagedStore() const
    {
        storage::setDataDirectory(path(u"damaged"_s));
        const QString store = storage::dataFile(u"till.sqlite"_s);
        overwrite(u"damaged/till.sqlite"_s, "no database at all");
        return store;
    }
    [[nodiscard]] QList<int> sent() const
    {
        QList<int> result;
        for (const auto& request : server.requests())
            result.append(request.body.toInt());
        return result;
    }

    test_support::HttpServer server;
    MessageQueue queue;
    test_support::LogCapture networkLog{u"network"_s};
};

} // namespace queuetest

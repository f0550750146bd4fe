#include "host/queue/deliveryworker.h"

#include "host/queue/messagequeue.h"
#include "host/queue/queuesending.h"
#include "host/queue/queuewakeup.h"
#include "host/queue/retrybackoff.h"
#include "host/utils/basicexception.h"
#include "host/utils/logging.h"

#include <QHash>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>

using namespace Qt::StringLiterals;
using Phase = DeliveryState::Phase;

namespace {

/// Delivers the data directory's queue.
class LocalDelivery : public DeliveryWorker::Job
{
public:
    LocalDelivery(const storage::FileLock& lock, const QueueDelivery::Options& options)
        : m_lock(lock)
        , m_delivery(m_queue, options)
    {}
    void run(const std::stop_token& stop) override { m_delivery.deliverDue(m_lock, stop); }

private:
    const storage::FileLock& m_lock;
    MessageQueue m_queue;
    QueueDelivery m_delivery;
};

} // namespace

class DeliveryWorker::Thread
{
public:
    explicit Thread(Options options)
        : m_options(std::move(options))
        , m_thread([this](const std::stop_token& stop) { run(stop); })
    {}

    void requestStop() { m_thread.request_stop(); }

    [[nodiscard]] DeliveryState state() const
    {
        const std::lock_guard lock(m_mutex);
        return m_state;
    }

    [[nodiscard]] std::chrono::milliseconds overdue() const
    {
        const auto late = Clock::now() - m_due.load();
        return std::max(std::chrono::duration_cast<std::chrono::milliseconds>(late), {});
    }

private:
    using Clock = std::chrono::steady_clock;

    void run(const std::stop_token& stop);
    /// Delivers until a stop is asked for. Throws when the data directory can't be used.
    void work(const std::stop_token& stop);
    /// Null when a stop was asked for before the queue was this worker's.
    [[nodiscard]] std::unique_ptr<storage::FileLock> standBy(const std::stop_token& stop);
    void noteDelivering();
    void noteTrouble(const QString& what);
    void noteAttempt(const QueuedMessage& message, const QueueAttempt& attempt);
    template <class Change>
    void change(Change change);
    /// The thread goes on, and has to do so again within that time, or within that of what is under way.
    void beat(std::chrono::milliseconds longest = {});
    void wait(std::uint64_t seen, std::chrono::milliseconds longest, const std::stop_token& stop);

    Options m_options;
    int m_troubles = 0; // in a row
    mutable std::mutex m_mutex;
    DeliveryState m_state;
    /// When the thread has to have gone on.
    std::atomic<Clock::time_point> m_due = Clock::now();
    QHash<qint64, Clock::time_point> m_underWay; ///< messages, each with when it has to be over
    std::jthread m_thread;                       // the last: it uses all of the others
};

void DeliveryWorker::Thread::run(const std::stop_token& stop)
{
    while (!stop.stop_requested()) {
        try {
            work(stop);
        } catch (const BasicException& exception) {
            noteTrouble(exception.tr().ru());
        } catch (const std::exception& exception) {
            noteTrouble(QString::fromLocal8Bit(exception.what()));
        }
        m_underWay.clear();
        // What is put in meanwhile mends nothing: wait for the stop alone, which has come when nothing
        // failed.
        wait(UINT64_MAX, network::pauseAfter(m_troubles), stop);
    }
    change([](DeliveryState& state) { state.phase = Phase::Stopped; });
    m_due = Clock::time_point::max();
}

void DeliveryWorker::Thread::work(const std::stop_token& stop)
{
    const auto lock = m_options.alone ? standBy(stop) : nullptr;
    if (m_options.alone && !lock)
        return;
    QueueDelivery::Options options = m_options.delivery;
    options.attempted = [this](const QueuedMessage& message, const QueueAttempt& attempt) {
        noteAttempt(message, attempt);
    };
    options.attempting = [this](const QueuedMessage& message) {
        m_underWay.insert(message.id, Clock::now() + network::timeoutOf(message));
        beat();
        if (m_options.delivery.attempting)
            m_options.delivery.attempting(message);
    };
    const std::unique_ptr<Job> job =
        m_options.job ? m_options.job(options) : std::make_unique<LocalDelivery>(*lock, options);
    if (m_troubles == 0) // else the first run through shows whether they are over
        noteDelivering();
    while (!stop.stop_requested()) {
        const auto seen = network::queuewakeup::count();
        job->run(stop);
        m_troubles = 0;
        noteDelivering();
        beat(m_options.poll);
        if (!job->wait(m_options.poll, stop))
            wait(seen, m_options.poll, stop);
        beat();
    }
}

std::unique_ptr<storage::FileLock> DeliveryWorker::Thread::standBy(const std::stop_token& stop)
{
    while (!stop.stop_requested()) {
        auto lock = QueueDelivery::lock();
        if (lock)
            return lock;
        change([](DeliveryState& state) {
            state.phase = Phase::Standby;
            state.trouble.clear();
        });
        wait(UINT64_MAX, m_options.poll, stop);
    }
    return nullptr;
}

void DeliveryWorker::Thread::wait(std::uint64_t seen, std::chrono::milliseconds longest,
                                  const std::stop_token& stop)
{
    beat(longest);
    network::queuewakeup::wait(seen, longest, stop);
}

void DeliveryWorker::Thread::noteDelivering()
{
    change([](DeliveryState& state) {
        state.phase = Phase::Delivering;
        state.trouble.clear();
    });
}

void DeliveryWorker::Thread::noteTrouble(const QString& what)
{
    if (m_troubles++ == 0)
        utils::logger(u"network"_s)->error(u"Queue: nothing can be delivered for now: "_s + what);
    change([&what](DeliveryState& state) {
        state.phase = Phase::Trouble;
        state.trouble = what;
    });
}

void DeliveryWorker::Thread::beat(std::chrono::milliseconds longest)
{
    const auto last = std::max_element(m_underWay.cbegin(), m_underWay.cend());
    const Clock::time_point due = Clock::now() + longest;
    m_due = last == m_underWay.cend() ? due : std::max(due, *last);
}

void DeliveryWorker::Thread::noteAttempt(const QueuedMessage& message, const QueueAttempt& attempt)
{
    m_underWay.remove(message.id);
    beat();
    change([&attempt](DeliveryState& state) {
        ++(attempt.error.isEmpty() ? state.delivered : state.failed);
        state.lastError = attempt.error;
    });
    if (m_options.delivery.attempted)
        m_options.delivery.attempted(message, attempt);
}

template <class Change>
void DeliveryWorker::Thread::change(Change change)
{
    DeliveryState now;
    {
        const std::lock_guard lock(m_mutex);
        const DeliveryState before = m_state;
        change(m_state);
        if (m_state == before)
            return;
        now = m_state;
    }
    if (m_options.changed)
        m_options.changed(now);
}

DeliveryWorker::DeliveryWorker()
    : DeliveryWorker(Options{})
{}

DeliveryWorker::DeliveryWorker(Options options)
    : m_thread(std::make_unique<Thread>(std::move(options)))
{}

DeliveryWorker::~DeliveryWorker() = default;

void DeliveryWorker::requestStop() { m_thread->requestStop(); }

DeliveryState DeliveryWorker::state() const { return m_thread->state(); }

std::chrono::milliseconds DeliveryWorker::overdue() const { return m_thread->overdue(); }

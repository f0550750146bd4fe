#include "tests/unit/queue/workerscene.h"

#include <gmock/gmock.h>

#include <thread>

namespace queuetest {

namespace {

/// Long enough for a worker to become overdue in, if ever.
constexpr auto period = 400ms;

/// The most that the worker was overdue in a period.
std::chrono::milliseconds mostOverdue(const DeliveryWorker& worker)
{
    std::chrono::milliseconds most{0};
    const auto end = std::chrono::steady_clock::now() + period;
    while (std::chrono::steady_clock::now() < end) {
        most = std::max(most, worker.overdue());
        std::this_thread::sleep_for(1ms);
    }
    return most;
}

/// Waits until its being overdue is so.
template <class Condition>
bool comesTo(const DeliveryWorker& worker, Condition condition)
{
    return queuetest::comesTo([&] { return condition(worker.overdue()); });
}

} // namespace

TEST_F(Worker, IsNotOverdueWhileThereIsNothingToDo)
{
    Watch watch;
    const DeliveryWorker worker(options(watch, 24h));
    ASSERT_TRUE(watch.saw(Phase::Delivering));
    EXPECT_LT(mostOverdue(worker), period / 2);
}

TEST_F(Worker, IsNotOverdueWhileItStandsBy)
{
    const auto lock = QueueDelivery::lock();
    Watch watch;
    const DeliveryWorker worker(options(watch, 24h));
    ASSERT_TRUE(watch.saw(Phase::Standby));
    EXPECT_LT(mostOverdue(worker), period / 2);
}

TEST_F(Worker, IsNotOverdueInThePauseAfterATrouble)
{
    (void)useADamagedStore();
    Watch watch;
    const DeliveryWorker worker(options(watch));
    ASSERT_TRUE(watch.saw(Phase::Trouble));
    EXPECT_LT(mostOverdue(worker), period / 2);
}

TEST_F(Worker, IsNotOverdueWhileItWaitsForAnAnswer)
{
    answer(1, 24h);
    add(u"A"_s, 1);
    Watch watch;
    const DeliveryWorker worker(options(watch));
    ASSERT_EQ(server.waitForRequests(1).size(), 1);
    EXPECT_LT(mostOverdue(worker), period / 2);
    server.stop(); // or it would wait for the rest of the message's timeout
}

TEST_F(Worker, IsNotOverdueWhileItWaitsForOneOfTwoAnswers)
{
    answer(1);
    answer(1, 24h);
    answer(1);
    add({}, 1);
    add({}, 2);
    add({}, 3);
    Watch watch;
    const DeliveryWorker worker(options(watch));
    ASSERT_TRUE(watch.sawDelivered(2));
    EXPECT_LT(mostOverdue(worker), period / 2);
    server.stop();
}

TEST_F(Worker, IsOverdueWhileItIsStuckInAnythingElse)
{
    QVariantMap message = test_support::messageTo(server.url(u"/x"_s).toString(), "1");
    message.insert(u"timeout"_s, 3600); // which counts no more once it has its answer
    queue.enqueue(u"q"_s, u"A"_s, message, {});
    answer(1);
    std::mutex stuck;
    Watch watch;
    DeliveryWorker::Options chosen = options(watch, 24h);
    chosen.delivery.attempted = [&stuck](const QueuedMessage&, const QueueAttempt&) {
        const std::lock_guard lock(stuck);
    };
    std::unique_lock lock(stuck);
    const DeliveryWorker worker(chosen);
    const bool cameTo = comesTo(worker, [](auto time) { return time > period; });
    lock.unlock();
    EXPECT_TRUE(cameTo);
    EXPECT_TRUE(comesTo(worker, [](auto time) { return time == 0ms; })) << "it goes on";
}

TEST_F(Worker, IsOverdueOnceAMessageTakesLongerThanItsTimeout)
{
    QVariantMap message = test_support::messageTo(server.url(u"/x"_s).toString(), "1");
    message.insert(u"timeout"_s, 1);
    queue.enqueue(u"q"_s, u"A"_s, message, {});
    answer(1);
    std::mutex stuck;
    Watch watch;
    DeliveryWorker::Options chosen = options(watch, 24h);
    chosen.delivery.attempting = [&stuck](const QueuedMessage&) { const std::lock_guard lock(stuck); };
    std::unique_lock lock(stuck);
    const DeliveryWorker worker(chosen);
    const bool cameTo = comesTo(worker, [](auto time) { return time > period; });
    lock.unlock();
    EXPECT_TRUE(cameTo);
    EXPECT_TRUE(watch.sawDelivered(1)) << "it goes on";
}

namespace {

/// Does something else each time, and waits for nothing in between.
class RunningJob : public DeliveryWorker::Job
{
public:
    explicit RunningJob(std::function<void()> run)
        : m_run(std::move(run))
    {}
    void run(const std::stop_token& /*stop*/) override { m_run(); }
    bool wait(std::chrono::milliseconds /*longest*/, const std::stop_token& /*stop*/) override
    {
        return true;
    }

private:
    std::function<void()> m_run;
};

} // namespace

TEST_F(Worker, IsOverdueWhileItIsStuckWhateverWasOnItsWayWhenItFailedBefore)
{
    std::mutex stuck;
    Watch watch;
    DeliveryWorker::Options chosen = options(watch, 24h);
    int runs = 0;
    chosen.job = [&stuck, &runs](const QueueDelivery::Options& delivery) {
        return std::make_unique<RunningJob>([&stuck, &runs, delivery] {
            if (++runs > 1) {
                const std::lock_guard lock(stuck);
                return;
            }
            QueuedMessage message;
            message.message.insert(u"timeout"_s, 3600);
            delivery.attempting(message);
            throw std::runtime_error("odd");
        });
    };
    std::unique_lock lock(stuck);
    const DeliveryWorker worker(chosen);
    const bool cameTo = comesTo(worker, [](auto time) { return time > period; });
    lock.unlock();
    EXPECT_TRUE(cameTo);
}

TEST_F(Worker, IsOverdueWhileItIsStuckAfterAWaitThatWasShorterThanItMightHaveBeen)
{
    std::mutex stuck;
    Watch watch;
    DeliveryWorker::Options chosen = options(watch, 24h);
    int runs = 0;
    chosen.job = [&stuck, &runs](const QueueDelivery::Options& /*delivery*/) {
        return std::make_unique<RunningJob>([&stuck, &runs] {
            if (++runs > 1)
                const std::lock_guard lock(stuck);
        });
    };
    std::unique_lock lock(stuck);
    const DeliveryWorker worker(chosen);
    const bool cameTo = comesTo(worker, [](auto time) { return time > period; });
    lock.unlock();
    EXPECT_TRUE(cameTo);
}

TEST_F(Worker, IsNotOverdueOnceItHasEnded)
{
    Watch watch;
    DeliveryWorker worker(options(watch));
    worker.requestStop();
    ASSERT_TRUE(watch.saw(Phase::Stopped));
    EXPECT_LT(mostOverdue(worker), period / 2);
}

} // namespace queuetest

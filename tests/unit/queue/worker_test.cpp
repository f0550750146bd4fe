#include "host/queue/deliveryworker.h"
#include "tests/support/httpserver.h"
#include "tests/unit/queue/scene.h"

#include <QProcess>

#include <gmock/gmock.h>

#include <condition_variable>
#include <mutex>
#include <thread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test_support::HttpAnswer;
using testing::ElementsAre;
using Phase = DeliveryState::Phase;

namespace {

constexpr auto patience = 60s; // on the slowest machine; never waited out

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

TEST_F(Worker, SendsWhatWaitsAndAtOnceWhatIsPutInMeanwhile)
{
    add(u"A"_s, 1);
    answer(2);
    Watch watch;
    const DeliveryWorker worker(options(watch, 24h));
    ASSERT_TRUE(watch.sawDelivered(1));
    EXPECT_EQ(worker.state().phase, Phase::Delivering);
    add(u"A"_s, 2);
    ASSERT_TRUE(watch.sawDelivered(2));
    EXPECT_THAT(sent(), ElementsAre(1, 2));
    EXPECT_EQ(queue.waitingCount(), 0);
}

TEST_F(Worker, FindsWhatAnotherProcessPutsIn)
{
    Watch watch;
    DeliveryWorker::Options chosen = options(watch);
    const DeliveryWorker worker(chosen);
    QProcess process;
    process.start(QStringLiteral(KYR_ENQUEUER), {path()});
    // What it puts in cannot be sent, so that it counts as failed.
    EXPECT_TRUE(watch.sawFailed(1));
    process.kill();
    process.waitForFinished(30000);
}

TEST_F(Worker, TriesAgainAfterAPause)
{
    server.enqueue(HttpAnswer::status(503, "{}"));
    answer(1);
    add(u"A"_s, 1);
    Watch watch;
    const DeliveryWorker worker(options(watch));
    ASSERT_TRUE(watch.sawDelivered(1));
    EXPECT_THAT(sent(), ElementsAre(1, 1));
    EXPECT_TRUE(watch.saw([](const DeliveryState& state) { return state.lastError == u"HTTP 503"_s; }));
    EXPECT_EQ(worker.state(), (DeliveryState{Phase::Delivering, 1, 1, {}, {}}));
}

TEST_F(Worker, TogetherWithAnotherSendsNothingTwiceAndTheOtherTakesOver)
{
    constexpr int count = 30;
    answer(count, 10ms);
    for (int i = 0; i < count; ++i)
        add(i % 2 == 0 ? u"A"_s : QString(), i);
    Watch firstWatch;
    Watch secondWatch;
    auto first = std::make_unique<DeliveryWorker>(options(firstWatch));
    ASSERT_TRUE(firstWatch.saw(Phase::Delivering));
    const DeliveryWorker second(options(secondWatch));
    ASSERT_TRUE(secondWatch.saw(Phase::Standby));
    ASSERT_TRUE(firstWatch.sawDelivered(3));
    first.reset();
    ASSERT_TRUE(secondWatch.saw([this](const DeliveryState&) { return queue.waitingCount() == 0; }));
    QList<int> got = sent();
    EXPECT_EQ(got.size(), count);
    std::sort(got.begin(), got.end());
    EXPECT_EQ(std::unique(got.begin(), got.end()), got.end());
}

TEST_F(Worker, TakesOverFromAProcessThatWasKilledAndSendsItsMessageAgain)
{
    HttpAnswer never = HttpAnswer::status(200, "{}");
    never.delay = 24h;
    server.enqueue(never);
    add(u"A"_s, 1);
    add(u"A"_s, 2);
    QProcess process;
    process.start(QStringLiteral(KYR_DELIVERER), {path()});
    ASSERT_EQ(server.waitForRequests(1).size(), 1);
    Watch watch;
    const DeliveryWorker worker(options(watch));
    ASSERT_TRUE(watch.saw(Phase::Standby));
    answer(2);
    process.kill();
    ASSERT_TRUE(process.waitForFinished(30000));
    ASSERT_TRUE(watch.sawDelivered(2));
    EXPECT_THAT(sent(), ElementsAre(1, 1, 2));
}

TEST_F(Worker, WaitsForTheAnswerInHandAndBeginsNoOtherWhenStopped)
{
    answer(2, 200ms);
    add({}, 1);
    add({}, 2);
    Watch watch;
    auto worker = std::make_unique<DeliveryWorker>(options(watch));
    ASSERT_EQ(server.waitForRequests(1).size(), 1);
    worker->requestStop();
    ASSERT_TRUE(watch.saw(Phase::Stopped));
    worker.reset();
    EXPECT_THAT(sent(), ElementsAre(1));
    EXPECT_EQ(queue.waitingCount(), 1);
    EXPECT_NE(QueueDelivery::lock(), nullptr) << "the queue is free for others";
}

TEST_F(Worker, StopsAtOnceInAPause)
{
    server.enqueue(HttpAnswer::status(503, "{}"));
    add(u"A"_s, 1);
    const auto start = std::chrono::steady_clock::now();
    {
        Watch watch;
        const DeliveryWorker worker(options(watch, 24h));
        ASSERT_TRUE(watch.sawFailed(1));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, patience);
}

TEST_F(Worker, StopsAtOnceInStandby)
{
    const auto lock = QueueDelivery::lock();
    const auto start = std::chrono::steady_clock::now();
    {
        Watch watch;
        const DeliveryWorker worker(options(watch, 24h));
        ASSERT_TRUE(watch.saw(Phase::Standby));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, patience);
}

TEST_F(Worker, SaysOnceThatItsFileCannotBeUsedAndGoesOnWhenItCan)
{
    const QString damaged = useADamagedStore();
    Watch watch;
    const DeliveryWorker worker(options(watch));
    ASSERT_TRUE(watch.saw([](const DeliveryState& state) {
        return state.phase == Phase::Trouble && state.trouble.contains(u"till.sqlite"_s);
    }));
    ASSERT_TRUE(QFile::remove(damaged));
    ASSERT_TRUE(watch.saw(Phase::Delivering));
    EXPECT_EQ(worker.state().trouble, QString());
    EXPECT_EQ(networkLog.lines().filter(u"nothing can be delivered for now"_s).size(), 1);
}

TEST_F(Worker, NoticesThatItsFileWasTakenAwayBeginsNoOtherAndGoesOnWhenItIsBack)
{
    const QString store = path(u"till.sqlite"_s);
    Watch watch;
    const DeliveryWorker worker(options(watch));
    ASSERT_TRUE(watch.saw(Phase::Delivering));
    ASSERT_TRUE(QFile::rename(store, path(u"aside"_s)));
    ASSERT_TRUE(watch.saw([](const DeliveryState& state) {
        return state.phase == Phase::Trouble && state.trouble.contains(u"till.sqlite"_s);
    }));
    EXPECT_FALSE(QFile::exists(store));
    ASSERT_TRUE(QFile::rename(path(u"aside"_s), store));
    answer(1);
    add({}, 7);
    ASSERT_TRUE(watch.sawDelivered(1));
    EXPECT_THAT(sent(), ElementsAre(7));
}

TEST_F(Worker, LetsGoOfALockThatWasRemovedAndTakesTheNewOne)
{
    const QString lock = path(u"queue.lock"_s);
    Watch watch;
    const DeliveryWorker worker(options(watch));
    ASSERT_TRUE(watch.saw(Phase::Delivering));
    ASSERT_TRUE(QFile::remove(lock));
    ASSERT_TRUE(watch.saw([](const DeliveryState& state) {
        return state.phase == Phase::Trouble && state.trouble.contains(u"queue.lock"_s);
    }));
    ASSERT_TRUE(watch.saw([&](const DeliveryState&) { return worker.state().phase == Phase::Delivering; }));
    EXPECT_TRUE(QFile::exists(lock));
}

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
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition(worker.overdue())) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

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

TEST_F(Worker, SendsSeveralAtATimeOverConnectionsThatItKeeps)
{
    constexpr int count = 40;
    answer(count, 20ms);
    for (int i = 0; i < count; ++i)
        add({}, i);
    Watch watch;
    const DeliveryWorker worker(options(watch));
    ASSERT_TRUE(watch.sawDelivered(count));
    EXPECT_EQ(server.connections(), 4);
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

TEST_F(Worker, IsNotOverdueOnceItHasEnded)
{
    Watch watch;
    DeliveryWorker worker(options(watch));
    worker.requestStop();
    ASSERT_TRUE(watch.saw(Phase::Stopped));
    EXPECT_LT(mostOverdue(worker), period / 2);
}

} // namespace

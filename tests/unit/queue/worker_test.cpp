#include "tests/unit/queue/workerscene.h"

#include <QProcess>

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

using testing::ElementsAre;

namespace queuetest {

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

TEST_F(Worker, SendsAtOnceWhatSomebodyRetries)
{
    server.enqueue(HttpAnswer::status(422, "{}"));
    add(u"A"_s, 1);
    Watch watch;
    const DeliveryWorker worker(options(watch, 24h));
    ASSERT_TRUE(comesTo([this] { return queue.parkedCount() == 1; }));
    answer(1);
    EXPECT_TRUE(queue.retry(queue.lastId()));
    EXPECT_TRUE(watch.sawDelivered(1));
}

TEST_F(Worker, SendsAtOnceWhatSomebodyDroppedAnotherForAndWhatIsToBeHastened)
{
    add(u"A"_s, 1);
    const qint64 first = queue.lastId();
    add(u"A"_s, 2);
    server.enqueue(HttpAnswer::status(503, "{}"));
    server.enqueue(HttpAnswer::status(503, "{}"));
    Watch watch;
    const DeliveryWorker worker(options(watch, 24h));
    const auto hasFailed = [this](qint64 id) { return queue.find(id)->attempts == 1; };
    ASSERT_TRUE(comesTo([&] { return hasFailed(first); }));
    EXPECT_TRUE(queue.drop(first));
    ASSERT_TRUE(comesTo([&] { return hasFailed(first + 1); })) << "for which the first is in the way no more";
    answer(1);
    queue.expedite();
    EXPECT_TRUE(watch.sawDelivered(1));
    EXPECT_THAT(sent(), ElementsAre(1, 2, 2));
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
    Watch watch;
    {
        const DeliveryWorker worker(options(watch, 24h));
        ASSERT_TRUE(watch.saw(Phase::Standby));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, patience);
    EXPECT_THAT(watch.phases(), ElementsAre(Phase::Standby, Phase::Stopped)) << "the queue was never its own";
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
    const QStringList told = networkLog.lines().filter(u"nothing can be delivered for now"_s);
    ASSERT_EQ(told.size(), 1);
    EXPECT_THAT(told.first().toStdString(),
                testing::MatchesRegex("error: Queue: nothing can be delivered for now: .*till.sqlite.*"));
}

TEST_F(Worker, SaysOfEachTroubleThatNothingCanBeDelivered)
{
    const QString store = path(u"till.sqlite"_s);
    Watch watch;
    const DeliveryWorker worker(options(watch));
    for (int trouble = 1; trouble <= 2; ++trouble) {
        ASSERT_TRUE(
            watch.saw([&](const DeliveryState&) { return worker.state().phase == Phase::Delivering; }));
        ASSERT_TRUE(QFile::rename(store, path(u"aside"_s)));
        ASSERT_TRUE(watch.saw([&](const DeliveryState&) { return worker.state().phase == Phase::Trouble; }));
        ASSERT_TRUE(QFile::rename(path(u"aside"_s), store));
    }
    ASSERT_TRUE(watch.saw([&](const DeliveryState&) { return worker.state().phase == Phase::Delivering; }));
    EXPECT_EQ(networkLog.lines().filter(u"nothing can be delivered for now"_s).size(), 2);
}

TEST_F(Worker, GoesOnAfterAFailureThatNobodyHadThoughtOf)
{
    answer(1);
    add(u"A"_s, 1);
    Watch watch;
    DeliveryWorker::Options chosen = options(watch);
    std::atomic<bool> failed = false;
    chosen.delivery.attempting = [&failed](const QueuedMessage&) {
        if (!failed.exchange(true))
            throw std::runtime_error("odd");
    };
    const DeliveryWorker worker(chosen);
    ASSERT_TRUE(watch.saw([](const DeliveryState& state) {
        return state.phase == Phase::Trouble && state.trouble == u"odd"_s;
    }));
    EXPECT_TRUE(watch.sawDelivered(1));
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

TEST_F(Worker, StandsByWithoutATroubleWhereAnotherTookItsRemovedLock)
{
    Watch watch;
    const DeliveryWorker worker(options(watch));
    ASSERT_TRUE(watch.saw(Phase::Delivering));
    ASSERT_TRUE(QFile::remove(path(u"queue.lock"_s)));
    const auto other = QueueDelivery::lock();
    ASSERT_TRUE(other);
    ASSERT_TRUE(watch.saw(Phase::Trouble));
    ASSERT_TRUE(watch.saw(Phase::Standby));
    EXPECT_EQ(worker.state().trouble, QString());
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

TEST_F(Worker, SendsNoFewerAtATimeAfterAMessageThatTheServiceWillNeverTake)
{
    answer(20, 20ms);
    server.enqueue(HttpAnswer::status(422, "{}"));
    answer(20, 20ms);
    for (int i = 0; i < 41; ++i)
        add({}, i);
    Watch watch;
    const DeliveryWorker worker(options(watch));
    ASSERT_TRUE(watch.sawDelivered(40));
    EXPECT_EQ(server.connections(), 4);
}

namespace {

/// What a worker does in the place of a delivery.
struct Task
{
    std::atomic<int> failures = 0; ///< it is to fail so often at first
    std::atomic<int> runs = 0;     ///< that did not fail
    bool waits = true;             ///< by itself, for that moment
    std::chrono::milliseconds moment{1};
    std::function<void()> whileRunning = {};
};

class TaskJob : public DeliveryWorker::Job
{
public:
    explicit TaskJob(Task& task)
        : m_task(task)
    {}
    void run(const std::stop_token& /*stop*/) override
    {
        if (m_task.failures > 0) {
            --m_task.failures;
            throw std::runtime_error("odd");
        }
        if (m_task.whileRunning)
            m_task.whileRunning();
        ++m_task.runs;
    }
    bool wait(std::chrono::milliseconds longest, const std::stop_token& stop) override
    {
        if (!m_task.waits)
            return Job::wait(longest, stop);
        std::this_thread::sleep_for(m_task.moment);
        return true;
    }

private:
    Task& m_task;
};

DeliveryWorker::Options doing(Task& task, DeliveryWorker::Options chosen = {})
{
    chosen.job = [&task](const QueueDelivery::Options&) { return std::make_unique<TaskJob>(task); };
    return chosen;
}

} // namespace

TEST_F(Worker, DoesAnotherJobBesideWhoeverDeliversAndWaitsAsThatOneDoes)
{
    const auto lock = QueueDelivery::lock();
    Task task;
    DeliveryWorker::Options chosen = doing(task);
    chosen.alone = false;
    chosen.poll = 24h;
    const DeliveryWorker worker(chosen);
    const auto end = std::chrono::steady_clock::now() + patience;
    while (task.runs < 3 && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(1ms);
    EXPECT_GE(task.runs, 3);
    EXPECT_EQ(worker.state().phase, Phase::Delivering);
}

TEST_F(Worker, IsNotOverdueWhileItsJobWaits)
{
    Task task;
    task.moment = 1s; // of which a fifth is over below
    Watch watch;
    const DeliveryWorker worker(doing(task, options(watch, 24h)));
    const auto end = std::chrono::steady_clock::now() + patience;
    while (task.runs < 1 && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(1ms);
    std::this_thread::sleep_for(200ms);
    EXPECT_EQ(worker.overdue(), 0ms);
}

TEST_F(Worker, WaitsForWhatIsPutInWhereTheJobDoesNotWaitItself)
{
    Task task;
    task.waits = false;
    Watch watch;
    const DeliveryWorker worker(doing(task, options(watch, 24h)));
    const auto end = std::chrono::steady_clock::now() + patience;
    const auto runsReach = [&](int count) {
        while (task.runs < count && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(1ms);
        return task.runs >= count;
    };
    ASSERT_TRUE(runsReach(1));
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(task.runs, 1);
    add({}, 1);
    EXPECT_TRUE(runsReach(2));
}

TEST_F(Worker, RunsAgainAtOnceForWhatIsPutInWhileItRuns)
{
    Task task;
    task.waits = false;
    task.whileRunning = [&task] {
        if (task.runs == 0)
            MessageQueue().enqueue(u"q"_s, {}, {}, {});
    };
    Watch watch;
    const DeliveryWorker worker(doing(task, options(watch, 24h)));
    const auto end = std::chrono::steady_clock::now() + patience;
    while (task.runs < 2 && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(1ms);
    EXPECT_EQ(task.runs, 2);
}

TEST_F(Worker, SaysThatItDeliversBeforeItIsDoneForTheFirstTime)
{
    Task task;
    Watch watch;
    std::atomic<bool> said = false;
    task.whileRunning = [&] { said = said || watch.saw(Phase::Delivering); };
    const DeliveryWorker worker(doing(task, options(watch)));
    ASSERT_TRUE(watch.saw(Phase::Delivering));
    const auto end = std::chrono::steady_clock::now() + patience;
    while (task.runs < 1 && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(1ms);
    EXPECT_TRUE(said);
}

TEST_F(Worker, MakesAPauseAfterTheFirstTroubleAlready)
{
    Task task;
    task.failures = 1;
    Watch watch;
    const DeliveryWorker worker(doing(task, options(watch)));
    ASSERT_TRUE(watch.saw(Phase::Trouble));
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(task.runs, 0);
}

TEST_F(Worker, SaysOnceOfATroubleThatComesBackAtOnceThatNothingCanBeDelivered)
{
    Task task;
    task.failures = 2;
    Watch watch;
    const DeliveryWorker worker(doing(task, options(watch)));
    ASSERT_TRUE(watch.saw(
        [&](const DeliveryState& state) { return task.failures == 0 && state.phase == Phase::Delivering; }));
    ASSERT_TRUE(comesTo([&] { return task.runs > 0 && worker.state().phase == Phase::Delivering; }));
    EXPECT_THAT(watch.phases(), ElementsAre(Phase::Delivering, Phase::Trouble, Phase::Delivering));
    EXPECT_EQ(networkLog.lines().filter(u"nothing can be delivered for now"_s).size(), 1);
}

} // namespace queuetest

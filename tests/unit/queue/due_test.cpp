#include "host/queue/retrybackoff.h"
#include "tests/unit/queue/scene.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using testing::ElementsAre;

namespace {

class Due : public test_support::Storage
{
protected:
    qint64 add(const QString& group = {}) { return queue.enqueue(u"q"_s, group, {{u"n"_s, 1}}, {}); }
    [[nodiscard]] qint64 next()
    {
        const auto found = queue.nextDue(clock.now(), clock.now());
        return found ? found->id : 0;
    }
    void fail(qint64 id, std::chrono::milliseconds pause = 10s)
    {
        queue.failed(id, {.error = u"no"_s}, clock.now() + pause);
    }
    void refuse(qint64 id, std::chrono::milliseconds pause)
    {
        queue.refused(id, {401, u"who?"_s, 0}, clock.now(), clock.now() + pause);
    }

    test_support::StillClock clock;
    MessageQueue queue;
};

TEST_F(Due, IsTheFirstThatWasPutIn)
{
    EXPECT_EQ(next(), 0);
    const qint64 first = add();
    add();
    EXPECT_EQ(next(), first);
    EXPECT_EQ(queue.find(first)->due, clock.now());
}

TEST_F(Due, IsAFailedMessageAfterItsPauseAndNotBefore)
{
    const qint64 id = add();
    fail(id, 10s);
    EXPECT_EQ(queue.find(id)->due, clock.now() + 10s);
    EXPECT_EQ(next(), 0);
    clock.move(9999ms);
    EXPECT_EQ(next(), 0);
    clock.move(1ms);
    EXPECT_EQ(next(), id);
}

TEST_F(Due, IsOfSeveralTheOneWhosePauseEndedFirst)
{
    const qint64 slow = add();
    const qint64 quick = add();
    fail(slow, 20s);
    fail(quick, 10s);
    clock.move(1min);
    EXPECT_EQ(next(), quick);
}

TEST_F(Due, IsNoMessageBehindAnotherOfItsGroupWhateverThatOneWaitsFor)
{
    const qint64 first = add(u"A"_s);
    const qint64 second = add(u"A"_s);
    const qint64 third = add(u"A"_s);
    const qint64 other = add(u"B"_s);
    fail(first);
    EXPECT_EQ(next(), other);
    queue.delivered(other, {});
    EXPECT_EQ(next(), 0);
    queue.park(first, {400, u"no"_s, 0});
    EXPECT_EQ(next(), 0);
    queue.drop(first);
    EXPECT_EQ(next(), second);
    queue.delivered(second, {});
    EXPECT_EQ(next(), third);
    queue.delivered(third, {});
    EXPECT_EQ(next(), 0);
    EXPECT_NE(add(u"A"_s), 0);
    EXPECT_NE(next(), 0) << "a group that was done may begin again";
}

TEST_F(Due, GoesOnWithAGroupOutOfWhoseMiddleAMessageWasDropped)
{
    const qint64 first = add(u"A"_s);
    const qint64 second = add(u"A"_s);
    const qint64 third = add(u"A"_s);
    queue.drop(second);
    EXPECT_EQ(next(), first);
    queue.delivered(first, {});
    EXPECT_EQ(next(), third);
}

TEST_F(Due, IsAtOnceWhatIsRetriedParkedOrNot)
{
    const qint64 waiting = add();
    fail(waiting);
    EXPECT_TRUE(queue.retry(waiting));
    EXPECT_EQ(next(), waiting);
    EXPECT_EQ(queue.find(waiting)->attempts, 1);
    fail(waiting);
    queue.park(waiting, {400, u"no"_s, 0});
    EXPECT_TRUE(queue.retry(waiting));
    EXPECT_EQ(next(), waiting);
    EXPECT_FALSE(queue.retry(waiting)) << "it is due already";
}

TEST_F(Due, IsEverythingOnceThePausesAreEnded)
{
    const qint64 one = add();
    const qint64 two = add();
    fail(one);
    fail(two);
    refuse(two, 4min);
    queue.expedite();
    EXPECT_EQ(next(), one);
    EXPECT_FALSE(queue.suspension()->nextProbe.isValid());
}

TEST_F(Due, IsWhatAClockThatHasJumpedBackWouldHoldUpForLongerThanAnyPause)
{
    const qint64 id = add();
    fail(id, network::longestPause);
    EXPECT_EQ(next(), 0);
    clock.move(-1ms);
    EXPECT_EQ(next(), id);
}

TEST_F(Due, IsFoundAsQuicklyAmongManyAsAlone)
{
    const auto fastest = [this] {
        auto best = std::chrono::nanoseconds::max();
        for (int i = 0; i < 50; ++i) {
            const auto start = std::chrono::steady_clock::now();
            static_cast<void>(next() + queue.health().waiting);
            best = std::min<std::chrono::nanoseconds>(best, std::chrono::steady_clock::now() - start);
        }
        return best;
    };
    add();
    const auto one = fastest();
    // Behind a refused one, parked, pausing, and waiting for one that pauses.
    test_support::RawDatabase(path(u"till.sqlite"_s))
        .run(u"INSERT INTO queued (queue, receipt, enqueued, message, text, parked, due) "
             "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 60000) "
             "SELECT 'q', CASE i % 3 WHEN 0 THEN 'R' ELSE '' END, 1, zeroblob(200), '', i % 3 = 1, "
             "%1 FROM n"_s.arg((clock.now() + 4min).toMSecsSinceEpoch()));
    EXPECT_EQ(queue.health().parked, 20000);
    EXPECT_LT(fastest(), 20 * one) << "going through them would take hundreds of times as long";
}

TEST_F(Due, ListsFromAMessageOn)
{
    const qint64 first = add();
    const qint64 second = add();
    const qint64 third = add();
    EXPECT_THAT(queue.messages(10, first), ElementsAre(testing::Field(&QueuedMessage::id, second),
                                                       testing::Field(&QueuedMessage::id, third)));
    EXPECT_EQ(queue.find(third + 1), std::nullopt);
}

TEST_F(Due, TellsTheHealthOfTheQueue)
{
    QueueHealth health = queue.health();
    EXPECT_EQ(health.waiting + health.parked, 0);
    EXPECT_FALSE(health.oldestWaiting.isValid() || health.credentialsSuspended.isValid() ||
                 health.lastDelivered.isValid());
    const QDateTime start = clock.now();
    const qint64 parked = add();
    clock.move(1s);
    const qint64 first = add();
    clock.move(1s);
    add();
    queue.park(parked, {400, u"no such card"_s, 0});
    health = queue.health();
    EXPECT_EQ(health.waiting, 2);
    EXPECT_EQ(health.parked, 1);
    EXPECT_EQ(health.oldestWaiting, start.addSecs(1));
    EXPECT_EQ(health.lastError, u"no such card"_s);
    queue.delivered(first, {});
    health = queue.health();
    EXPECT_EQ(health.oldestWaiting, start.addSecs(2));
    EXPECT_EQ(health.lastDelivered, clock.now());
    EXPECT_EQ(health.lastError, QString());
}

TEST_F(Due, TellsTheHealthOfTheQueueAtTheVeryBeginningOfTimeToo)
{
    clock.moveTo(utils::utcFromMilliseconds(0));
    const qint64 first = add();
    const qint64 second = add();
    queue.delivered(first, {});
    refuse(second, 1s);
    const QueueHealth health = queue.health();
    EXPECT_TRUE(health.oldestWaiting.isValid());
    EXPECT_TRUE(health.lastDelivered.isValid());
    EXPECT_TRUE(health.credentialsSuspended.isValid());
}

TEST_F(Due, RemembersSinceWhenTheCredentialsAreRefusedForWhoeverOpensIt)
{
    const qint64 id = add();
    const QDateTime since = clock.now();
    refuse(id, 1s);
    clock.move(1min);
    refuse(id, 2s);
    const auto suspension = MessageQueue().suspension();
    ASSERT_TRUE(suspension);
    EXPECT_EQ(suspension->since, since);
    EXPECT_EQ(suspension->probes, 2);
    EXPECT_EQ(suspension->nextProbe, clock.now() + 2s);
    EXPECT_EQ(queue.health().credentialsSuspended, since);
}

TEST_F(Due, ForgetsTheRefusalOnAnyOtherAnswerAndOnlyOnAnAnswer)
{
    const qint64 id = add();
    refuse(id, 1s);
    queue.failed(id, {1, u"no connection"_s, 0}, clock.now());
    EXPECT_TRUE(queue.suspension());
    queue.failed(id, {503, u"later"_s, 0}, clock.now());
    EXPECT_FALSE(queue.suspension());
    refuse(id, 1s);
    queue.park(id, {8, u"a header cannot be sent"_s, 0});
    EXPECT_TRUE(queue.suspension());
    queue.park(id, {400, u"no"_s, 0});
    EXPECT_FALSE(queue.suspension());
    refuse(id, 1s);
    queue.delivered(id, {});
    EXPECT_FALSE(queue.suspension());
}

} // namespace

#include "tests/unit/queue/anyqueue.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// What every outgoing queue promises to tell of its health and of the credentials.
namespace test_support {

TEST_P(AnyQueue, TellsItsHealth)
{
    QueueHealth health = queue->health();
    EXPECT_EQ(health.waiting + health.parked, 0);
    EXPECT_FALSE(health.oldestWaiting.isValid() || health.credentialsSuspended.isValid() ||
                 health.lastDelivered.isValid());
    EXPECT_EQ(health.lastError, QString());
    const QDateTime start = clock.now();
    const qint64 parked = add();
    clock.move(1s);
    const qint64 first = add();
    clock.move(1s);
    add();
    queue->park(parked, {400, u"no such card"_s, 0});
    health = queue->health();
    EXPECT_EQ(health.waiting, 2);
    EXPECT_EQ(health.parked, 1);
    EXPECT_EQ(health.oldestWaiting, start.addSecs(1));
    EXPECT_EQ(health.lastError, u"no such card"_s);
    queue->delivered(first, {});
    health = queue->health();
    EXPECT_EQ(health.oldestWaiting, start.addSecs(2));
    EXPECT_EQ(health.lastDelivered, clock.now());
    EXPECT_EQ(health.lastError, QString()) << "the last attempt did not fail";
}

TEST_P(AnyQueue, TellsWhyTheLastAttemptFailedWhicheverMessageItWasOf)
{
    const qint64 first = add();
    const qint64 second = add();
    fail(second, 20s);
    queue->failed(first, {1, u"no connection"_s, 0}, clock.now() + 10s);
    EXPECT_EQ(queue->health().lastError, u"no connection"_s);
    refuse(second, 1s);
    EXPECT_EQ(queue->health().lastError, u"who?"_s);
    queue->park(first, {400, u"no such card"_s, 0});
    EXPECT_EQ(queue->health().lastError, u"no such card"_s);
    queue->drop(first);
    EXPECT_EQ(queue->health().lastError, u"no such card"_s) << "nothing was tried since";
}

TEST_P(AnyQueue, TellsItsHealthAtTheVeryBeginningOfTimeToo)
{
    clock.moveTo(utils::utcFromMilliseconds(0));
    const qint64 first = add();
    const qint64 second = add();
    queue->delivered(first, {});
    refuse(second, 1s);
    const QueueHealth health = queue->health();
    EXPECT_TRUE(health.oldestWaiting.isValid());
    EXPECT_TRUE(health.lastDelivered.isValid());
    EXPECT_TRUE(health.credentialsSuspended.isValid());
}

TEST_P(AnyQueue, RemembersSinceWhenTheCredentialsAreRefusedForWhoeverOpensIt)
{
    const qint64 id = add();
    const QDateTime since = clock.now();
    EXPECT_FALSE(queue->suspension());
    refuse(id, 1s);
    clock.move(1min);
    refuse(id, 2s);
    const auto suspension = home->open()->suspension();
    ASSERT_TRUE(suspension);
    EXPECT_EQ(suspension->since, since);
    EXPECT_EQ(suspension->probes, 2);
    EXPECT_EQ(suspension->nextProbe, clock.now() + 2s);
    EXPECT_EQ(queue->health().credentialsSuspended, since);
    EXPECT_EQ(queue->find(id)->attempts, 2);
    EXPECT_EQ(queue->find(id)->lastError, u"who?"_s);
}

TEST_P(AnyQueue, GivesAMessageToTryTheCredentialsWithWhenItIsTime)
{
    const qint64 id = add();
    refuse(id, 1s);
    clock.move(1s);
    EXPECT_EQ(next(), id);
}

TEST_P(AnyQueue, ForgetsTheRefusalOnAnyOtherAnswerAndOnlyOnAnAnswer)
{
    const qint64 id = add();
    refuse(id, 1s);
    queue->failed(id, {1, u"no connection"_s, 0}, clock.now());
    EXPECT_TRUE(queue->suspension());
    queue->failed(id, {503, u"later"_s, 0}, clock.now());
    EXPECT_FALSE(queue->suspension());
    refuse(id, 1s);
    queue->park(id, {8, u"a header cannot be sent"_s, 0});
    EXPECT_TRUE(queue->suspension());
    queue->park(id, {400, u"no"_s, 0});
    EXPECT_FALSE(queue->suspension());
    refuse(id, 1s);
    queue->delivered(id, {});
    EXPECT_FALSE(queue->suspension());
}

} // namespace test_support

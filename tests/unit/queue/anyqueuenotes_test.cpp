#include "host/queue/queuedform.h"
#include "tests/unit/queue/anyqueue.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using State = QueuedMessage::State;

/// What every outgoing queue promises of what is noted of its messages.
namespace test_support {

TEST_P(AnyQueue, MovesADeliveredMessageIntoTheHistoryWithoutItsContent)
{
    const qint64 id = add(u"R-1"_s);
    fail(id);
    EXPECT_TRUE(queue->delivered(id, {}));
    EXPECT_THAT(ids(), IsEmpty());
    EXPECT_EQ(gone(id), u"delivered|0|1|busy|R-1|text"_s);
    EXPECT_EQ(home->sql(u"SELECT count(*) FROM history WHERE message IS NULL"_s), u"1"_s);
    EXPECT_EQ(home->sql(u"SELECT finished FROM history"_s), QString::number(clock.now().toMSecsSinceEpoch()));
}

TEST_P(AnyQueue, KeepsADroppedMessageInTheHistoryWithoutItsCredentials)
{
    QVariantMap message{{u"headers"_s, QVariantMap{{u"authorization"_s, u"Basic c2VjcmV0"_s},
                                                   {u"Accept"_s, u"text/plain"_s}}},
                        {u"body"_s, QByteArray("{}")},
                        {u"timeout"_s, 10}};
    const qint64 id = add(u"R-1"_s, message);
    queue->park(id, {404, u"no such card"_s, 0});
    EXPECT_TRUE(queue->drop(id));
    EXPECT_THAT(ids(), IsEmpty());
    EXPECT_EQ(gone(id), u"dropped||1|no such card|R-1|text"_s);
    message[u"headers"_s] = QVariantMap{{u"Accept"_s, u"text/plain"_s}};
    EXPECT_EQ(home->sql(u"SELECT count(*) FROM history WHERE message = "_s +
                        home->literal(network::writtenWithoutAuthorization(message))),
              u"1"_s);
}

TEST_P(AnyQueue, TellsADamagedMessageAndKeepsItAsItLiesWhenItIsDropped)
{
    const qint64 whole = add(u"R-1"_s);
    const qint64 id = add(u"R-1"_s);
    home->sql(u"UPDATE queued SET message = %1 WHERE id = %2"_s.arg(home->literal("\1\2")).arg(id));
    EXPECT_FALSE(queue->find(whole)->damaged);
    const auto damaged = queue->messages(10, whole).value(0);
    EXPECT_TRUE(damaged.damaged);
    EXPECT_TRUE(damaged.message.isEmpty());
    EXPECT_EQ(damaged.group, u"R-1"_s);
    EXPECT_EQ(queue->waitingCount(), 2);
    queue->delivered(whole, {});
    EXPECT_EQ(next(), id) << "the delivery parks it";
    EXPECT_TRUE(queue->drop(id));
    EXPECT_EQ(home->sql(u"SELECT id FROM history WHERE message = "_s + home->literal("\1\2")),
              QString::number(id));
}

TEST_P(AnyQueue, NotesAFailureAndLetsTheMessageWait)
{
    const qint64 id = add();
    EXPECT_TRUE(queue->failed(id, {.error = u"first"_s}, clock.now()));
    EXPECT_TRUE(queue->failed(id, {.error = u"second"_s}, clock.now()));
    const QueuedMessage message = *queue->find(id);
    EXPECT_EQ(message.attempts, 2);
    EXPECT_EQ(message.lastError, u"second"_s);
    EXPECT_EQ(message.state, State::Waiting);
}

TEST_P(AnyQueue, ParksAMessageAndLetsItWaitAgainInItsOldPlace)
{
    const qint64 first = add();
    const qint64 second = add();
    EXPECT_TRUE(queue->park(first, {.error = u"no"_s}));
    EXPECT_EQ(queue->after(0)->state, State::Parked);
    EXPECT_EQ(queue->after(0)->lastError, u"no"_s);
    EXPECT_EQ(queue->after(0)->attempts, 1);
    EXPECT_EQ(next(), second);
    EXPECT_TRUE(queue->retry(first));
    EXPECT_FALSE(queue->retry(first)) << "it waits already";
    EXPECT_EQ(queue->after(0)->state, State::Waiting);
    EXPECT_THAT(ids(), ElementsAre(first, second));
    EXPECT_EQ(next(), first);
}

TEST_P(AnyQueue, MakesWhatIsRetriedDueAtOnceParkedOrNot)
{
    const qint64 waiting = add();
    fail(waiting);
    EXPECT_TRUE(queue->retry(waiting));
    EXPECT_EQ(next(), waiting);
    EXPECT_EQ(queue->find(waiting)->attempts, 1);
    fail(waiting);
    queue->park(waiting, {400, u"no"_s, 0});
    EXPECT_TRUE(queue->retry(waiting));
    EXPECT_EQ(next(), waiting);
    EXPECT_FALSE(queue->retry(waiting)) << "it is due already";
}

TEST_P(AnyQueue, MakesEverythingDueOnceThePausesAreEnded)
{
    const qint64 one = add(u"A"_s);
    const qint64 two = add();
    const qint64 parked = add();
    fail(one);
    fail(two);
    refuse(two, 4min);
    queue->park(parked, {400, u"no"_s, 0});
    refuse(two, 4min);
    queue->expedite();
    ASSERT_TRUE(queue->suspension());
    EXPECT_FALSE(queue->suspension()->nextProbe.isValid());
    EXPECT_EQ(next(), one);
    EXPECT_EQ(queue->parkedCount(), 1);
    queue->delivered(one, {});
    EXPECT_EQ(next(), two);
}

TEST_P(AnyQueue, DoesNothingToAMessageThatItDoesNotHold)
{
    const qint64 id = add(u"R-1"_s);
    queue->delivered(id, {});
    const QString before = told(u"R-1"_s);
    EXPECT_FALSE(queue->delivered(id, {}));
    EXPECT_FALSE(queue->failed(id, {.error = u"x"_s}, clock.now()));
    EXPECT_FALSE(queue->park(id, {.error = u"x"_s}));
    EXPECT_FALSE(queue->refused(id, {401, u"x"_s, 0}, clock.now(), clock.now()));
    EXPECT_FALSE(queue->retry(id));
    EXPECT_FALSE(queue->drop(id));
    EXPECT_EQ(queue->waitingCount(), 0);
    EXPECT_EQ(gone(id), u"delivered|0|0||R-1|text"_s);
    EXPECT_EQ(told(u"R-1"_s), before);
    EXPECT_FALSE(queue->suspension());
    EXPECT_EQ(queue->health().lastError, QString());
}

TEST_P(AnyQueue, CountsThroughEveryChange)
{
    const auto counts = [this] { return std::pair(queue->waitingCount(), queue->parkedCount()); };
    EXPECT_EQ(counts(), std::pair(0, 0));
    const qint64 first = add();
    const qint64 second = add();
    const qint64 third = add();
    EXPECT_EQ(counts(), std::pair(3, 0));
    queue->park(first, {});
    queue->park(first, {});
    queue->park(second, {});
    EXPECT_EQ(counts(), std::pair(1, 2));
    queue->retry(first);
    EXPECT_EQ(counts(), std::pair(2, 1));
    queue->failed(third, {}, clock.now());
    queue->drop(second);
    EXPECT_EQ(counts(), std::pair(2, 0));
    queue->delivered(third, {});
    EXPECT_EQ(counts(), std::pair(1, 0));
    EXPECT_EQ(home->open()->waitingCount(), 1) << "also for whoever opens it later";
}

} // namespace test_support

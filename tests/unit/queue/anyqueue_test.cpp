#include "host/queue/retrybackoff.h"
#include "tests/unit/queue/anyqueue.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using State = QueuedMessage::State;

/// What every outgoing queue promises, wherever it is kept: what it holds, and what it gives when.
namespace test_support {

TEST_P(AnyQueue, BringsAMessageBackAsItCame)
{
    const QVariantMap message{{u"method"_s, u"POST"_s},
                              {u"headers"_s, QVariantMap{{u"Authorization"_s, u"Basic x"_s}}},
                              {u"body"_s, QByteArray("{\"сумма\":\0 1}", 17)},
                              {u"timeout"_s, 10},
                              {u"url"_s, u"http://service/v2/x"_s}};
    const qint64 id = add(u"R-1"_s, message);
    const auto back = home->open()->find(id);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->id, id);
    EXPECT_EQ(back->queue, u"kyrloyalty"_s);
    EXPECT_EQ(back->group, u"R-1"_s);
    EXPECT_EQ(back->text, u"text"_s);
    EXPECT_EQ(back->operation(), u"x"_s);
    EXPECT_EQ(back->attempts, 0);
    EXPECT_EQ(back->lastError, QString());
    EXPECT_EQ(back->state, State::Waiting);
    EXPECT_FALSE(back->damaged);
    EXPECT_EQ(back->enqueued.timeSpec(), Qt::UTC);
    EXPECT_EQ(back->enqueued, clock.now());
    EXPECT_EQ(back->due, clock.now());
    EXPECT_EQ(back->message, message);
    for (auto member = message.cbegin(); member != message.cend(); ++member)
        EXPECT_EQ(back->message.value(member.key()).typeId(), member->typeId()) << member.key().toStdString();
}

TEST_P(AnyQueue, IsInTheOrderOfEnqueueingAndNeverGivesAnIdTwice)
{
    const qint64 first = add();
    const qint64 second = add();
    EXPECT_LT(first, second);
    EXPECT_THAT(ids(), ElementsAre(first, second));
    queue->delivered(first, {});
    queue->delivered(second, {});
    EXPECT_GT(add(), second);
}

TEST_P(AnyQueue, ListsFromAMessageOnAndNoMoreThanAskedFor)
{
    const qint64 first = add();
    const qint64 second = add();
    const qint64 third = add();
    EXPECT_THAT(queue->messages(10, first), ElementsAre(testing::Field(&QueuedMessage::id, second),
                                                        testing::Field(&QueuedMessage::id, third)));
    EXPECT_THAT(queue->messages(1), ElementsAre(testing::Field(&QueuedMessage::id, first)));
    EXPECT_THAT(queue->messages(0), IsEmpty());
    EXPECT_EQ(queue->find(third + 1), std::nullopt);
}

TEST_P(AnyQueue, IsWalkedFromOneMessageToTheNext)
{
    EXPECT_EQ(queue->after(0), std::nullopt);
    EXPECT_EQ(queue->lastId(), 0);
    const qint64 first = add();
    const qint64 second = add();
    queue->park(second, {});
    EXPECT_EQ(queue->after(0)->id, first);
    EXPECT_EQ(queue->after(first)->id, second);
    EXPECT_EQ(queue->after(second), std::nullopt);
    EXPECT_EQ(queue->lastId(), second);
}

TEST_P(AnyQueue, GivesFirstWhatWasPutInFirst)
{
    EXPECT_EQ(next(), 0);
    const qint64 first = add();
    add();
    EXPECT_EQ(next(), first);
}

TEST_P(AnyQueue, GivesAFailedMessageAfterItsPauseAndNotBefore)
{
    const qint64 id = add();
    fail(id, 10s);
    EXPECT_EQ(queue->find(id)->due, clock.now() + 10s);
    EXPECT_EQ(next(), 0);
    clock.move(9999ms);
    EXPECT_EQ(next(), 0);
    clock.move(1ms);
    EXPECT_EQ(next(), id);
}

TEST_P(AnyQueue, GivesOfSeveralTheOneWhosePauseEndedFirst)
{
    const qint64 slow = add();
    const qint64 quick = add();
    fail(slow, 20s);
    fail(quick, 10s);
    clock.move(1min);
    EXPECT_EQ(next(), quick);
}

TEST_P(AnyQueue, GivesNothingThatIsDueLaterThanItIsAskedFor)
{
    const qint64 id = add();
    const QDateTime start = clock.now();
    clock.move(5s);
    fail(id, 0s);
    EXPECT_EQ(queue->nextDue(start, clock.now()), std::nullopt) << "it failed in this very round";
    EXPECT_TRUE(queue->nextDue(clock.now(), clock.now()));
}

TEST_P(AnyQueue, GivesNoMessageBehindAnotherOfItsGroupWhateverThatOneWaitsFor)
{
    const qint64 first = add(u"A"_s);
    const qint64 second = add(u"A"_s);
    const qint64 third = add(u"A"_s);
    const qint64 other = add(u"B"_s);
    fail(first);
    EXPECT_EQ(next(), other);
    queue->delivered(other, {});
    EXPECT_EQ(next(), 0);
    queue->park(first, {400, u"no"_s, 0});
    EXPECT_EQ(next(), 0);
    queue->drop(first);
    EXPECT_EQ(next(), second);
    queue->delivered(second, {});
    EXPECT_EQ(next(), third);
    queue->delivered(third, {});
    EXPECT_EQ(next(), 0);
    EXPECT_NE(add(u"A"_s), 0);
    EXPECT_NE(next(), 0) << "a group that was done may begin again";
}

TEST_P(AnyQueue, GoesOnWithAGroupOutOfWhoseMiddleAMessageWasDropped)
{
    const qint64 first = add(u"A"_s);
    const qint64 second = add(u"A"_s);
    const qint64 third = add(u"A"_s);
    queue->drop(second);
    EXPECT_EQ(next(), first);
    queue->delivered(first, {});
    EXPECT_EQ(next(), third);
}

TEST_P(AnyQueue, GivesNothingOfWhatIsUnderWayNorOfItsGroup)
{
    const qint64 first = add(u"A"_s);
    add(u"A"_s);
    const qint64 other = add(u"B"_s);
    const qint64 ofNobody = add();
    const qint64 ofNobodyElse = add();
    QList<QueuedMessage> underWay;
    for (const qint64 expected : {first, other, ofNobody, ofNobodyElse}) {
        const auto given = due(underWay);
        ASSERT_TRUE(given);
        EXPECT_EQ(given->id, expected);
        underWay.append(*given);
    }
    EXPECT_EQ(due(underWay), std::nullopt);
    EXPECT_EQ(next(), first) << "what is not under way any more is due as before";
}

TEST_P(AnyQueue, GivesTheNextOfAGroupBesideOthersThatAreUnderWay)
{
    const auto first = add(u"A"_s);
    const auto second = add(u"A"_s);
    add(u"B"_s);
    const auto mine = due();
    ASSERT_EQ(mine->id, first);
    const auto other = due({*mine});
    ASSERT_TRUE(other);
    EXPECT_TRUE(queue->delivered(first, {}));
    EXPECT_EQ(next({*other}), second);
}

TEST_P(AnyQueue, GivesWhatAClockThatHasJumpedBackWouldHoldUpForLongerThanAnyPause)
{
    const qint64 id = add();
    fail(id, network::longestPause);
    EXPECT_EQ(next(), 0);
    clock.move(-1ms);
    EXPECT_EQ(next(), id);
}

// A till whose battery is empty may well begin anew in 1970, or before it, west of Greenwich.
TEST_P(AnyQueue, GivesWhatIsDueAroundTheBeginningOfTimeAsEver)
{
    for (const std::chrono::milliseconds time : {-87600h + 0ms, -1h + 0ms, -1000ms, -1ms, 0ms, 1ms}) {
        clock.moveTo(utils::utcFromMilliseconds(time.count()));
        const qint64 id = add();
        EXPECT_EQ(next(), id) << time.count();
        fail(id, 1s);
        EXPECT_EQ(next(), 0) << time.count();
        clock.move(1001ms); // the very beginning is kept as the moment after it
        EXPECT_EQ(next(), id) << time.count();
        refuse(id, 1s);
        queue->expedite();
        EXPECT_EQ(next(), id) << time.count();
        queue->delivered(id, {});
    }
}

} // namespace test_support

#include "tests/unit/queue/deliveryinsteps.h"
#include "tests/unit/queue/heldservice.h"

#include <gmock/gmock.h>

#include <array>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using State = QueuedMessage::State;

namespace {

using PausingDelivery = queuetest::DeliveryInSteps;

const QString refusedLine =
    u"error: Queue: the service refuses the credentials; nothing is delivered until it takes them. "
    "Check user and password"_s;
constexpr std::array<std::chrono::milliseconds, 8> beginningOfTime{-87600h, -1h,  -5min, -1min,
                                                                   -1s,     -1ms, 0ms,   1ms};
const QString takenLine = u"info: Queue: the service takes the credentials again"_s;

TEST_F(PausingDelivery, WaitsLongerAfterEachFailure)
{
    const qint64 id = add({}, u"x"_s);
    for (const auto pause : {1s, 2s, 4s, 8s}) {
        answer({503});
        pass();
        EXPECT_THAT(sent(), ElementsAre(u"x"_s));
        EXPECT_EQ(queue.find(id)->due, clock.now() + pause);
        clock.move(pause - 1ms);
        pass();
        EXPECT_THAT(sent(), IsEmpty());
        clock.move(1ms);
    }
}

TEST_F(PausingDelivery, SendsOtherGroupsWhileOneWaitsOutItsPause)
{
    add(u"A"_s, u"a1"_s);
    add(u"A"_s, u"a2"_s);
    answer({503});
    pass();
    add(u"B"_s, u"b1"_s);
    add(u"B"_s, u"b2"_s);
    answer({0, 0});
    EXPECT_EQ(pass().delivered, 2);
    EXPECT_THAT(sent(), ElementsAre(u"a1"_s, u"b1"_s, u"b2"_s));
    clock.move(1s);
    answer({0, 0});
    EXPECT_EQ(pass().delivered, 2);
    EXPECT_THAT(sent(), ElementsAre(u"a1"_s, u"a2"_s));
}

// A till whose battery is empty may well begin anew in 1970, or before it, west of Greenwich.
TEST_F(PausingDelivery, DeliversAndPausesAsEverAroundTheBeginningOfTime)
{
    for (const std::chrono::milliseconds time : beginningOfTime) {
        clock.moveTo(utils::utcFromMilliseconds(time.count()));
        add(u"A"_s, u"a1"_s);
        add(u"A"_s, u"a2"_s);
        answer({503});
        pass();
        EXPECT_THAT(sent(), ElementsAre(u"a1"_s)) << clock.now().toString(Qt::ISODateWithMs).toStdString();
        clock.move(1s - 1ms);
        pass();
        EXPECT_THAT(sent(), IsEmpty()) << clock.now().toString(Qt::ISODateWithMs).toStdString();
        clock.move(2ms);
        answer({0, 0});
        EXPECT_EQ(pass().delivered, 2);
        EXPECT_THAT(sent(), ElementsAre(u"a1"_s, u"a2"_s));
    }
}

TEST_F(PausingDelivery, AsksARefusingServiceSeldomAndOnRequestAroundTheBeginningOfTime)
{
    for (const std::chrono::milliseconds time : beginningOfTime) {
        clock.moveTo(utils::utcFromMilliseconds(time.count()));
        add({}, u"1"_s);
        add({}, u"2"_s);
        answer({401});
        pass();
        pass();
        EXPECT_THAT(sent(), ElementsAre(u"1"_s)) << clock.now().toString(Qt::ISODateWithMs).toStdString();
        answer({0, 0});
        EXPECT_EQ(QueueDelivery(queue, options).run().delivered, 2);
        EXPECT_EQ(sent().size(), 2);
    }
}

TEST_F(PausingDelivery, SendsEverythingWhenSomebodyAsksWhateverThePauses)
{
    add(u"A"_s, u"a1"_s);
    answer({503, 503, 0});
    pass();
    QueueDelivery(queue, options).run();
    EXPECT_EQ(QueueDelivery(queue, options).run().delivered, 1);
}

TEST_F(PausingDelivery, TriesNothingTwiceInOneRunHoweverSlowTheServiceIs)
{
    for (const char* path : {"1", "2", "3"})
        add({}, QString::fromLatin1(path));
    answer({2, 2, 2});
    options.attempted = [this](const QueuedMessage&, const QueueAttempt&) { clock.move(10min); };
    pass();
    EXPECT_THAT(sent(), ElementsAre(u"1"_s, u"2"_s, u"3"_s));
}

TEST_F(PausingDelivery, IsNeitherStalledNorDrivenRoundByAClockThatJumpsBack)
{
    add({}, u"1"_s);
    add({}, u"2"_s);
    answer({503, 503});
    options.attempted = [this](const QueuedMessage&, const QueueAttempt&) { clock.move(-24h); };
    pass();
    EXPECT_THAT(sent(), ElementsAre(u"1"_s, u"2"_s));
    options.attempted = {};
    answer({0, 0});
    EXPECT_EQ(pass().delivered, 2);
}

TEST_F(PausingDelivery, HoldsUpEverythingWhenTheCredentialsAreRefusedAndSaysSoOnce)
{
    const qint64 first = add(u"A"_s, u"a1"_s);
    const qint64 other = add(u"B"_s, u"b1"_s);
    const QDateTime since = clock.now();
    for (const auto pause : {1s, 2s, 4s, 8s}) {
        answer({401});
        pass();
        EXPECT_EQ(sent().size(), 1) << "one to probe with";
        clock.move(pause - 1ms);
        pass();
        EXPECT_THAT(sent(), IsEmpty());
        clock.move(1ms);
    }
    EXPECT_EQ(queue.find(first)->attempts, 2) << "and not always the same one";
    EXPECT_EQ(queue.find(other)->attempts, 2);
    EXPECT_EQ(queue.find(first)->state, State::Waiting);
    EXPECT_EQ(queue.health().credentialsSuspended, since);
    EXPECT_EQ(queue.health().lastError, u"HTTP 401"_s);
    EXPECT_THAT(networkLog.lines(), ElementsAre(refusedLine));
}

TEST_F(PausingDelivery, GoesOnWithEverythingOnceAProbeIsTaken)
{
    add(u"A"_s, u"a1"_s);
    add(u"B"_s, u"b1"_s);
    answer({401});
    pass();
    clock.move(1s);
    answer({0, 0});
    EXPECT_EQ(pass().delivered, 2);
    EXPECT_FALSE(queue.health().credentialsSuspended.isValid());
    EXPECT_THAT(networkLog.lines(), ElementsAre(refusedLine, takenLine));
}

TEST_F(PausingDelivery, GoesOnWithTheOthersWhenAProbeIsRefusedForAnotherReason)
{
    add(u"A"_s, u"a1"_s);
    add(u"B"_s, u"b1"_s);
    answer({401});
    pass();
    clock.move(1s);
    answer({400, 0});
    const auto summary = pass();
    EXPECT_EQ(summary.delivered, 1);
    EXPECT_EQ(summary.parked, 1);
    EXPECT_FALSE(queue.suspension());
}

TEST_F(PausingDelivery, GoesOnWithTheOthersWhenAProbeIsAnsweredByAServiceThatFails)
{
    add(u"A"_s, u"a1"_s);
    add(u"B"_s, u"b1"_s);
    answer({401});
    pass();
    clock.move(1s);
    answer({503, 0});
    EXPECT_EQ(pass().delivered, 1);
    EXPECT_FALSE(queue.suspension()) << "it took the credentials";
    EXPECT_THAT(networkLog.lines(), ElementsAre(refusedLine, takenLine));
}

TEST_F(PausingDelivery, GoesOnProbingOneByOneWhenAProbeIsNotAnsweredAtAll)
{
    add(u"A"_s, u"a1"_s);
    add(u"B"_s, u"b1"_s);
    answer({401});
    pass();
    clock.move(1s);
    answer({1});
    pass();
    EXPECT_THAT(sent(), ElementsAre(u"a1"_s, u"b1"_s));
    pass();
    EXPECT_THAT(sent(), IsEmpty());
    clock.move(2s);
    answer({401});
    pass();
    EXPECT_EQ(sent().size(), 1);
    EXPECT_THAT(networkLog.lines(), ElementsAre(refusedLine));
}

TEST_F(PausingDelivery, ProbesAtOnceWhenTheClockHasJumpedBackBehindTheRefusal)
{
    add({}, u"x"_s);
    answer({401});
    pass();
    clock.move(-1h);
    answer({0});
    EXPECT_EQ(pass().delivered, 1);
}

TEST_F(PausingDelivery, LeavesTheServiceAloneAsLongAsItAsks)
{
    QueueDelivery delivery(queue, options);
    for (const int code : {429, 503}) {
        for (const char* path : {"1", "2", "3"})
            add({}, QString::fromLatin1(path));
        service.answer("{}", code, 30s);
        passOf(delivery);
        EXPECT_THAT(sent(), ElementsAre(u"1"_s)) << code;
        clock.move(30s - 1ms);
        add({}, u"4"_s);
        passOf(delivery);
        EXPECT_THAT(sent(), IsEmpty()) << code;
        clock.move(1ms);
        answer({0, 0, 0, 0});
        EXPECT_EQ(passOf(delivery).delivered, 4) << code;
        sent();
    }
    EXPECT_THAT(networkLog.lines(),
                testing::Contains(u"info: Queue: the service asks to be left alone for 30 s"_s));
}

TEST_F(PausingDelivery, LeavesTheServiceAloneForNoLongerThanThePausesMayGrow)
{
    QueueDelivery delivery(queue, options);
    const qint64 id = add({}, u"1"_s);
    add({}, u"2"_s);
    service.answer("{}", 503, std::chrono::seconds::max() / 1000);
    passOf(delivery);
    EXPECT_EQ(queue.find(id)->due, clock.now() + 5min);
    clock.move(5min - 1ms);
    passOf(delivery);
    EXPECT_THAT(sent(), ElementsAre(u"1"_s));
    clock.move(1ms);
    answer({0, 0});
    EXPECT_EQ(passOf(delivery).delivered, 2);
}

TEST_F(PausingDelivery, LeavesTheServiceAloneNoLongerThanItAsksThoughAMessageWaitsLonger)
{
    QueueDelivery delivery(queue, options);
    const qint64 id = add({}, u"1"_s);
    for (const auto pause : {1s, 2s, 4s, 8s}) {
        answer({503});
        passOf(delivery);
        clock.move(pause);
    }
    service.answer("{}", 503, 3s);
    passOf(delivery);
    add({}, u"2"_s);
    sent();
    answer({0});
    clock.move(3s - 1ms);
    passOf(delivery);
    EXPECT_THAT(sent(), IsEmpty());
    clock.move(1ms);
    EXPECT_EQ(passOf(delivery).delivered, 1);
    EXPECT_EQ(queue.find(id)->due, clock.now() + 16s - 3s);
}

TEST_F(PausingDelivery, GoesOnAtOnceWhenSomebodyEndsThePauseThatTheServiceAskedFor)
{
    QueueDelivery delivery(queue, options);
    const qint64 id = add({}, u"1"_s);
    add({}, u"2"_s);
    service.answer("{}", 429, 60s);
    passOf(delivery);
    passOf(delivery);
    EXPECT_THAT(sent(), ElementsAre(u"1"_s));
    queue.retry(id);
    service.answer("{}", 503, 60s);
    passOf(delivery);
    passOf(delivery);
    EXPECT_THAT(sent(), ElementsAre(u"1"_s));
    queue.expedite();
    answer({0, 0});
    EXPECT_EQ(passOf(delivery).delivered, 2);
}

/// Four messages, to a service that has these wishes with its answers, one after the other.
class WishesOfTheService : public PausingDelivery
{
protected:
    void passWith(const QList<std::chrono::seconds>& wishes)
    {
        for (const char* path : {"1", "2", "3", "4"})
            add({}, QString::fromLatin1(path));
        held.over = [left = wishes](const QList<test_support::HeldService::Request>& underWay) mutable {
            auto first = test_support::HeldService::well(underWay.first());
            first.retryAfter = left.isEmpty() ? 0s : left.takeFirst();
            first.code = first.retryAfter > 0s ? 503 : 0;
            return QList{first};
        };
        passOf(sideBySide);
        EXPECT_THAT(held.begun(), ElementsAre(u"1"_s, u"2"_s, u"3"_s));
    }

    test_support::HeldService held;
    QueueDelivery sideBySide{queue, options};
};

TEST_F(WishesOfTheService, AreHeededByTheLongerWhenItComesFirst)
{
    passWith({0s, 60s, 5s});
    clock.move(59s);
    passOf(sideBySide);
    EXPECT_THAT(held.begun(), testing::SizeIs(3));
}

TEST_F(WishesOfTheService, AreHeededByTheLongerWhenItComesLast)
{
    passWith({0s, 5s, 60s});
    clock.move(60s - 1ms);
    passOf(sideBySide);
    EXPECT_THAT(held.begun(), testing::SizeIs(3));
    clock.move(1ms);
    passOf(sideBySide);
    EXPECT_THAT(held.begun(), testing::SizeIs(6));
}

TEST_F(PausingDelivery, GoesOnAtOnceWhenTheMessageIsDroppedForWhichTheServiceAskedToBeLeftAlone)
{
    QueueDelivery delivery(queue, options);
    const qint64 id = add({}, u"1"_s);
    add({}, u"2"_s);
    service.answer("{}", 429, 60s);
    passOf(delivery);
    passOf(delivery);
    EXPECT_THAT(sent(), ElementsAre(u"1"_s));
    queue.drop(id);
    answer({0});
    EXPECT_EQ(passOf(delivery).delivered, 1);
    EXPECT_THAT(sent(), ElementsAre(u"2"_s));
}

TEST_F(PausingDelivery, IsNotHeldUpByAWishOfTheServiceWhenTheClockHasJumpedBack)
{
    QueueDelivery delivery(queue, options);
    add({}, u"1"_s);
    add({}, u"2"_s);
    service.answer("{}", 503, 60s);
    passOf(delivery);
    clock.move(-1h);
    answer({0, 0});
    EXPECT_EQ(passOf(delivery).delivered, 2);
}

} // namespace

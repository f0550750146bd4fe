#include "host/queue/queuedform.h"
#include "host/queue/retrybackoff.h"
#include "tests/unit/queue/anyqueue.h"
#include "tests/unit/queue/heldservice.h"
#include "tests/unit/queue/scene.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using State = QueuedMessage::State;

/// What every outgoing queue promises, wherever it is kept.
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

TEST_P(AnyQueue, TellsTheJournalWhatHappenedToEachMessageOfAReceipt)
{
    const qint64 first = add(u"R-1"_s);
    const qint64 second = add(u"R-1"_s);
    fail(first);
    queue->retry(first);
    refuse(first, 0s);
    queue->delivered(first, {0, {}, 34, u"15 points taken back"_s});
    queue->park(second, {400, u"Карта 2000000000017 не найдена"_s, 56});
    queue->drop(second);
    const QString a = QString::number(first);
    const QString b = QString::number(second);
    EXPECT_EQ(told(u"R-1"_s), u"attempt|refuse-payment|"_s + a +
                                  u"|503|busy|12\n"
                                  u"retried|refuse-payment|"_s +
                                  a +
                                  u"|0||0\n"
                                  u"attempt|refuse-payment|"_s +
                                  a +
                                  u"|401|who?|3\n"
                                  u"delivered|refuse-payment|"_s +
                                  a +
                                  u"|0|15 points taken back|34\n"
                                  u"parked|refuse-payment|"_s +
                                  b +
                                  u"|400|Карта …0017 не найдена|56\n"
                                  u"dropped|refuse-payment|"_s +
                                  b + u"|0||0"_s);
}

TEST_P(AnyQueue, TellsTheJournalNothingOfAMessageOfNoReceipt)
{
    const qint64 id = add();
    fail(id);
    queue->delivered(id, {});
    EXPECT_EQ(home->sql(u"SELECT event, message FROM journal"_s), QString());
}

TEST_P(AnyQueue, KeepsWhatIsNotedTogether)
{
    const qint64 first = add();
    const qint64 second = add();
    queue->together([&] {
        queue->delivered(first, {});
        fail(second);
    });
    const auto again = home->open();
    EXPECT_EQ(again->find(first), std::nullopt);
    EXPECT_EQ(again->find(second)->attempts, 1);
}

TEST_P(AnyQueue, IsTheSameForWhoeverOpensItLater)
{
    const qint64 parked = add(u"A"_s);
    const qint64 paused = add(u"B"_s);
    add(u"A"_s);
    queue->park(parked, {404, u"no such card"_s, 0});
    fail(paused);
    const auto again = home->open();
    const auto before = queue->messages(10);
    const auto after = again->messages(10);
    ASSERT_EQ(after.size(), 3);
    for (qsizetype i = 0; i < after.size(); ++i) {
        EXPECT_EQ(after[i].id, before[i].id);
        EXPECT_EQ(after[i].state, before[i].state);
        EXPECT_EQ(after[i].attempts, before[i].attempts);
        EXPECT_EQ(after[i].lastError, before[i].lastError);
        EXPECT_EQ(after[i].due, before[i].due);
        EXPECT_EQ(after[i].message, before[i].message);
    }
    EXPECT_EQ(again->nextDue(clock.now(), clock.now()), std::nullopt);
    EXPECT_EQ(again->health().lastError, u"busy"_s);
}

TEST_P(AnyQueue, SaysThatItCannotBeUsedAndGoesOnWhenItCan)
{
    const qint64 id = add();
    home->goAway();
    EXPECT_THROW((void)next(), BasicException);
    EXPECT_THROW(queue->delivered(id, {}), BasicException);
    EXPECT_THROW(fail(id), BasicException);
    EXPECT_THROW(queue->park(id, {}), BasicException);
    EXPECT_THROW(refuse(id, 1s), BasicException);
    EXPECT_THROW(queue->drop(id), BasicException);
    EXPECT_THROW(queue->expedite(), BasicException);
    EXPECT_THROW((void)queue->waitingCount(), BasicException);
    EXPECT_THROW((void)queue->health(), BasicException);
    home->comeBack();
    EXPECT_EQ(next(), id);
    EXPECT_EQ(queue->find(id)->attempts, 0);
    EXPECT_TRUE(queue->delivered(id, {}));
    EXPECT_EQ(queue->waitingCount(), 0);
}

TEST_P(AnyQueue, IsDeliveredInTheOrderOfEachReceiptAndSeveralReceiptsAtOnce)
{
    HeldService service;
    for (const QString& path : {u"a1"_s, u"b1"_s, u"a2"_s, u"c1"_s, u"b2"_s, u"c2"_s, u"a3"_s})
        add(path.first(1), messageTo(u"http://service/"_s + path));
    service.over = [](const QList<HeldService::Request>& underWay) {
        return QList<HeldService::Finished>{HeldService::well(underWay.last())}; // the one begun last
    };
    EXPECT_EQ(QueueDelivery(*queue, {}).deliverDue().delivered, 7);
    for (const QString& group : {u"a"_s, u"b"_s, u"c"_s}) {
        QStringList ordered = service.begun().filter(group);
        ordered.sort();
        EXPECT_EQ(service.begun().filter(group), ordered);
    }
    EXPECT_THAT(service.sideBySide(), testing::Contains(3));
    EXPECT_EQ(queue->waitingCount(), 0);
}

TEST_P(AnyQueue, IsDeliveredButForADamagedMessageWhichIsParkedAndHoldsUpItsReceipt)
{
    const HeldService service;
    const qint64 damaged = add(u"A"_s);
    add(u"A"_s);
    add(u"B"_s);
    home->sql(u"UPDATE queued SET message = %1 WHERE id = %2"_s.arg(home->literal("\1\2")).arg(damaged));
    const auto summary = QueueDelivery(*queue, {}).deliverDue();
    EXPECT_EQ(summary.delivered, 1);
    EXPECT_EQ(summary.parked, 1);
    EXPECT_EQ(summary.waiting, 1);
    EXPECT_EQ(queue->find(damaged)->state, State::Parked);
}

TEST_P(AnyQueue, IsHeldUpByRefusedCredentialsUntilOneMessageIsTaken)
{
    HeldService service;
    for (const QString& path : {u"1"_s, u"2"_s, u"3"_s})
        add({}, messageTo(u"http://service/"_s + path));
    service.over = [](const QList<HeldService::Request>& underWay) {
        return QList<HeldService::Finished>{HeldService::failed(underWay.first(), 401)};
    };
    const auto half = [] { return 0.5; };
    QueueDelivery delivery(*queue, {.authorization = {}, .random = half, .attempted = {}});
    EXPECT_EQ(delivery.deliverDue().delivered, 0);
    EXPECT_EQ(delivery.deliverDue().delivered, 0);
    EXPECT_THAT(service.begun(), ElementsAre(u"1"_s)) << "nothing goes before it is tried again";
    clock.move(1s);
    EXPECT_EQ(delivery.deliverDue().delivered, 0);
    EXPECT_THAT(service.begun(), testing::SizeIs(2));
    service.over = [](const QList<HeldService::Request>& underWay) {
        return QList<HeldService::Finished>{HeldService::well(underWay.first())};
    };
    clock.move(2s);
    EXPECT_EQ(delivery.deliverDue().delivered, 3);
    EXPECT_FALSE(queue->suspension());
}

} // namespace test_support

#include "tests/unit/queue/anyqueue.h"
#include "tests/unit/queue/heldservice.h"
#include "tests/unit/queue/scene.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using testing::ElementsAre;
using State = QueuedMessage::State;

/// What every outgoing queue promises from the journal to the delivery.
namespace test_support {

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

#include "host/queue/messagequeue.h"
#include "host/queue/queuedelivery.h"
#include "host/queue/queuedgroup.h"
#include "host/queue/queuesending.h"
#include "host/queue/queuewakeup.h"
#include "host/storage/storedform.h"
#include "tests/unit/storage/scene.h"

#include <QElapsedTimer>

#include <gmock/gmock.h>

#include <thread>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Queue : public test_support::Storage
{
protected:
    QVariantList history(qint64 id)
    {
        return raw
            .run(u"SELECT outcome, answer, attempts, error, message IS NULL, receipt FROM history "
                 "WHERE id = ?"_s,
                 {id})
            .value(0);
    }
    qint64 add(const QString& group = {}) { return queue.enqueue(u"q"_s, group, {{u"n"_s, 1}}, {}); }
    static QDateTime now() { return QDateTime::currentDateTimeUtc(); }
    [[nodiscard]] QList<qint64> ids() const
    {
        QList<qint64> result;
        for (const QueuedMessage& message : queue.messages(1000))
            result.append(message.id);
        return result;
    }

    MessageQueue queue;
    const test_support::RawDatabase raw{path(u"till.sqlite"_s)};
};

TEST_F(Queue, WakesTheDeliveryOnceThereIsSomethingForIt)
{
    namespace wakeup = network::queuewakeup;
    const auto before = wakeup::count();
    {
        const storage::Transaction undone;
        add();
    }
    {
        storage::Transaction transaction;
        add();
        EXPECT_EQ(wakeup::count(), before) << "nobody else sees the message yet";
        transaction.commit();
    }
    EXPECT_EQ(wakeup::count(), before + 1);
    add();
    EXPECT_EQ(wakeup::count(), before + 2);
}

TEST_F(Queue, WakesNobodyForWhatItCouldNotDo)
{
    const qint64 id = add();
    queue.park(id, {});
    ASSERT_TRUE(QFile::rename(path(u"till.sqlite"_s), path(u"aside"_s)));
    const auto before = network::queuewakeup::count();
    EXPECT_NE(failure([&] { queue.retry(id); }), QString());
    EXPECT_NE(failure([&] { queue.drop(id); }), QString());
    EXPECT_NE(failure([&] { queue.expedite(); }), QString());
    EXPECT_NE(failure([&] { add(); }), QString());
    EXPECT_EQ(network::queuewakeup::count(), before);
}

TEST_F(Queue, BringsAMessageBackAsItCame)
{
    const QVariantMap message{{u"method"_s, u"POST"_s},
                              {u"headers"_s, QVariantMap{{u"Authorization"_s, u"Basic x"_s}}},
                              {u"body"_s, QByteArray("{\"сумма\":\0 1}", 17)},
                              {u"timeout"_s, 10},
                              {u"url"_s, u"http://service/v2/x"_s}};
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    const qint64 id = queue.enqueue(u"kyrloyalty"_s, u"R-1"_s, message, u"earning of R-1"_s);
    const QList<QueuedMessage> found = MessageQueue().messages(10);
    ASSERT_EQ(found.size(), 1);
    const QueuedMessage& back = found.first();
    EXPECT_EQ(back.id, id);
    EXPECT_EQ(back.queue, u"kyrloyalty"_s);
    EXPECT_EQ(back.group, u"R-1"_s);
    EXPECT_EQ(back.text, u"earning of R-1"_s);
    EXPECT_EQ(back.attempts, 0);
    EXPECT_EQ(back.lastError, QString());
    EXPECT_EQ(back.state, QueuedMessage::State::Waiting);
    EXPECT_EQ(back.enqueued.timeSpec(), Qt::UTC);
    EXPECT_GE(back.enqueued.toMSecsSinceEpoch(), before);
    EXPECT_LE(back.enqueued.toMSecsSinceEpoch(), QDateTime::currentMSecsSinceEpoch());
    EXPECT_EQ(back.message, message);
    for (auto member = message.cbegin(); member != message.cend(); ++member)
        EXPECT_EQ(back.message.value(member.key()).typeId(), member->typeId()) << member.key().toStdString();
}

TEST_F(Queue, RefusesAMessageThatCannotBeStored)
{
    struct Foreign
    {
        int value = 0;
    };
    const QVariantMap unfit{{u"headers"_s, QVariantMap{{u"own"_s, QVariant::fromValue(Foreign{})}}}};
    EXPECT_EQ(failure([&] { queue.enqueue(u"q"_s, {}, unfit, {}); }), u"hostQueueMessageUnfit"_s);
    EXPECT_THAT(ids(), IsEmpty());
}

TEST_F(Queue, RefusesAMessageThatIsTooDeepAndSaysSo)
{
    QVariant deep = 1;
    for (int i = 0; i < storage::deepestStored; ++i)
        deep = QVariantList{deep};
    try {
        queue.enqueue(u"q"_s, {}, {{u"headers"_s, deep}}, {});
        FAIL();
    } catch (const BasicException& refusal) {
        EXPECT_EQ(refusal.tr().ru(), u"Сообщение не поставлено в очередь: такие данные нельзя сохранить "
                                     "(вложенность больше 512)"_s);
    }
    EXPECT_THAT(ids(), IsEmpty());
}

TEST_F(Queue, ShowsAStoredMessageThatGoesDownForEverAsDamaged)
{
    const qint64 id = add();
    const QByteArray content = QByteArray::fromHex("00000001"
                                                   "00000002"
                                                   "0061") +
                               QByteArray::fromHex("00000009"
                                                   "00"
                                                   "00000001")
                                   .repeated(200'000) +
                               QByteArray(5, '\0');
    raw.run(u"UPDATE queued SET message = ? WHERE id = ?"_s, {storage::sealed({0x4B59526D, 1}, content), id});
    EXPECT_TRUE(queue.find(id)->damaged);
    EXPECT_TRUE(queue.drop(id));
}

TEST_F(Queue, IsInTheOrderOfEnqueueingAndNeverGivesAnIdTwice)
{
    const qint64 first = add();
    const qint64 second = add();
    EXPECT_THAT(ids(), ElementsAre(first, second));
    queue.delivered(first, {});
    queue.delivered(second, {});
    EXPECT_GT(add(), second);
}

TEST_F(Queue, ListsNoMoreThanAskedFor)
{
    const qint64 first = add();
    add();
    const OutgoingQueue& any = queue;
    ASSERT_EQ(any.messages(1).size(), 1);
    EXPECT_EQ(any.messages(1).first().id, first) << "from the first on";
    EXPECT_EQ(queue.messages(1).first().id, first);
    EXPECT_THAT(queue.messages(0), IsEmpty());
}

TEST_F(Queue, IsWalkedFromOneMessageToTheNext)
{
    EXPECT_EQ(queue.after(0), std::nullopt);
    EXPECT_EQ(queue.lastId(), 0);
    const qint64 first = add();
    const qint64 second = add();
    EXPECT_EQ(queue.after(0)->id, first);
    EXPECT_EQ(queue.after(first)->id, second);
    EXPECT_EQ(queue.after(second), std::nullopt);
    EXPECT_EQ(queue.lastId(), second);
}

TEST_F(Queue, MovesADeliveredMessageIntoTheHistoryWithoutItsContent)
{
    const qint64 id = add(u"R-1"_s);
    queue.failed(id, {.error = u"no"_s}, now());
    EXPECT_TRUE(queue.delivered(id, {}));
    EXPECT_THAT(ids(), IsEmpty());
    EXPECT_THAT(history(id), ElementsAre(QVariant(u"delivered"_s), QVariant(0LL), QVariant(1LL),
                                         QVariant(u"no"_s), QVariant(1LL), QVariant(u"R-1"_s)));
}

TEST_F(Queue, KeepsAllOfADroppedMessageInTheHistory)
{
    const qint64 id = add(u"R-1"_s);
    queue.park(id, {.error = u"no such card"_s});
    EXPECT_TRUE(queue.drop(id));
    EXPECT_THAT(ids(), IsEmpty());
    const QVariantList row = history(id);
    ASSERT_EQ(row.size(), 6);
    EXPECT_EQ(row[0], u"dropped"_s);
    EXPECT_TRUE(row[1].isNull());
    EXPECT_EQ(row[3], u"no such card"_s);
    EXPECT_EQ(row[4], 0) << "the message is there";
}

TEST_F(Queue, KeepsNoCredentialsOfADroppedMessage)
{
    const QVariantMap headers{{u"authorization"_s, u"Basic c2VjcmV0"_s}, {u"Accept"_s, u"text/plain"_s}};
    const QVariantMap message{{u"headers"_s, headers}, {u"body"_s, QByteArray("{}")}, {u"timeout"_s, 10}};
    const qint64 id = queue.enqueue(u"q"_s, u"R-1"_s, message, {});
    EXPECT_TRUE(queue.drop(id));
    // Back into the queue, to read it there.
    raw.run(u"INSERT INTO queued (queue, receipt, enqueued, message, text) "
            "SELECT queue, receipt, enqueued, message, text FROM history"_s);
    ASSERT_EQ(queue.messages(10).size(), 1);
    const QVariantMap kept = queue.messages(10).first().message;
    EXPECT_EQ(kept, (QVariantMap{{u"headers"_s, QVariantMap{{u"Accept"_s, u"text/plain"_s}}},
                                 {u"body"_s, QByteArray("{}")},
                                 {u"timeout"_s, 10}}));
}

TEST_F(Queue, KeepsADamagedMessageThatIsDroppedAsItLies)
{
    const qint64 id = add();
    raw.run(u"UPDATE queued SET message = x'0102'"_s);
    EXPECT_TRUE(queue.drop(id));
    const auto rows = raw.run(u"SELECT message FROM history WHERE id = ?"_s, {id});
    EXPECT_EQ(rows.value(0).value(0).toByteArray(), "\1\2");
}

TEST_F(Queue, NotesAFailureAndLetsTheMessageWait)
{
    const qint64 id = add();
    EXPECT_TRUE(queue.failed(id, {.error = u"first"_s}, now()));
    EXPECT_TRUE(queue.failed(id, {.error = u"second"_s}, now()));
    const QueuedMessage message = queue.messages(1).first();
    EXPECT_EQ(message.attempts, 2);
    EXPECT_EQ(message.lastError, u"second"_s);
    EXPECT_EQ(message.state, QueuedMessage::State::Waiting);
}

TEST_F(Queue, ParksAMessageAndLetsItWaitAgainInItsOldPlace)
{
    const qint64 first = add();
    const qint64 second = add();
    EXPECT_TRUE(queue.park(first, {.error = u"no"_s}));
    EXPECT_EQ(queue.after(0)->state, QueuedMessage::State::Parked);
    EXPECT_EQ(queue.after(0)->lastError, u"no"_s);
    EXPECT_EQ(queue.after(0)->attempts, 1);
    EXPECT_TRUE(queue.retry(first));
    EXPECT_FALSE(queue.retry(first)) << "it waits already";
    EXPECT_EQ(queue.after(0)->state, QueuedMessage::State::Waiting);
    EXPECT_THAT(ids(), ElementsAre(first, second));
}

TEST_F(Queue, DoesNothingToAMessageThatItDoesNotHold)
{
    const qint64 id = add();
    queue.delivered(id, {});
    EXPECT_FALSE(queue.delivered(id, {}));
    EXPECT_FALSE(queue.failed(id, {.error = u"x"_s}, now()));
    EXPECT_FALSE(queue.park(id, {.error = u"x"_s}));
    EXPECT_FALSE(queue.retry(id));
    EXPECT_FALSE(queue.drop(id));
    EXPECT_EQ(queue.waitingCount(), 0);
    EXPECT_EQ(history(id).value(0), u"delivered"_s);
}

TEST_F(Queue, CountsThroughEveryChange)
{
    const auto counts = [this] { return std::pair(queue.waitingCount(), queue.parkedCount()); };
    EXPECT_EQ(counts(), std::pair(0, 0));
    const qint64 first = add();
    const qint64 second = add();
    const qint64 third = add();
    EXPECT_EQ(counts(), std::pair(3, 0));
    queue.park(first, {});
    queue.park(first, {});
    queue.park(second, {});
    EXPECT_EQ(counts(), std::pair(1, 2));
    queue.retry(first);
    EXPECT_EQ(counts(), std::pair(2, 1));
    queue.failed(third, {}, now());
    queue.drop(second);
    EXPECT_EQ(counts(), std::pair(2, 0));
    queue.delivered(third, {});
    EXPECT_EQ(counts(), std::pair(1, 0));
    EXPECT_EQ(MessageQueue().waitingCount(), 1) << "also for whoever opens it later";
}

TEST_F(Queue, CountsManyMessagesAsQuicklyAsOne)
{
    const auto fastest = [this] {
        qint64 best = std::numeric_limits<qint64>::max();
        for (int i = 0; i < 50; ++i) {
            QElapsedTimer clock;
            clock.start();
            static_cast<void>(queue.waitingCount());
            best = std::min(best, clock.nsecsElapsed());
        }
        return best;
    };
    add();
    const qint64 one = fastest();
    constexpr int many = 200000;
    raw.run(u"INSERT INTO queued (queue, receipt, enqueued, message, text) "
            "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
            "SELECT 'q', '', 0, zeroblob(200), '' FROM n"_s.arg(many));
    EXPECT_EQ(queue.waitingCount(), many + 1);
    EXPECT_LT(fastest(), 20 * one) << "counting row by row would take hundreds of times as long";
}

TEST_F(Queue, GoesOnWhileSomebodyReadsAndTheReaderKeepsItsView)
{
    add();
    raw.run(u"BEGIN"_s);
    const auto seen = [&] { return raw.run(u"SELECT count(*) FROM queued"_s).value(0).value(0).toInt(); };
    EXPECT_EQ(seen(), 1);
    add();
    EXPECT_EQ(seen(), 1);
    raw.run(u"COMMIT"_s);
    EXPECT_EQ(seen(), 2);
}

TEST_F(Queue, GivesWhatWaitsOrIsParkedOfAReceiptInOrder)
{
    const auto idsOf = [](const QString& group) {
        QList<qint64> result;
        for (const QueuedMessage& message : network::queuedOf(group))
            result.append(message.id);
        return result;
    };
    add(u"R-2"_s);
    add();
    const qint64 first = add(u"R-1"_s);
    const qint64 second = add(u"R-1"_s);
    queue.park(first, {});
    EXPECT_THAT(idsOf(u"R-1"_s), ElementsAre(first, second));
    EXPECT_THAT(idsOf(u"R-3"_s), IsEmpty());
    EXPECT_THAT(idsOf(u""_s), IsEmpty()) << "what belongs to no receipt belongs to nothing";
}

TEST_F(Queue, IsEmptyToWhoeverHasNotAskedYet)
{
    EXPECT_EQ(QueueHealth().waiting, 0);
    EXPECT_EQ(QueueHealth().parked, 0);
    EXPECT_EQ(CredentialsSuspension().probes, 0);
    EXPECT_EQ(QueuedMessage().id, 0);
    EXPECT_FALSE(network::SendingOutcome().hopeless);
    EXPECT_EQ(QueueDelivery::Summary().delivered, 0);
    EXPECT_EQ(QueueDelivery::Summary().waiting, 0);
    EXPECT_EQ(QueueDelivery::Summary().parked, 0);
}

TEST_F(Queue, TellsADamagedMessageFromAWholeOne)
{
    add();
    raw.run(u"UPDATE queued SET message = substr(message, 1, length(message) - 1)"_s);
    const QueuedMessage message = queue.messages(1).first();
    EXPECT_TRUE(message.damaged);
    EXPECT_TRUE(message.message.isEmpty());
}

TEST_F(Queue, TakesAMessageBehindWhichSomethingIsSealedForDamaged)
{
    const qint64 id = add();
    const QByteArray none(4, '\0'); // a map of no members
    const auto seal = [&](const QByteArray& content) {
        raw.run(u"UPDATE queued SET message = ?"_s, {storage::sealed({0x4B59526D, 1}, content)});
    };
    seal(none);
    EXPECT_FALSE(queue.find(id)->damaged);
    seal(none + 'x');
    EXPECT_TRUE(queue.find(id)->damaged);
}

TEST_F(Queue, OfALaterVersionIsRefused)
{
    raw.run(u"PRAGMA user_version=99"_s);
    QString told;
    std::thread([&] { told = failure([] { const MessageQueue later; }); }).join(); // a connection of its own
    EXPECT_EQ(told, u"hostStorageNewer"_s);
}

} // namespace

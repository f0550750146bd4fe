#include "host/queue/messagequeue.h"
#include "host/queue/queuedelivery.h"
#include "host/queue/queuedgroup.h"
#include "host/queue/queuesending.h"
#include "host/queue/queuewakeup.h"
#include "host/storage/storedform.h"
#include "host/storage/transaction.h"
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
    qint64 add(const QString& group = {}) { return queue.enqueue(u"q"_s, group, {{u"n"_s, 1}}, {}); }
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

TEST_F(Queue, FindsWhatIsDueAsQuicklyAmongManyAsAlone)
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const auto fastest = [&] {
        auto best = std::chrono::nanoseconds::max();
        for (int i = 0; i < 50; ++i) {
            const auto start = std::chrono::steady_clock::now();
            static_cast<void>(queue.nextDue(now, now));
            static_cast<void>(queue.health());
            best = std::min<std::chrono::nanoseconds>(best, std::chrono::steady_clock::now() - start);
        }
        return best;
    };
    add();
    const auto one = fastest();
    // Behind a refused one, parked, pausing, and waiting for one that pauses.
    raw.run(u"INSERT INTO queued (queue, receipt, enqueued, message, text, parked, due) "
            "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 60000) "
            "SELECT 'q', CASE i % 3 WHEN 0 THEN 'R' ELSE '' END, 1, zeroblob(200), '', i % 3 = 1, "
            "%1 FROM n"_s.arg(now.addSecs(240).toMSecsSinceEpoch()));
    EXPECT_EQ(queue.health().parked, 20000);
    EXPECT_LT(fastest(), 20 * one) << "going through them would take hundreds of times as long";
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

TEST_F(Queue, TakesAMessageForDamagedThatIsCutShortOrHasMoreBehindItThoughItIsSealedSo)
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
    seal(none.first(3));
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

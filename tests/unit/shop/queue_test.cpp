#include "tests/unit/shop/scene.h"

#include "host/queue/queuedelivery.h"
#include "host/queue/retrybackoff.h"

#include <QThread>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace test_support {

namespace {

/// The queue of the shop, with what these receipts' messages say, in that order.
class ShopQueueTest : public Shop
{
protected:
    void put(const QStringList& receipts)
    {
        for (const QString& receipt : receipts)
            enqueue(receipt, receipt.toUtf8() + QByteArray::number(++m_number));
        moveOn();
    }
    static std::optional<QueuedMessage> next(OutgoingQueue& queue, const QList<QueuedMessage>& underWay = {})
    {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        return queue.nextDue(now, now, underWay);
    }
    static QByteArray bodyOf(const std::optional<QueuedMessage>& message)
    {
        return message ? message->message.value(u"body"_s).toByteArray() : QByteArray("none");
    }

    shop::ShopQueue one{server.address()};
    shop::ShopQueue other{server.address()};

private:
    int m_number = 0;
};

} // namespace

TEST_F(ShopQueueTest, GivesEachMessageToOneDeliveryAlone)
{
    put({u"A"_s, u"B"_s});
    EXPECT_EQ(bodyOf(next(one)), "A1");
    EXPECT_EQ(bodyOf(next(other)), "B2");
    EXPECT_EQ(bodyOf(next(other, {*other.find(2)})), "none");
}

TEST_F(ShopQueueTest, KeepsTheOrderWithinAReceiptWhoeverDelivers)
{
    put({u"A"_s, u"A"_s, u"A"_s});
    const auto first = next(one);
    EXPECT_EQ(bodyOf(first), "A1");
    EXPECT_EQ(bodyOf(next(other)), "none");
    EXPECT_TRUE(one.delivered(first->id, {}));
    const auto second = next(other);
    EXPECT_EQ(bodyOf(second), "A2");
    EXPECT_TRUE(other.failed(second->id, {.code = 500, .error = u"busy"_s},
                             QDateTime::currentDateTimeUtc().addSecs(60)));
    EXPECT_EQ(bodyOf(next(one)), "none") << "the third waits behind the second";
}

TEST_F(ShopQueueTest, GivesMessagesWithoutAReceiptToWhoeverComes)
{
    put({QString(), QString()});
    EXPECT_EQ(bodyOf(next(one)), "1");
    EXPECT_EQ(bodyOf(next(other)), "2");
}

TEST_F(ShopQueueTest, TakesOverAtOnceWhatADeliveryThatDiedHadInHand)
{
    put({u"A"_s, u"A"_s});
    auto dying = std::make_unique<shop::ShopQueue>(server.address());
    EXPECT_EQ(bodyOf(next(*dying)), "A1");
    EXPECT_EQ(bodyOf(next(other)), "none");
    dying.reset();
    std::optional<QueuedMessage> taken;
    for (int i = 0; i < 100 && !taken; ++i) { // the server notices in its own time
        taken = next(other);
        QThread::msleep(10);
    }
    EXPECT_EQ(bodyOf(taken), "A1");
}

TEST_F(ShopQueueTest, LetsGoOfWhatIsNotUnderWayAnyMore)
{
    put({u"A"_s});
    EXPECT_EQ(bodyOf(next(one)), "A1");
    EXPECT_EQ(bodyOf(next(one, {})), "A1") << "the former is given up first";
    EXPECT_EQ(bodyOf(next(other)), "none");
}

TEST_F(ShopQueueTest, KeepsWhatBecameOfEachMessage)
{
    put({u"A"_s, u"B"_s, u"C"_s});
    EXPECT_TRUE(one.delivered(1, {.error = {}, .milliseconds = 7, .account = u"earned"_s}));
    EXPECT_TRUE(one.park(2, {.code = 404, .error = u"no such card 2000000000017"_s}));
    EXPECT_TRUE(one.drop(3));
    EXPECT_FALSE(one.delivered(1, {})) << "it has left";
    EXPECT_EQ(server.sql(u"SELECT id, outcome, answer, message IS NULL FROM kyr.history ORDER BY id"_s),
              u"1|delivered|0|t\n3|dropped||f");
    EXPECT_EQ(
        server.sql(u"SELECT receipt, event, code, detail FROM kyr.journal WHERE till = '' ORDER BY id"_s),
        u"A|delivered|0|earned\nB|parked|404|no such card …0017\nC|dropped|0|");
    EXPECT_EQ(one.waitingCount(), 0);
    EXPECT_EQ(one.parkedCount(), 1);
    EXPECT_TRUE(one.retry(2));
    EXPECT_FALSE(one.retry(2));
    EXPECT_EQ(bodyOf(next(one)), "B2");
}

TEST_F(ShopQueueTest, KeepsWhatWasDroppedWithoutItsCredentials)
{
    MessageQueue().enqueue(u"kyrloyalty"_s, u"A"_s,
                           {{u"headers"_s, QVariantMap{{u"authorization"_s, u"Basic c2VjcmV0"_s}}},
                            {u"body"_s, QByteArray("kept")}},
                           u"text"_s);
    moveOn();
    EXPECT_TRUE(one.drop(1));
    const QByteArray kept =
        QByteArray::fromHex(server.sql(u"SELECT encode(message, 'hex') FROM kyr.history"_s).toLatin1());
    EXPECT_TRUE(kept.contains("kept"));
    EXPECT_FALSE(kept.contains(QByteArray::fromRawData("\0c\02\0V\0j", 8)));
}

TEST_F(ShopQueueTest, DoesNotChangeWhatADeliveryHasInHand)
{
    put({u"A"_s});
    const auto mine = next(one);
    server.sql(u"ALTER ROLE owner SET lock_timeout = '100ms'"_s);
    EXPECT_THROW(other.drop(mine->id), shop::DatabaseError);
    EXPECT_TRUE(one.delivered(mine->id, {}));
    EXPECT_FALSE(other.drop(mine->id));
}

TEST_F(ShopQueueTest, PausesAllDeliveriesTogetherAndLetsOneTryTheCredentialsAgain)
{
    put({u"A"_s, u"B"_s, u"C"_s});
    const auto mine = next(one);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    EXPECT_TRUE(one.refused(mine->id, {.code = 401, .error = u"no"_s}, now.addSecs(60), now.addSecs(-1)));
    ASSERT_TRUE(other.suspension());
    EXPECT_EQ(other.suspension()->probes, 1);
    EXPECT_EQ(bodyOf(next(other)), "B2") << "its time has come";
    EXPECT_EQ(bodyOf(next(one)), "none") << "one tries for all";
    EXPECT_TRUE(other.delivered(2, {}));
    EXPECT_FALSE(one.suspension());
    EXPECT_EQ(bodyOf(next(one)), "C3");
}

TEST_F(ShopQueueTest, EndsEveryPauseButOfWhatIsInHand)
{
    put({u"A"_s, u"B"_s});
    const QDateTime later = QDateTime::currentDateTimeUtc().addSecs(100);
    EXPECT_TRUE(one.failed(1, {.code = 500, .error = u"busy"_s}, later));
    EXPECT_TRUE(one.refused(2, {.code = 401, .error = u"no"_s}, later, later));
    one.expedite();
    EXPECT_EQ(server.sql(u"SELECT sum(due) FROM kyr.queued"_s), u"0");
    EXPECT_FALSE(one.suspension()->nextProbe.isValid());
}

TEST_F(ShopQueueTest, TakesATimeBeyondEachPauseForAMistakeOfTheClock)
{
    put({u"A"_s});
    EXPECT_TRUE(one.failed(1, {.code = 500, .error = u"busy"_s}, QDateTime::currentDateTimeUtc().addDays(1)));
    EXPECT_EQ(bodyOf(next(one)), "A1");
}

TEST_F(ShopQueueTest, TellsItsHealthOfAllTillsOrOfOne)
{
    put({u"A"_s});
    workAt(u"second"_s);
    enqueue(u"B"_s);
    enqueue(u"C"_s);
    moveOn(u"2"_s);
    EXPECT_TRUE(one.failed(2, {.code = 500, .error = u"busy"_s}, QDateTime::currentDateTimeUtc()));
    EXPECT_TRUE(one.delivered(3, {}));
    const QueueHealth all = one.health();
    EXPECT_EQ(all.waiting, 2);
    EXPECT_EQ(all.parked, 0);
    EXPECT_TRUE(all.oldestWaiting.isValid());
    EXPECT_TRUE(all.lastDelivered.isValid());
    EXPECT_EQ(all.lastError, u"busy");
    one.setTill(u"1"_s);
    EXPECT_EQ(one.waitingCount(), 1);
    EXPECT_EQ(one.messages(10).size(), 1);
    EXPECT_EQ(one.health().lastError, QString());
    EXPECT_FALSE(one.find(2));
}

TEST_F(ShopQueueTest, WakesWhoWaitsWhenSomethingMovesOn)
{
    one.wait(1h, {}); // listens
    put({u"A"_s});
    one.wait(1h, {});
    EXPECT_EQ(bodyOf(next(one)), "A1");
}

} // namespace test_support

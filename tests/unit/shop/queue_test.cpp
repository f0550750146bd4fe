#include "tests/unit/shop/scene.h"

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

TEST_F(ShopQueueTest, KnowsWhichTillPutAMessageIn)
{
    enqueue(u"A"_s);
    moveOn(u"7"_s);
    EXPECT_EQ(one.find(1)->till, u"7"_s);
    EXPECT_EQ(next(one)->till, u"7"_s);
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
    const QDateTime now = QDateTime::currentDateTimeUtc();
    EXPECT_TRUE(one.failed(1, {.code = 500, .error = u"busy"_s}, now.addSecs(100)));
    EXPECT_TRUE(one.failed(2, {.code = 500, .error = u"busy"_s}, now.addSecs(-1)));
    EXPECT_EQ(bodyOf(next(one)), "B2");
    other.expedite();
    EXPECT_EQ(server.sql(u"SELECT receipt FROM kyr.queued WHERE due = 0"_s), u"A");
}

TEST_F(ShopQueueTest, TellsItsHealthOfAllTillsOrOfOne)
{
    put({u"A"_s});
    workAt(u"second"_s);
    enqueue(u"B"_s);
    enqueue(u"C"_s);
    moveOn(u"2"_s);
    EXPECT_TRUE(one.delivered(3, {}));
    EXPECT_TRUE(one.failed(2, {.code = 500, .error = u"busy"_s}, QDateTime::currentDateTimeUtc()));
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
    one.setTill(u"2"_s);
    EXPECT_EQ(one.health().lastError, u"busy");
}

TEST_F(ShopQueueTest, WakesWhoWaitsWhenSomethingMovesOn)
{
    one.wait(1h, {}); // listens
    put({u"A"_s});
    one.wait(1h, {});
    EXPECT_EQ(bodyOf(next(one)), "A1");
}

} // namespace test_support

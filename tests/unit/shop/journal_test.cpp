#include "host/shop/shopjournal.h"
#include "tests/unit/shop/scene.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using network::ExchangeOutcome;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace test_support {

namespace {

const QDateTime noon(QDate(2026, 11, 21), QTime(12, 0), Qt::UTC);

/// A shop of two tills to whose receipts something happened.
class JournalOfAShop : public Shop
{
protected:
    /// At that till, so many minutes after noon.
    void happened(const QString& till, int minute, const QString& receipt, const QString& event = u"closed"_s)
    {
        workAt(till);
        storage::JournalEntry entry;
        entry.time = noon.addSecs(minute * 60);
        entry.receipt = receipt;
        entry.event = event;
        storage::Journal().add(entry);
        moveOn(till);
    }
    [[nodiscard]] QStringList events(const QString& receipt)
    {
        QStringList found;
        for (const auto& entry : all.of(receipt))
            found.append(entry.event);
        return found;
    }

    shop::ShopJournal all{database};
    shop::ShopJournal ofTwo{database, u"2"_s};
};

} // namespace

TEST_F(JournalOfAShop, TellsAllThatHappenedToAReceiptByItsTimeWhoeverDidIt)
{
    happened(u"2"_s, 5, u"R-1"_s, u"queued"_s);
    happened(u"1"_s, 1, u"R-1"_s, u"opened"_s);
    happened(u"1"_s, 2, u"R-1"_s, u"closed"_s);
    EXPECT_EQ(events(u"R-1"_s), QStringList({u"opened"_s, u"closed"_s, u"queued"_s}));
    EXPECT_EQ(all.of(u"R-1"_s).first().time, noon.addSecs(60));
    EXPECT_THAT(all.of(u"R-2"_s), IsEmpty());
}

TEST_F(JournalOfAShop, TellsWhatADeliveryDidAfterWhatATillDidAtThatMoment)
{
    enqueue(u"R-1"_s);
    moveOn();
    shop::ShopQueue queue(server.address());
    EXPECT_TRUE(queue.delivered(queue.lastId(), {.code = 0, .error = {}, .milliseconds = 7}));
    server.sql(u"UPDATE kyr.journal SET time = 5"_s);
    EXPECT_EQ(events(u"R-1"_s), QStringList({u"queued"_s, u"delivered"_s}));
    EXPECT_EQ(all.of(u"R-1"_s).last().milliseconds, 7);
    EXPECT_EQ(all.of(u"R-1"_s).last().operation, u"refuse-payment");
}

TEST_F(JournalOfAShop, ListsTheReceiptsToWhichSomethingHappenedLast)
{
    happened(u"1"_s, 1, u"R-1"_s);
    happened(u"2"_s, 2, u"R-2"_s);
    happened(u"1"_s, 3, u"R-3"_s);
    happened(u"1"_s, 4, u"R-1"_s);
    EXPECT_THAT(all.receipts(10), ElementsAre(u"R-1"_s, u"R-3"_s, u"R-2"_s));
    EXPECT_THAT(all.receipts(2), ElementsAre(u"R-1"_s, u"R-3"_s));
    EXPECT_THAT(ofTwo.receipts(10), ElementsAre(u"R-2"_s));
}

TEST_F(JournalOfAShop, ListsThemBehindMoreEntriesThanAreReadAtATime)
{
    happened(u"1"_s, 0, u"R-0"_s);
    server.sql(u"INSERT INTO kyr.journal SELECT month, till, n, time + n, 'R-1', event, '', 0, 0, '', 0 "
               "FROM kyr.journal, generate_series(1000, 3500) n"_s);
    EXPECT_THAT(all.receipts(10), ElementsAre(u"R-1"_s, u"R-0"_s));
}

TEST_F(JournalOfAShop, ListsTheReceiptsOfATimeWithItsBeginningAndWithoutItsEnd)
{
    for (int minute = 1; minute <= 4; ++minute)
        happened(minute == 3 ? u"2"_s : u"1"_s, minute, u"R-%1"_s.arg(minute));
    const auto between = [](const shop::ShopJournal& journal) {
        return journal.receiptsBetween(noon.addSecs(120), noon.addSecs(240));
    };
    EXPECT_THAT(between(all), ElementsAre(u"R-2"_s, u"R-3"_s));
    EXPECT_THAT(between(ofTwo), ElementsAre(u"R-3"_s));
}

TEST_F(JournalOfAShop, KnowsWhatATillHasDoneSomethingTo)
{
    happened(u"1"_s, 1, u"R-1"_s);
    EXPECT_TRUE(all.knows(u"R-1"_s));
    EXPECT_FALSE(all.knows(u"R-2"_s));
    EXPECT_FALSE(ofTwo.knows(u"R-1"_s));
}

TEST_F(JournalOfAShop, CountsTheAttemptsOfDeliveriesByTheTillThatPutTheMessageIn)
{
    for (const QString& till : {u"1"_s, u"2"_s, u"3"_s}) {
        workAt(till);
        enqueue(u"R-"_s + till);
        moveOn(till);
    }
    shop::ShopQueue queue(server.address());
    const auto messages = queue.messages(3);
    ASSERT_EQ(messages.size(), 3);
    EXPECT_TRUE(queue.delivered(messages[0].id, {}));
    EXPECT_TRUE(queue.failed(messages[1].id, {.code = 503, .error = u"busy"_s}, noon));
    EXPECT_TRUE(queue.park(messages[1].id, {.code = 409, .error = u"no"_s}));
    EXPECT_TRUE(queue.delivered(messages[2].id, {}));
    const QDateTime past = QDateTime::currentDateTimeUtc().addSecs(-3600);
    EXPECT_EQ(all.attemptsSince(past), (QMap<ExchangeOutcome, int>{{ExchangeOutcome::Accepted, 2},
                                                                   {ExchangeOutcome::Rejected, 1},
                                                                   {ExchangeOutcome::Failing, 1}}));
    EXPECT_EQ(ofTwo.attemptsSince(past),
              (QMap<ExchangeOutcome, int>{{ExchangeOutcome::Rejected, 1}, {ExchangeOutcome::Failing, 1}}));
    EXPECT_EQ((shop::ShopJournal(database, u"1"_s).attemptsSince(past)),
              (QMap<ExchangeOutcome, int>{{ExchangeOutcome::Accepted, 1}}));
    EXPECT_THAT(all.attemptsSince(past.addDays(1)), IsEmpty());
}

TEST_F(JournalOfAShop, CountsTheAttemptsThatATillMadeBeforeItHadAShop)
{
    workAt(u"2"_s);
    enqueue(u"R-2"_s);
    EXPECT_TRUE(MessageQueue().delivered(MessageQueue().lastId(), {}));
    moveOn(u"2"_s);
    const QDateTime past = QDateTime::currentDateTimeUtc().addSecs(-3600);
    EXPECT_EQ(ofTwo.attemptsSince(past), (QMap<ExchangeOutcome, int>{{ExchangeOutcome::Accepted, 1}}));
    EXPECT_THAT((shop::ShopJournal(database, u"1"_s).attemptsSince(past)), IsEmpty());
}

} // namespace test_support

#include "host/storage/documents.h"
#include "tests/support/httpserver.h"
#include "tests/support/logcapture.h"
#include "tests/support/stillclock.h"
#include "tests/unit/storage/scene.h"
#include "till/checkout/requestguard.h"

#include <gmock/gmock.h>

#include <future>

using namespace Qt::StringLiterals;
using test_support::HttpAnswer;
using testing::ElementsAre;
using testing::IsEmpty;

namespace tilltest {

class GuardedRequests : public test_support::Storage
{
protected:
    int send(const QString& operation, const HttpAnswer& answer = HttpAnswer::status(200, "{}"))
    {
        service.enqueue(answer);
        RestClient client;
        client.post(service.url(u"/v2/"_s + operation), "{}", {});
        return client.getErrorCode();
    }
    int look(const QString& path)
    {
        service.enqueue(HttpAnswer::status(200, "{}"));
        RestClient client;
        client.get(service.url(path), {}, {});
        return client.getErrorCode();
    }
    static QSharedPointer<Document> kept() { return SaveToFileLogic::loadOpenReceipt(); }
    static QStringList events()
    {
        QStringList events;
        for (const auto& entry : storage::Journal().of(u"R"_s))
            events.append(entry.event + u' ' + entry.operation);
        return events;
    }

    test_support::HttpServer service;
    till::ReceiptJournal journal;
    till::StoreStep step;
    QSharedPointer<Document> receipt = QSharedPointer<Document>::create(SaleReceipt, u"R"_s);
    till::RequestGuard guard{[this] { return receipt; }, journal, step};
};

TEST_F(GuardedRequests, LeaveOnlyAfterTheReceiptIsOnDisk)
{
    QSharedPointer<Document> then;
    const auto looking =
        RestClient::guard({.departing =
                               [&](const QString& /*method*/, const QUrl& /*url*/) {
                                   then = std::async(std::launch::async, [] { return kept(); }).get();
                               },
                           .answered = {},
                           .secondsAtMost = 0});
    step.run([this] { EXPECT_EQ(send(u"pre-payment"_s), 0); });
    ASSERT_TRUE(then) << "others see it, too: the store is free";
    EXPECT_EQ(then->getIdentifier(), u"R"_s);
    EXPECT_EQ(till::unknownSpendingOf(*then), std::nullopt) << "which is of spendings only";
}

TEST_F(GuardedRequests, AreGatheredIntoTheStepAgainOnceTheyAreAnswered)
{
    step.run([this] {
        EXPECT_EQ(send(u"pre-payment"_s), 0);
        EXPECT_THAT(std::async(std::launch::async, [] { return events(); }).get(),
                    ElementsAre(u"request pre-payment"_s));
    });
    EXPECT_THAT(events(), ElementsAre(u"request pre-payment"_s, u"answer pre-payment"_s));
}

TEST_F(GuardedRequests, AreToldInTheJournalWithWhatCameOfThem)
{
    HttpAnswer late = HttpAnswer::status(503, "{}");
    late.delay = std::chrono::milliseconds(20);
    EXPECT_EQ(send(u"payment-b2c"_s, late), 503);
    const auto entries = storage::Journal().of(u"R"_s);
    ASSERT_EQ(entries.size(), 2);
    EXPECT_EQ(entries[0].event, u"request"_s);
    EXPECT_EQ(entries[0].operation, u"payment-b2c"_s);
    EXPECT_EQ(entries[0].code, 0);
    EXPECT_EQ(entries[0].milliseconds, 0);
    EXPECT_EQ(entries[1].event, u"answer"_s);
    EXPECT_EQ(entries[1].operation, u"payment-b2c"_s);
    EXPECT_EQ(entries[1].code, 503);
    EXPECT_GE(entries[1].milliseconds, 20);
}

TEST_F(GuardedRequests, ThatOnlyReadLeaveNothingBehind)
{
    EXPECT_EQ(look(u"/v2/phone/79001234567"_s), 0);
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_EQ(kept(), nullptr);
}

TEST_F(GuardedRequests, WithoutAReceiptLeaveUnguarded)
{
    receipt = nullptr;
    guard.expectSpending(30, 50);
    EXPECT_EQ(send(u"pre-payment"_s), 0);
    EXPECT_EQ(send(u"force-payment-c2b"_s, HttpAnswer::status(400, "{}")), 400);
    EXPECT_FALSE(guard.nothingSpent()) << "of no receipt";
}

TEST_F(GuardedRequests, OfOthersLeaveUnguardedDuringAPauseAndNoLonger)
{
    {
        const till::RequestGuard::Pause outer(guard);
        {
            const till::RequestGuard::Pause inner(guard);
        }
        EXPECT_EQ(send(u"force-payment-c2b"_s), 0);
    }
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_EQ(till::unknownSpendingOf(*receipt), std::nullopt);
    EXPECT_EQ(send(u"pre-payment"_s), 0);
    EXPECT_THAT(events(), testing::SizeIs(2));
}

TEST_F(GuardedRequests, ThatSpendPointsLeaveOnlyAfterTheReceiptSaysThatTheirOutcomeIsUnknown)
{
    const test_support::StillClock clock;
    std::optional<till::UnknownSpending> then;
    const auto looking =
        RestClient::guard({.departing = [&](const QString& /*method*/,
                                            const QUrl& /*url*/) { then = till::unknownSpendingOf(*kept()); },
                           .answered = {},
                           .secondsAtMost = 0});
    guard.expectSpending(30, 50);
    EXPECT_EQ(send(u"force-payment-c2b"_s), 0);
    ASSERT_TRUE(then);
    EXPECT_EQ(then->points, 30);
    EXPECT_EQ(then->wanted, 50);
    EXPECT_EQ(then->since.toUTC(), clock.now());
    EXPECT_TRUE(till::unknownSpendingOf(*receipt)) << "what came of it is for others to judge";
}

TEST_F(GuardedRequests, ThatSpendPointsThoughNobodySaidSoRaiseADoubtOfNothing)
{
    EXPECT_FALSE(guard.nothingSpent());
    EXPECT_EQ(send(u"force-payment-c2b"_s), 0);
    const auto doubt = till::unknownSpendingOf(*receipt);
    ASSERT_TRUE(doubt);
    EXPECT_EQ(doubt->points, 0);
    EXPECT_EQ(doubt->wanted, 0);
}

TEST_F(GuardedRequests, ThatAskAgainLeaveTheFirstWordsOfTheDoubtStanding)
{
    const QDateTime since(QDate(2026, 3, 2), QTime(9, 0));
    till::setUnknownSpending(*receipt, till::UnknownSpending{.points = 30, .wanted = 50, .since = since});
    guard.expectSpending(30, 30);
    EXPECT_EQ(send(u"force-payment-c2b"_s, HttpAnswer::status(500, "{}")), 500);
    EXPECT_EQ(till::unknownSpendingOf(*receipt)->wanted, 50);
    EXPECT_EQ(till::unknownSpendingOf(*receipt)->since, since);
}

TEST_F(GuardedRequests, SayWhetherNothingWasSpent)
{
    guard.expectSpending(30, 30);
    EXPECT_EQ(send(u"force-payment-c2b"_s, HttpAnswer::status(403, "{}")), 403);
    EXPECT_TRUE(guard.nothingSpent());
    EXPECT_EQ(send(u"cancel-payment"_s), 0);
    EXPECT_TRUE(guard.nothingSpent()) << "another request says nothing of it";
    guard.expectSpending(30, 30); // of which the receipt has a mark by now
    EXPECT_FALSE(guard.nothingSpent()) << "until it is known of this one";
    EXPECT_EQ(send(u"force-payment-c2b"_s, HttpAnswer::status(403, "{}")), 403);
    EXPECT_FALSE(guard.nothingSpent());
    EXPECT_EQ(send(u"force-payment-c2b"_s, HttpAnswer::status(409, "{}")), 409);
    EXPECT_TRUE(guard.nothingSpent());
}

TEST_F(GuardedRequests, ThatCannotBeKeptDoNotLeaveAndRaiseNoNewDoubt)
{
    SaveToFileLogic().save(receipt, {});
    guard.expectSpending(30, 30);
    const QString store = path(u"till.sqlite"_s);
    ASSERT_TRUE(QFile::rename(store, store + u"_"_s));
    EXPECT_EQ(failure([this] { send(u"force-payment-c2b"_s); }), u"hostStorageGone"_s);
    EXPECT_THAT(service.requests(), IsEmpty());
    EXPECT_EQ(till::unknownSpendingOf(*receipt), std::nullopt) << "it did not leave";

    till::setUnknownSpending(*receipt, till::UnknownSpending{.points = 30, .wanted = 30, .since = {}});
    guard.expectSpending(30, 30);
    EXPECT_EQ(failure([this] { send(u"force-payment-c2b"_s); }), u"hostStorageGone"_s);
    EXPECT_TRUE(till::unknownSpendingOf(*receipt)) << "the old one stands";
}

TEST_F(GuardedRequests, AreSentThoughTheJournalCannotTellOfThem)
{
    const test_support::LogCapture log(u"till"_s);
    SaveToFileLogic().save(receipt, {});
    const test_support::RawDatabase raw(path(u"till.sqlite"_s));
    raw.run(u"DROP TABLE journal"_s);
    EXPECT_EQ(send(u"pre-payment"_s), 0);
    ASSERT_FALSE(log.lines().isEmpty());
    EXPECT_THAT(log.lines().first().toStdString(),
                testing::MatchesRegex("error: No entry \"request\" in the journal of R: .*no such table.*"));
}

} // namespace tilltest

#include "host/core/document.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/storage/journal.h"
#include "tests/journey/till/tillprocess.h"
#include "tests/support/httpserver.h"
#include "tests/support/rawdatabase.h"
#include "till/checkout/unknownspending.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;

namespace tilltest {

namespace {

const Steps begun = openSale("R-1", {tea(300, 2)}) + card;

/// A data directory in which a till played, and where more may be noted.
class TillReceipts : public testing::Test
{
protected:
    ~TillReceipts() override { storage::setDataDirectory({}); }

    void play(const Steps& steps) { EXPECT_EQ(runJson(steps, {u"--data-dir"_s, directory}).status, 0); }

    void note(const storage::JournalEntry& entry)
    {
        storage::setDataDirectory(directory);
        storage::Journal().add(entry);
        storage::setDataDirectory({});
    }

    [[nodiscard]] Ran receipts(const QStringList& arguments) const
    {
        return run(QStringList{u"receipts"_s} + arguments + QStringList{u"--data-dir"_s, directory});
    }

    [[nodiscard]] QJsonObject shown(const QString& identifier) const
    {
        return QJsonDocument::fromJson(receipts({u"show"_s, identifier, u"--json"_s}).out).object();
    }

    const Files files{};
    const QString directory = files.path(u"data"_s);
};

} // namespace

TEST_F(TillReceipts, ShowsAClosedSaleWithItsPointsAndItsCardMasked)
{
    play(begun + spend + pay());
    const QJsonObject receipt = shown(u"R-1"_s);
    EXPECT_EQ(receipt[u"state"_s].toString(), u"closed"_s);
    EXPECT_EQ(receipt[u"type"_s].toString(), u"sale"_s);
    EXPECT_EQ(receipt[u"sum"_s].toDouble(), 500);
    EXPECT_EQ(receipt[u"pointsDiscount"_s].toDouble(), 100);
    EXPECT_EQ(receipt[u"earned"_s].toDouble(), 25);
    EXPECT_EQ(receipt[u"card"_s].toString(), u"…0055"_s);
    EXPECT_EQ(receipt[u"positions"_s][0][u"sum"_s].toDouble(), 500);
    EXPECT_EQ(receipt[u"next"_s].toString(), u"nothing is left to do"_s);
    const Ran ran = receipts({u"show"_s, u"R-1"_s});
    EXPECT_THAT(ran.out.toStdString(), AllOf(HasSubstr("sale R-1, closed\ncard …0055\n"),
                                             HasSubstr("sum 500.00, paid with points 100.00, earned 25.00"),
                                             Not(HasSubstr("2000000000055"))));
}

TEST_F(TillReceipts, TellsWhatWasEarnedWhenTheServiceHeardOfItLater)
{
    const QStringList away{u"--server-url"_s, u"http://127.0.0.1:1/"_s};
    play(begun);
    EXPECT_EQ(runJson(pay(), QStringList{u"--data-dir"_s, directory} + away).status, 0);
    EXPECT_TRUE(shown(u"R-1"_s)[u"earnedLater"_s].isNull());
    EXPECT_THAT(receipts({u"show"_s, u"R-1"_s}).out.toStdString(), HasSubstr("earned - (in money)\n"));

    test_support::HttpServer service;
    service.enqueue(test_support::HttpAnswer::status(200, R"({"data":{"paymentBonus":30}})"));
    const QString url = service.url().toString();
    EXPECT_EQ(run({u"queue"_s, u"readdress"_s, u"--yes"_s, u"--from"_s, away.last(), u"--to"_s, url,
                   u"--data-dir"_s, directory})
                  .status,
              0);
    EXPECT_EQ(run({u"queue"_s, u"deliver"_s, u"--data-dir"_s, directory}).status, 0);
    EXPECT_EQ(shown(u"R-1"_s)[u"earnedLater"_s].toDouble(), 30);
    EXPECT_THAT(receipts({u"show"_s, u"R-1"_s}).out.toStdString(),
                AllOf(HasSubstr("sum 600.00, paid with points 0.00, earned 30.00 points, told later\n"),
                      ContainsRegex("delivered +payment-b2c .* earned 30.00 points\n")));
}

TEST_F(TillReceipts, ShowsAnOpenReceipt)
{
    play(begun);
    EXPECT_EQ(shown(u"R-1"_s)[u"state"_s].toString(), u"open"_s);
    EXPECT_EQ(shown(u"R-1"_s)[u"next"_s].toString(), u"the cashier goes on with it"_s);
}

TEST_F(TillReceipts, TellsTheTimelineInItsOrder)
{
    play(begun + pay());
    const qsizetype before = shown(u"R-1"_s)[u"timeline"_s].toArray().size();
    note({.time = {},
          .receipt = u"R-1"_s,
          .event = u"attempt"_s,
          .operation = u"payment-b2c"_s,
          .message = 7,
          .code = 503,
          .detail = u"busy with 2000000000055"_s,
          .milliseconds = 12});
    const QJsonArray timeline = shown(u"R-1"_s)[u"timeline"_s].toArray();
    ASSERT_EQ(timeline.size(), before + 1);
    EXPECT_EQ(timeline.last()[u"code"_s].toInt(), 503);
    EXPECT_THAT(receipts({u"show"_s, u"R-1"_s}).out.toStdString(),
                HasSubstr("attempt  payment-b2c  message 7 code 503 in 12 ms busy with …0055\n"));
}

TEST_F(TillReceipts, TellsThatASpendingsOutcomeIsUnknown)
{
    play(begun);
    storage::setDataDirectory(directory);
    const auto open = SaveToFileLogic::loadOpenReceipt();
    till::setUnknownSpending(
        *open, till::UnknownSpending{.points = 40, .wanted = 40, .since = QDateTime::currentDateTime()});
    SaveToFileLogic().save(open, {});
    storage::setDataDirectory({});
    EXPECT_THAT(shown(u"R-1"_s)[u"next"_s].toString().toStdString(),
                HasSubstr("outcome unknown: the answer to spending 40.00 points was lost at 20"));
}

TEST_F(TillReceipts, ListsTheLatestFirst)
{
    play(begun + pay());
    note({.time = {}, .receipt = u"R-1"_s, .event = u"closed"_s, .operation = {}, .detail = {}});
    note({.time = {}, .receipt = u"R-2"_s, .event = u"abandoned"_s, .operation = {}, .detail = {}});
    const QJsonArray list =
        QJsonDocument::fromJson(receipts({u"list"_s, u"--json"_s}).out)[u"receipts"_s].toArray();
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(list[0][u"receipt"_s].toString(), u"R-2"_s);
    EXPECT_EQ(list[0][u"state"_s].toString(), u"abandoned"_s);
    EXPECT_EQ(list[1][u"state"_s].toString(), u"closed"_s);
    EXPECT_EQ(
        QJsonDocument::fromJson(receipts({u"list"_s, u"--limit"_s, u"1"_s, u"--json"_s}).out)[u"receipts"_s]
            .toArray()
            .size(),
        1);
    EXPECT_THAT(receipts({u"list"_s}).out.toStdString(), HasSubstr("receipt  last "));
}

TEST_F(TillReceipts, AReceiptThatNobodyKnowsIsRefused)
{
    play(begun);
    const Ran ran = receipts({u"show"_s, u"R-9"_s});
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err.toStdString(), HasSubstr("no receipt 'R-9' here; see till receipts list"));
}

TEST_F(TillReceipts, ListsADamagedOneInALineAndTheOthersAsEver)
{
    play(begun + pay() + openSale("R-2", {tea(300, 2)}) + pay());
    test_support::flipABit(directory + u"/till.sqlite"_s, u"documents"_s, u"content"_s,
                           u"identifier = 'R-1'"_s);
    const Ran listed = receipts({u"list"_s, u"--json"_s});
    EXPECT_EQ(listed.status, 0) << listed.err.toStdString();
    const QJsonArray list = QJsonDocument::fromJson(listed.out)[u"receipts"_s].toArray();
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(list[0][u"state"_s].toString(), u"closed"_s);
    EXPECT_EQ(list[1][u"receipt"_s].toString(), u"R-1"_s);
    EXPECT_EQ(list[1][u"state"_s].toString(), u"damaged"_s);
    EXPECT_THAT(list[1][u"next"_s].toString().toStdString(), HasSubstr("bring it back from a backup"));
    const Ran one = receipts({u"show"_s, u"R-1"_s});
    EXPECT_EQ(one.status, 0) << one.err.toStdString();
    EXPECT_THAT(one.out.toStdString(), AllOf(HasSubstr("R-1, damaged\n"), HasSubstr("  closed")));
}

TEST_F(TillReceipts, ListsTheOthersWhenTheOpenReceiptIsDamaged)
{
    play(begun + pay());
    test_support::putOpenReceipt(directory, "no receipt");
    const QJsonArray list =
        QJsonDocument::fromJson(receipts({u"list"_s, u"--json"_s}).out)[u"receipts"_s].toArray();
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(list[0][u"receipt"_s].toString(), u"open-receipt"_s);
    EXPECT_EQ(list[0][u"state"_s].toString(), u"damaged"_s);
    EXPECT_EQ(list[1][u"state"_s].toString(), u"closed"_s);
}

} // namespace tilltest

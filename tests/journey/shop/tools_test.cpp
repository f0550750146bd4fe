#include "tests/journey/shop/shop.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

/// A shop in whose queue two tills have left something that nobody delivers.
class QueueOfAShop : public TillsOfAShop
{
protected:
    QueueOfAShop()
    {
        EXPECT_EQ(play(u"1"_s, openSale("R-1", {tea(10)}) + pay() + deliver()).status, 0);
        EXPECT_EQ(play(u"2"_s, openSale("R-2", {tea(10)}) + pay() + deliver()).status, 0);
    }
    [[nodiscard]] Ran queue(const QStringList& words) const
    {
        return run(QStringList{u"queue"_s} + words + QStringList{u"--shop"_s} + ofShop());
    }
    [[nodiscard]] QString id(const char* receipt) const
    {
        return database.sql(
            u"SELECT id FROM kyr.queued WHERE receipt = '%1'"_s.arg(QLatin1StringView(receipt)));
    }
};

class DoctorOfAShop : public TillsOfAShop
{
protected:
    /// What the doctor says of the shop at that till.
    [[nodiscard]] std::vector<std::string> findings(const QString& till) const
    {
        std::vector<std::string> found;
        const Ran ran = run(QStringList{u"doctor"_s, u"--json"_s} + of(till));
        for (const auto& finding : QJsonDocument::fromJson(ran.out)[u"findings"].toArray()) {
            if (finding[u"check"] == u"shop"_s)
                found.push_back(
                    (finding[u"state"].toString() + u": "_s + finding[u"text"].toString()).toStdString());
        }
        return found;
    }
};

} // namespace

TEST_F(QueueOfAShop, IsListedWithTheTillOfEachMessageOrForOneOfThem)
{
    const Ran all = queue({u"list"_s});
    EXPECT_EQ(all.status, 0) << all.err.toStdString();
    EXPECT_THAT(all.out.toStdString(), HasSubstr("1: R-1"));
    EXPECT_THAT(all.out.toStdString(), HasSubstr("2: R-2"));
    EXPECT_THAT(all.out.toStdString(), HasSubstr("2 waiting, 0 parked\n"));
    const Ran one = queue({u"list"_s, u"--json"_s, u"--till"_s, u"2"_s});
    const QJsonObject listing = QJsonDocument::fromJson(one.out).object();
    EXPECT_EQ(listing[u"waiting"].toInt(), 1);
    ASSERT_EQ(listing[u"messages"].toArray().size(), 1);
    EXPECT_EQ(listing[u"messages"][0][u"till"].toString(), u"2");
    EXPECT_EQ(listing[u"messages"][0][u"receipt"].toString(), u"R-2");
}

TEST_F(QueueOfAShop, ShowsAMessage)
{
    const Ran shown = queue({u"show"_s, id("R-1")});
    EXPECT_EQ(shown.status, 0) << shown.err.toStdString();
    EXPECT_THAT(shown.out.toStdString(), HasSubstr("till        1\nreceipt     R-1\n"));
    EXPECT_EQ(queue({u"show"_s, id("R-1"), u"--till"_s, u"2"_s}).status, 2) << "it is another till's";
}

TEST_F(QueueOfAShop, RetriesDropsAndDeliversWhatItIsTold)
{
    database.sql(u"UPDATE kyr.queued SET parked = true"_s);
    EXPECT_EQ(queue({u"retry"_s, u"--all"_s, u"--till"_s, u"1"_s}).status, 0);
    EXPECT_EQ(database.sql(u"SELECT receipt FROM kyr.queued WHERE parked"_s), u"R-2");
    EXPECT_EQ(queue({u"drop"_s, u"--yes"_s, id("R-2")}).status, 0);
    EXPECT_EQ(database.sql(u"SELECT outcome FROM kyr.history"_s), u"dropped");
    const Ran delivered = queue({u"deliver"_s});
    EXPECT_EQ(delivered.status, 0) << delivered.err.toStdString();
    EXPECT_THAT(delivered.out.toStdString(), HasSubstr("1 delivered, 0 waiting, 0 parked\n"));
    EXPECT_EQ(ledger(), QStringList{u"R-1 anonymous"_s});
}

/// An earlier message of the receipt may wait there still.
TEST_F(TillsOfAShop, WhatIsDeliveredAtATillNowMovesOnToTheDatabase)
{
    ASSERT_EQ(play(u"1"_s, openSale("R-1", {tea(10)}) + pay()).status, 0);
    database.freeze();
    ASSERT_EQ(play(u"1"_s, openSale("R-2", {tea(10)}) + pay()).status, 0);
    database.thaw();
    const Ran ran = run(QStringList{u"queue"_s, u"deliver"_s} + of(u"1"_s));
    EXPECT_EQ(ran.status, 0) << ran.err.toStdString();
    EXPECT_THAT(ran.out.toStdString(), HasSubstr(" moved on to the shop's database, 0 waiting, 0 parked\n"));
    EXPECT_EQ(ledger(), QStringList());
    EXPECT_EQ(database.sql(u"SELECT receipt FROM kyr.queued ORDER BY id"_s), u"R-1\nR-2");
    const Ran delivered = run(QStringList{u"queue"_s, u"deliver"_s, u"--shop"_s} + ofShop());
    EXPECT_EQ(delivered.status, 0);
    EXPECT_EQ(ledger().size(), 2);
}

TEST_F(TillsOfAShop, WhatCannotMoveOnIsSaidToWait)
{
    database.kill();
    ASSERT_EQ(play(u"1"_s, openSale("R-1", {tea(10)}) + pay()).status, 0);
    const Ran ran = run(QStringList{u"queue"_s, u"deliver"_s} + of(u"1"_s));
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("0 moved on to the shop's database, 1 waiting, 0 parked\n"
                                                 "first error: База магазина недоступна"));
}

TEST_F(QueueOfAShop, IsNotMeantWhereOnlyATillIsNamed)
{
    const Ran ran = run(QStringList{u"queue"_s, u"list"_s, u"--till"_s, u"1"_s} + ofShop());
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err.toStdString(), HasSubstr("say --shop too"));
}

TEST_F(DoctorOfAShop, LooksAtTheDatabase)
{
    ASSERT_EQ(play(u"1"_s, openSale("R-1", {tea(10)}) + pay()).status, 0);
    EXPECT_THAT(findings(u"1"_s), ElementsAre(HasSubstr("ok: till 1 of the shop in ")));
    database.sql(u"DROP SCHEMA kyr CASCADE"_s);
    EXPECT_THAT(findings(u"1"_s), ElementsAre(HasSubstr("till shop prepare")));
    database.kill();
    EXPECT_THAT(findings(u"1"_s), ElementsAre(HasSubstr("problem: База магазина недоступна")));
}

TEST_F(DoctorOfAShop, NamesAReceiptWhoseNumberAnotherTillHasUsed)
{
    for (const QString& till : {u"1"_s, u"2"_s})
        ASSERT_EQ(play(till, openSale("R-1", {tea(10)}) + pay()).status, 0);
    ASSERT_EQ(play(u"1"_s, deliver()).status, 0);
    const Ran moved = play(u"2"_s, deliver());
    const auto alarms = linesOf(moved).last()[u"summary"][u"alarms"].toArray();
    ASSERT_EQ(alarms.size(), 1) << moved.out.toStdString();
    EXPECT_THAT(alarms[0].toString().toStdString(), HasSubstr("заняты другой кассой: 1, первый R-1"));
    EXPECT_THAT(findings(u"1"_s), ElementsAre(HasSubstr("ok: ")));
    EXPECT_THAT(findings(u"2"_s),
                ElementsAre(HasSubstr("ok: "),
                            HasSubstr("problem: 1 closed here stay here: the shop's database has another "
                                      "receipt of the same identifier: R-1 of till 1")));
    EXPECT_EQ(play(u"2"_s, openReturn("V-1", "R-1", {position(1)}) + pay()).status, 0)
        << "at its till it is given back as ever";
    database.sql(u"DELETE FROM kyr.documents"_s);
    EXPECT_EQ(play(u"2"_s, deliver()).status, 0);
    EXPECT_THAT(findings(u"2"_s), ElementsAre(HasSubstr("ok: ")));
    EXPECT_EQ(database.sql(u"SELECT identifier, till FROM kyr.documents ORDER BY 1"_s), u"R-1|2\nV-1|2");
}

/// The delivery service says it to whoever looks at it.
TEST_F(DoctorOfAShop, IsNotTheOnlyOneWhoTellsIt)
{
    ASSERT_EQ(play(u"1"_s, openSale("R-1", {tea(10)}) + pay() + deliver()).status, 0);
    ASSERT_EQ(play(u"2"_s, openSale("R-1", {tea(10)}) + pay()).status, 0);
    QProcess service;
    service.setProcessChannelMode(QProcess::MergedChannels);
    start(service, QStringList{u"deliver"_s} + of(u"2"_s));
    QByteArray said;
    while (!said.contains("Receipt") && service.waitForReadyRead(patienceMs))
        said += service.readAllStandardOutput();
    EXPECT_THAT(said.toStdString(),
                HasSubstr("Receipt R-1 stays at this till: База магазина отказала: it has "
                          "another receipt R-1, of till 1"));
    service.kill();
    service.waitForFinished(patienceMs);
}

} // namespace tilltest

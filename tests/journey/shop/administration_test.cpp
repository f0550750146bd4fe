#include "host/shop/familylock.h"
#include "tests/journey/shop/shop.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QThread>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace tilltest {

namespace {

const QString customersCard = u"2000000000055"_s;
const Steps bought = openSale("R-1", {tea(300, 2)}) + card + pay() + deliver();

/// A shop at whose till 1 a customer has bought something, and at whose till 2 one piece of it came back and
/// another customer bought.
class BooksOfAShop : public TillsOfAShop
{
protected:
    BooksOfAShop()
    {
        setApart(std::chrono::minutes(10));
        EXPECT_EQ(play(u"1"_s, bought).status, 0);
        EXPECT_EQ(play(u"2"_s, openReturn("V-1", "R-1", {position(1)}) + pay() + openSale("R-2", {tea(10)}) +
                                   pay() + deliver())
                      .status,
                  0);
        startDelivery();
        waitUntilDelivered();
        // The tills' clocks were ahead: all of it was on the day of the service's books.
        const QDateTime noon(day, QTime(12, 0));
        database.sql(u"UPDATE kyr.journal SET time = %1 + time % 1000000"_s.arg(noon.toMSecsSinceEpoch()));
        database.sql(u"UPDATE kyr.documents SET stored = %1"_s.arg(noon.toMSecsSinceEpoch()));
    }
    [[nodiscard]] Ran tool(const QStringList& words) const { return run(words + ofShop()); }
    [[nodiscard]] QJsonObject told(const QStringList& words) const
    {
        const Ran ran = tool(words + QStringList{u"--json"_s});
        EXPECT_EQ(ran.status, 0) << ran.err.toStdString();
        return QJsonDocument::fromJson(ran.out).object();
    }
    [[nodiscard]] QStringList listed(const QStringList& words) const
    {
        QStringList receipts;
        for (const auto& one :
             told(QStringList{u"receipts"_s, u"list"_s, u"--shop"_s} + words)[u"receipts"_s].toArray())
            receipts.append(one[u"receipt"_s].toString() + u" of "_s + one[u"till"_s].toString());
        receipts.sort();
        return receipts;
    }
    [[nodiscard]] Ran reconcile(const QStringList& words) const
    {
        return run(QStringList{u"reconcile"_s, u"--date"_s, day.toString(Qt::ISODate)} + words);
    }

    const QDate day = QDate::currentDate();
};

} // namespace

TEST_F(BooksOfAShop, ListsTheReceiptsOfAllTillsOrOfOne)
{
    EXPECT_EQ(listed({}), QStringList({u"R-1 of 1"_s, u"R-2 of 2"_s, u"V-1 of 2"_s}));
    EXPECT_EQ(listed({u"--limit"_s, u"1"_s}).size(), 1);
    const QStringList ofTwo = listed({u"--till"_s, u"2"_s});
    EXPECT_EQ(ofTwo.filter(u" of 2"_s).size(), 2);
    EXPECT_EQ(listed({u"--till"_s, u"1"_s}), QStringList(u"R-1 of 1"_s));
    const Ran table = tool({u"receipts"_s, u"list"_s, u"--shop"_s});
    EXPECT_THAT(table.out.toStdString(), AllOf(HasSubstr("1: R-1"), HasSubstr("2: V-1")));
}

TEST_F(BooksOfAShop, ShowsAReceiptWithItsTillAndAllThatHappenedToItAtAllOfThem)
{
    const QJsonObject shown = told({u"receipts"_s, u"show"_s, u"--shop"_s, u"R-1"_s});
    EXPECT_EQ(shown[u"till"_s].toString(), u"1");
    EXPECT_EQ(shown[u"state"_s].toString(), u"closed");
    EXPECT_EQ(shown[u"sum"_s].toDouble(), 600);
    EXPECT_EQ(shown[u"next"_s].toString(), u"nothing is left to do");
    QStringList events;
    for (const auto& entry : shown[u"timeline"_s].toArray())
        events.append(entry[u"event"_s].toString());
    EXPECT_TRUE(events.contains(u"opened"_s) && events.contains(u"delivered"_s))
        << events.join(u' ').toStdString();
    const Ran back = tool({u"receipts"_s, u"show"_s, u"--shop"_s, u"V-1"_s});
    EXPECT_THAT(
        back.out.toStdString(),
        AllOf(HasSubstr("return V-1, closed\nof till 2\nreturns of R-1, under which its messages go\n"),
              Not(HasSubstr(customersCard.toStdString()))));
}

TEST_F(BooksOfAShop, ShowsNoReceiptToWhichTheTillThatIsNamedHasDoneNothing)
{
    const Ran others = tool({u"receipts"_s, u"show"_s, u"--shop"_s, u"--till"_s, u"1"_s, u"R-2"_s});
    EXPECT_EQ(others.status, 2);
    EXPECT_THAT(others.err.toStdString(), HasSubstr("no receipt 'R-2' here; till 1 has done nothing to it"));
    EXPECT_EQ(tool({u"receipts"_s, u"show"_s, u"--shop"_s, u"--till"_s, u"2"_s, u"R-2"_s}).status, 0);
}

TEST_F(BooksOfAShop, TellsWhereElseToLookForAReceipt)
{
    const Ran moved = run(QStringList{u"receipts"_s, u"show"_s, u"R-1"_s} + of(u"1"_s));
    EXPECT_EQ(moved.status, 2);
    EXPECT_THAT(moved.err.toStdString(),
                HasSubstr("no receipt 'R-1' here; it has moved on to the shop's database: say --shop, too"));
    const Ran others = run(QStringList{u"receipts"_s, u"show"_s, u"R-1"_s} + of(u"2"_s));
    EXPECT_THAT(others.err.toStdString(), HasSubstr("see till receipts list"));
    const Ran nowhere = tool({u"receipts"_s, u"show"_s, u"--shop"_s, u"R-9"_s});
    EXPECT_EQ(nowhere.status, 2);
    EXPECT_THAT(nowhere.err.toStdString(), HasSubstr("it may lie at its till still"));
}

TEST_F(BooksOfAShop, ShowsADamagedReceiptAsWhatItIs)
{
    database.sql(u"UPDATE kyr.documents SET content = 'x' WHERE identifier = 'R-1'"_s);
    EXPECT_EQ(told({u"receipts"_s, u"show"_s, u"--shop"_s, u"R-1"_s})[u"state"_s].toString(), u"damaged");
}

TEST_F(BooksOfAShop, AgreeWithTheServicesOfTheWholeShopAndOfEachTill)
{
    for (const QStringList& which : {QStringList{}, {u"--till"_s, u"1"_s}, {u"--till"_s, u"2"_s}}) {
        const Ran ran = reconcile(QStringList{u"--shop"_s} + which + ofShop());
        EXPECT_EQ(ran.status, 0) << ran.out.toStdString() << ran.err.toStdString();
    }
    const Ran all = reconcile(QStringList{u"--shop"_s} + ofShop());
    EXPECT_THAT(all.out.toStdString(), HasSubstr(": 3 receipts compared, 0 differences\n"));
    const Ran one = reconcile(QStringList{u"--shop"_s, u"--till"_s, u"1"_s} + ofShop());
    EXPECT_THAT(one.out.toStdString(), HasSubstr(": 1 receipts compared, 0 differences\n"));
}

TEST_F(BooksOfAShop, AreComparedInTheDatabaseOnceTheyHaveMovedOn)
{
    const Ran ran = reconcile(of(u"1"_s));
    EXPECT_THAT(ran.out.toStdString(),
                HasSubstr("1 receipts have moved on to the shop's database: compare them with --shop\n"));
}

TEST_F(BooksOfAShop, DifferWhereAReceiptSaysSomethingElse)
{
    database.sql(u"DELETE FROM kyr.documents WHERE identifier = 'R-1'"_s);
    const Ran ran = reconcile(QStringList{u"--shop"_s} + ofShop());
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("R-1"));
}

TEST_F(BooksOfAShop, SayThatAReceiptOfTheServicesMayLieAtItsTill)
{
    ASSERT_EQ(play(u"3"_s, openSale("R-3", {tea(10)}) + card + pay()).status, 0);
    const Ran ran = reconcile(QStringList{u"--shop"_s} + ofShop());
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(
        ran.out.toStdString(),
        HasSubstr("receipt R-3 is not in the shop's database: it may lie at its till still, so compare "
                  "it there\n"));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("4 receipts compared, 1 differences"));
}

TEST_F(BooksOfAShop, TellAMonitorHowTheShopIsDoing)
{
    const QJsonObject metrics = told({u"metrics"_s, u"--shop"_s});
    EXPECT_EQ(metrics[u"kyr_shop_queue_messages{state=\"waiting\"}"_s].toInt(-1), 0);
    EXPECT_GE(metrics[u"kyr_shop_attempts_last_day{outcome=\"delivered\"}"_s].toInt(), 2);
    EXPECT_GT(metrics[u"kyr_shop_store_size_bytes{file=\"database\"}"_s].toDouble(), 1e6);
    EXPECT_TRUE(metrics.contains(u"kyr_shop_last_delivery_timestamp_seconds"_s));
    const QJsonObject ofOne = told({u"metrics"_s, u"--shop"_s, u"--till"_s, u"9"_s});
    EXPECT_EQ(ofOne[u"kyr_shop_attempts_last_day{outcome=\"delivered\"}"_s].toInt(-1), 0);
    EXPECT_FALSE(ofOne.contains(u"kyr_shop_last_delivery_timestamp_seconds"_s));
}

TEST_F(TillsOfAShop, ADeliveryKeepsTheShopsMetricsInAFile)
{
    QProcess delivery;
    const QString file = files.path(u"shop.prom"_s);
    start(delivery, QStringList{u"deliver"_s, u"--shop"_s, u"--metrics-file"_s, file} + ofShop());
    QElapsedTimer waited;
    waited.start();
    while (!QFile::exists(file) && waited.elapsed() < patienceMs)
        QThread::msleep(20);
    delivery.terminate();
    EXPECT_TRUE(delivery.waitForFinished(patienceMs));
    EXPECT_THAT(contentOf(file).toStdString(), HasSubstr("kyr_shop_queue_messages{state=\"waiting\"} 0\n"));
}

namespace {

/// A shop whose administrator asks the doctor.
class DoctorOfTheWholeShop : public TillsOfAShop
{
protected:
    /// "state text → remedy" of that check.
    [[nodiscard]] std::string finding(const QString& check) const
    {
        const Ran ran = run(QStringList{u"doctor"_s, u"--shop"_s, u"--json"_s} + ofShop());
        QStringList found;
        for (const auto& one : QJsonDocument::fromJson(ran.out)[u"findings"].toArray()) {
            if (one[u"check"] == check)
                found.append(one[u"state"].toString() + u' ' + one[u"text"].toString() + u" → "_s +
                             one[u"remedy"].toString());
        }
        return found.join(u'\n').toStdString();
    }
};

} // namespace

TEST_F(DoctorOfTheWholeShop, FindsItWell)
{
    EXPECT_THAT(finding(u"shop"_s), StartsWith("ok PostgreSQL 1"));
    EXPECT_EQ(finding(u"shop tls"_s), "ok not used, and not needed on this machine → ");
    EXPECT_EQ(finding(u"shop queue"_s), "ok 0 waiting, none parked → ");
    EXPECT_EQ(finding(u"data"_s), "") << "whatever lies on this machine is none of its business";
    EXPECT_THAT(finding(u"service"_s), StartsWith("ok HTTP "));
}

TEST_F(DoctorOfTheWholeShop, WarnsOfCommitsThatOneServerHasAlone)
{
    EXPECT_THAT(finding(u"shop copies"_s), StartsWith("warning a commit is on one server alone"));
    database.sql(u"ALTER SYSTEM SET synchronous_commit = off"_s);
    database.sql(u"SELECT pg_reload_conf()"_s);
    EXPECT_THAT(finding(u"shop copies"_s), StartsWith("problem synchronous_commit is 'off'"));
    database.sql(u"ALTER SYSTEM RESET synchronous_commit"_s);
    database.sql(u"ALTER SYSTEM SET synchronous_standby_names = 'second'"_s);
    database.sql(u"SELECT pg_reload_conf()"_s);
    EXPECT_EQ(finding(u"shop copies"_s), "ok a commit waits for second → ");
}

TEST_F(DoctorOfTheWholeShop, TellsWhatIsParkedAndWhatToDo)
{
    ASSERT_EQ(play(u"1"_s, openSale("R-1", {tea(10)}) + pay() + deliver()).status, 0);
    database.sql(u"UPDATE kyr.queued SET parked = true"_s);
    EXPECT_EQ(finding(u"shop queue"_s),
              "problem 1 parked: refused by the service for good, or not to be sent as they are → see till "
              "queue list --shop --parked; then till queue retry --shop or till queue drop --shop");
}

TEST_F(DoctorOfTheWholeShop, TellsOfADatabaseThatIsAwayOrNotPrepared)
{
    database.sql(u"DROP SCHEMA kyr CASCADE"_s);
    EXPECT_THAT(finding(u"shop"_s), HasSubstr("problem База магазина отказала: it has no tables for tills"));
    database.kill();
    EXPECT_THAT(finding(u"shop"_s), StartsWith("problem База магазина недоступна: "));
    EXPECT_EQ(finding(u"shop queue"_s), "");
}

TEST_F(DoctorOfTheWholeShop, TellsOfSettingsThatNameNoDatabase)
{
    const Ran ran = run({u"doctor"_s, u"--shop"_s, u"--config"_s, files.write(u"none.toml"_s, "")});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("Shop:database is not set"));
}

TEST_F(BooksOfAShop, ForgetACustomerOnceAsked)
{
    const QStringList words{u"forget"_s, u"--shop"_s, u"--card"_s, u"-"_s};
    const Ran unasked = run(words + ofShop(), customersCard.toUtf8());
    EXPECT_EQ(unasked.status, 2);
    EXPECT_THAT(unasked.err.toStdString(), HasSubstr("say --yes"));
    const Ran ran = run(words + QStringList{u"--yes"_s} + ofShop(), customersCard.toUtf8());
    EXPECT_EQ(ran.status, 0) << ran.err.toStdString();
    EXPECT_THAT(ran.out.toStdString(),
                AllOf(HasSubstr(day.toString(Qt::ISODate).toStdString() + ": 2 receipts removed: R-1, V-1\n"),
                      HasSubstr("cannot be given back at any till of the shop any more"),
                      HasSubstr("not reached: what lies at the tills still"),
                      Not(HasSubstr(customersCard.toStdString()))));
    EXPECT_EQ(database.sql(u"SELECT identifier FROM kyr.documents"_s), u"R-2");
    EXPECT_EQ(database.sql(u"SELECT DISTINCT receipt FROM kyr.journal"_s), u"R-2");
    const Ran refused = play(u"2"_s, openReturn("V-2", "R-1", {position(1)}));
    EXPECT_THAT(errorOf(lastStep(refused)), HasSubstr("Чека R-1 нет среди закрытых"));
    const Ran again = run(words + QStringList{u"--yes"_s} + ofShop(), customersCard.toUtf8());
    EXPECT_THAT(again.out.toStdString(), HasSubstr("no receipt of card"));
}

TEST_F(TillsOfAShop, ForgettingACustomerAtATillPointsToTheDatabase)
{
    ASSERT_EQ(play(u"1"_s, openSale("R-1", {tea(300, 2)}) + card + pay()).status, 0);
    const Ran ran = run(QStringList{u"forget"_s, u"--card"_s, customersCard, u"--yes"_s} + of(u"1"_s));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("the shop's database (till forget --shop)"));
}

TEST_F(TillsOfAShop, KeepsAReceiptWhoseMessageWaitsFromBeingForgotten)
{
    ASSERT_EQ(play(u"1"_s, openSale("R-1", {tea(300, 2)}) + card + pay()).status, 0);
    ASSERT_EQ(play(u"1"_s, openReturn("V-1", "R-1", {position(1)}) + pay() + deliver()).status, 0);
    const Ran ran =
        run(QStringList{u"forget"_s, u"--shop"_s, u"--card"_s, customersCard, u"--yes"_s} + ofShop());
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(
        ran.out.toStdString(),
        HasSubstr("R-1 stays: a message of it waits: till queue deliver --shop; then run this again\n"));
}

TEST_F(BooksOfAShop, KeepAReceiptThatIsJustReturnedFromBeingForgottenAndForgetTheOthers)
{
    ASSERT_EQ(play(u"2"_s, openSale("R-3", {tea(10)}) + card + pay() + deliver()).status, 0);
    waitUntilDelivered();
    shop::Connection returning(database.address());
    returning.begin();
    shop::lockFamily(returning, u"R-1"_s);
    const Ran ran =
        run(QStringList{u"forget"_s, u"--shop"_s, u"--card"_s, customersCard, u"--yes"_s} + ofShop());
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out.toStdString(), AllOf(HasSubstr("1 receipt removed: R-3\n"),
                                             HasSubstr("R-1 stays: a return of it is just being closed;")));
    EXPECT_EQ(database.sql(u"SELECT count(*) FROM kyr.documents WHERE identifier = 'R-1'"_s), u"1");
}

} // namespace tilltest

#include "host/core/document.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "tests/journey/shop/shop.h"
#include "till/checkout/receiptmarks.h"

#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

const Steps sold = largeSale + card + spend + pay() + deliver();

Steps returned(const char* id, const QList<Back>& positions)
{
    return openReturn(id, "R-1", positions) + pay() + deliver();
}

std::string sorted(QStringList lines)
{
    lines.sort();
    return lines.join(u'\n').toStdString();
}

/// A till whose cashier tries again whatever he is told to.
class InsistentTill : public TillsOfAShop
{
protected:
    void playOn(const QString& till, const Steps& steps)
    {
        qsizetype done = 0;
        for (int tries = 0; done < steps.list().size(); ++tries) {
            const Ran ran = play(till, steps.list().sliced(done));
            for (const QJsonObject& line : linesOf(ran))
                done += line[u"ok"].toBool() ? 1 : 0;
            if (ran.status != 0) {
                ASSERT_THAT(errorOf(lastStep(ran)), HasSubstr("Другая касса"));
                ASSERT_LT(tries, 50);
            }
        }
    }
};

} // namespace

TEST_F(TillsOfAShop, GoodsComeBackAtAnotherTillAsAtTheOneThatSoldThem)
{
    ASSERT_EQ(play(u"1"_s, sold).status, 0);
    const Ran back = play(u"2"_s, returned("V-1", {position(1)}));
    ASSERT_EQ(back.status, 0) << back.out.toStdString() << back.err.toStdString();
    ASSERT_EQ(play(u"3"_s, returned("V-2", {position(2, 2)})).status, 0);
    startDelivery();
    waitUntilDelivered();
    const QStringList here = ledger();

    ShopWorld other; // a shop in which one till does all of it
    ASSERT_EQ(
        other.play(u"1"_s, sold + returned("V-1", {position(1)}) + returned("V-2", {position(2, 2)})).status,
        0);
    other.startDelivery();
    other.waitUntilDelivered();
    EXPECT_EQ(here, other.ledger());
    EXPECT_EQ(here.size(), 6);
}

TEST_F(TillsOfAShop, NothingComesBackTwiceWhicheverTillsTakeIt)
{
    ASSERT_EQ(play(u"1"_s, sold).status, 0);
    ASSERT_EQ(play(u"2"_s, returned("V-1", {position(1)})).status, 0);
    const Ran again = play(u"3"_s, returned("V-2", {position(1)}).list().first());
    EXPECT_EQ(again.status, 1);
    EXPECT_THAT(errorOf(lastStep(again)), HasSubstr("уже возвращено 1"));
}

TEST_F(TillsOfAShop, AReturnThatAnotherTillHasOutrunIsRefusedAndNothingOfItIsKept)
{
    ASSERT_EQ(play(u"1"_s, sold).status, 0);
    ASSERT_EQ(play(u"2"_s, openReturn("V-1", "R-1", {position(2, 1)})).status, 0);
    ASSERT_EQ(play(u"3"_s, returned("V-2", {position(2, 1)})).status, 0);
    const QString before = database.sql(u"SELECT count(*) FROM kyr.queued"_s);
    const Ran late = play(u"2"_s, pay());
    EXPECT_EQ(late.status, 1);
    EXPECT_THAT(errorOf(lastStep(late)), HasSubstr("уже оформлен другой возврат"));
    EXPECT_EQ(database.sql(u"SELECT count(*) FROM kyr.queued"_s), before);
    EXPECT_EQ(database.sql(u"SELECT count(*) FROM kyr.documents"_s), u"2");
    EXPECT_EQ(play(u"2"_s, rollback() + openReturn("V-3", "R-1", {position(2, 1)}) + pay()).status, 0);
    EXPECT_EQ(database.sql(u"SELECT till FROM kyr.documents WHERE identifier = 'V-3'"_s), u"2");
}

/// Each return meets its sale here, on its way, or there.
TEST_F(InsistentTill, TakesBackWhatItHasSoldWhileItsDeliveryServiceMovesItOn)
{
    QList<Steps> day;
    for (int i = 0; i < 15; ++i) {
        const QString sold = u"R-%1"_s.arg(i);
        day.append(openSale(sold, {tea(100, 2), honey(50)}) + card + pay());
        for (const auto& [id, back] :
             {std::pair(u"A"_s, position(1)), std::pair(u"B"_s, position(2)), std::pair(u"C"_s, position(1))})
            day.append(openReturn(id + sold, sold, {back}) + pay());
    }
    ShopWorld quiet; // a shop in which nothing moves meanwhile
    Steps all;
    for (const Steps& receipt : day)
        all += receipt;
    ASSERT_EQ(quiet.play(u"1"_s, all).status, 0);
    ASSERT_EQ(quiet.play(u"1"_s, deliver()).status, 0);
    quiet.startDelivery();
    quiet.waitUntilDelivered();

    QProcess service;
    start(service, QStringList{u"deliver"_s} + of(u"1"_s));
    startDelivery();
    for (const Steps& receipt : day)
        playOn(u"1"_s, receipt);
    EXPECT_NE(database.sql(u"SELECT count(*) FROM kyr.documents"_s), u"0") << "it moved on meanwhile";
    service.terminate();
    ASSERT_TRUE(service.waitForFinished(patienceMs));
    ASSERT_EQ(play(u"1"_s, deliver()).status, 0);
    waitUntilDelivered();
    const QString documents = u"SELECT identifier FROM kyr.documents ORDER BY 1"_s;
    EXPECT_EQ(database.sql(documents).toStdString(), quiet.database.sql(documents).toStdString());
    EXPECT_EQ(sorted(ledger()), sorted(quiet.ledger()));
}

TEST_F(TillsOfAShop, WithoutItsDatabaseATillSellsOnAndRefusesAReturnOfWhatHasMovedOn)
{
    ASSERT_EQ(play(u"1"_s, sold).status, 0);
    database.kill();
    const Ran refused = play(u"1"_s, openReturn("V-1", "R-1", {position(1)}));
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(errorOf(lastStep(refused)), "Возврат не возможен");
    const Ran on = play(u"1"_s, openSale("R-2", {tea(100)}) + card + pay() +
                                    openReturn("V-2", "R-2", {position(1)}) + pay() + deliver().mayFail());
    EXPECT_EQ(on.status, 0) << on.out.toStdString();
    EXPECT_THAT(errorOf(lastStep(on)), HasSubstr("База магазина недоступна"));
    database.start();
    ASSERT_EQ(play(u"1"_s, deliver()).status, 0);
    EXPECT_EQ(database.sql(u"SELECT identifier FROM kyr.documents ORDER BY 1"_s), u"R-1\nR-2\nV-2");
    EXPECT_EQ(database.sql(u"SELECT receipt FROM kyr.queued"_s), u"R-2");
}

TEST_F(TillsOfAShop, ATillAsksNoDatabaseForWhatLiesHere)
{
    database.kill();
    const Ran day =
        runSteps(openSale("R-1", {tea(100)}) + card + pay() + openReturn("V-1", "R-1", {position(1)}) + pay(),
                 of(u"1"_s));
    EXPECT_EQ(day.status, 0) << day.out.toStdString();
    EXPECT_EQ((day.out + day.err).indexOf("База магазина"), -1) << day.out.toStdString();
}

TEST_F(TillsOfAShop, AReturnWhoseDatabaseIsLostBeforeItIsPaidStaysOpen)
{
    ASSERT_EQ(play(u"1"_s, sold).status, 0);
    ASSERT_EQ(play(u"2"_s, openReturn("V-1", "R-1", {position(1)})).status, 0);
    database.kill();
    const Ran refused = play(u"2"_s, pay());
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(errorOf(lastStep(refused)), "Возврат не возможен");
    database.start();
    EXPECT_EQ(play(u"2"_s, pay()).status, 0);
    EXPECT_EQ(database.sql(u"SELECT count(*) FROM kyr.queued"_s), u"2");
}

TEST_F(TillsOfAShop, AReturnThatTheDatabaseCouldNotKeepMayBeRolledBackWithoutIt)
{
    ASSERT_EQ(play(u"1"_s, sold).status, 0);
    ASSERT_EQ(play(u"2"_s, openReturn("V-1", "R-1", {position(1)})).status, 0);
    database.kill();
    const Ran ran = play(u"2"_s, pay().mayFail() + rollback() + openSale("R-2", {tea(1)}) + pay());
    EXPECT_EQ(ran.status, 0) << ran.out.toStdString();
}

/// The database may have it: only it can tell.
TEST_F(TillsOfAShop, AReturnWhoseEndIsNotKnownWaitsForTheDatabase)
{
    ASSERT_EQ(play(u"1"_s, sold).status, 0);
    ASSERT_EQ(play(u"2"_s, openReturn("V-1", "R-1", {position(1)})).status, 0);
    storage::setDataDirectory(files.path(u"2"_s));
    {
        const auto receipt = SaveToFileLogic::loadOpenReceipt();
        till::setMarkedState(*receipt, till::State::Paying);
        SaveToFileLogic().save(receipt, {});
    }
    storage::setDataDirectory({});
    database.kill();
    for (const Step& step : {rollback(), openSale("R-2", {tea(1)})}) {
        const Ran refused = play(u"2"_s, step);
        EXPECT_EQ(refused.status, 1);
        EXPECT_THAT(errorOf(lastStep(refused)), HasSubstr("Чек V-1 уже оплачивается"));
    }
    database.start();
    EXPECT_EQ(play(u"2"_s, rollback()).status, 0) << "the next start finds that it has it not";
}

/// The database has it, and the till was killed before its own store had.
TEST_F(TillsOfAShop, AReturnThatTheDatabaseHasIsFinishedByTheNextStart)
{
    ASSERT_EQ(play(u"1"_s, sold).status, 0);
    ASSERT_EQ(play(u"2"_s, openReturn("V-1", "R-1", {position(1)})).status, 0);
    const QByteArray store = contentOf(files.path(u"2/till.sqlite"_s));
    ASSERT_EQ(play(u"2"_s, pay()).status, 0);
    const QString once =
        database.sql(u"SELECT count(*), (SELECT count(*) FROM kyr.documents) FROM kyr.queued"_s);
    EXPECT_EQ(once, u"2|2");
    for (const QString& log : {u"2/till.sqlite-wal"_s, u"2/till.sqlite-shm"_s})
        QFile::remove(files.path(log));
    static_cast<void>(files.write(u"2/till.sqlite"_s, store));
    const Ran found = play(u"2"_s, restart());
    EXPECT_EQ(linesOf(found).last()[u"summary"][u"receipts"].toInt(), 1) << found.out.toStdString();
    ASSERT_EQ(play(u"2"_s, openSale("R-9", {tea(1)}) + pay() + deliver()).status, 0);
    EXPECT_EQ(database.sql(u"SELECT count(*) FROM kyr.documents WHERE identifier = 'V-1'"_s), u"1");
    EXPECT_EQ(database.sql(u"SELECT count(*) FROM kyr.queued WHERE receipt = 'R-1'"_s), u"2");
}

/// Two tills that number alike.
TEST_F(TillsOfAShop, AReturnIsNotTakenForAnotherTillsOfTheSameNumber)
{
    ASSERT_EQ(play(u"1"_s, sold).status, 0);
    ASSERT_EQ(play(u"2"_s, openReturn("V-1", "R-1", {position(1)})).status, 0);
    ASSERT_EQ(play(u"3"_s, returned("V-1", {position(2, 1)})).status, 0);
    const QString before = database.sql(u"SELECT count(*) FROM kyr.queued"_s);
    const Ran refused = play(u"2"_s, restart() + pay());
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(errorOf(lastStep(refused)), HasSubstr("it has another receipt V-1"));
    EXPECT_EQ(database.sql(u"SELECT count(*) FROM kyr.queued"_s), before);
    EXPECT_EQ(play(u"2"_s, rollback() + openReturn("V-2", "R-1", {position(1)}) + pay()).status, 0);
}

TEST_F(TillsOfAShop, AReceiptsNumberIsTakenOnceAtATillThoughItHasMovedOn)
{
    ASSERT_EQ(play(u"1"_s, sold).status, 0);
    const Ran again = play(u"1"_s, sale);
    EXPECT_EQ(again.status, 1);
    EXPECT_THAT(errorOf(lastStep(again)), HasSubstr("номер чека не повторяется"));
}

} // namespace tilltest

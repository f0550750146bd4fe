#include "host/shop/schemastatements.h"
#include "tests/unit/shop/scene.h"

#include <gmock/gmock.h>

#include <thread>

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

namespace test_support {

TEST_F(Shop, IsPreparedOnceHoweverOftenItIsAskedFor)
{
    prepare(database);
    EXPECT_EQ(server.sql(u"SELECT number FROM kyr.version"_s), QString::number(shop::schemaVersion));
    requirePrepared(database);
}

TEST_F(Shop, IsBroughtUpToDateWithAllThatLiesThere)
{
    closeReceipt(richSale(u"R-1"_s));
    moveOn();
    const QString content = server.sql(u"SELECT content FROM kyr.documents"_s);
    server.sql(u"CREATE TABLE aside AS SELECT * FROM kyr.documents; DROP SCHEMA kyr CASCADE; "
               "DROP OWNED BY kyr_admin; DROP ROLE kyr_admin"_s);
    database.runAll(shop::tables().first());
    server.sql(
        u"CREATE TABLE kyr.documents_2026 PARTITION OF kyr.documents FOR VALUES FROM ('2020-01-01') TO "
        "('2100-01-01'); INSERT INTO kyr.documents SELECT * FROM aside"_s);
    EXPECT_THAT([this] { requirePrepared(database); },
                ThrowsMessage<shop::DatabaseError>(HasSubstr("till shop prepare")));
    prepare(database);
    requirePrepared(database);
    EXPECT_EQ(server.sql(u"SELECT content FROM kyr.documents"_s), content);
    EXPECT_EQ(server.sql(u"SELECT number, oldest FROM kyr.version"_s), u"2|1");
    workAt(u"2"_s);
    EXPECT_TRUE(shop::ShopDocuments(u"2"_s, server.address()).loadDocument(u"R-1"_s, false));
}

TEST_F(Shop, ServesAnEarlierProgramThatCanStillWorkWithIt)
{
    server.sql(u"UPDATE kyr.version SET number = 9"_s);
    requirePrepared(database);
}

TEST_F(Shop, IsNotTouchedByAnEarlierProgram)
{
    server.sql(u"UPDATE kyr.version SET number = 9, oldest = 9"_s);
    for (auto* refused : {shop::prepare, shop::requirePrepared}) {
        try {
            refused(database);
            FAIL();
        } catch (const shop::DatabaseError& failure) {
            EXPECT_THAT(failure.what(), HasSubstr("later version"));
        }
    }
}

TEST(ShopSchema, IsToBePreparedFirst)
{
    const Postgres server;
    shop::Connection database(server.address());
    try {
        requirePrepared(database);
        FAIL();
    } catch (const shop::DatabaseError& failure) {
        EXPECT_THAT(failure.what(), HasSubstr("till shop prepare"));
    }
}

/// A till's user may do a till's work and see no message: they hold the password of the service.
TEST_F(Shop, LetsATillDoItsWorkAndReadNoMessage)
{
    server.sql(u"CREATE ROLE till7 LOGIN IN ROLE kyr_till"_s);
    closeReceipt(richSale(u"R-1"_s));
    enqueue(u"R-1"_s);
    {
        shop::Connection own(server.address(u"till7"_s));
        shop::Moving moving(u"7"_s, own);
        while (moving.step()) {
        }
    }
    EXPECT_EQ(server.sql(u"SELECT count(*) FROM kyr.queued"_s), u"1");
    EXPECT_EQ(server.sql(u"SELECT identifier, till FROM kyr.documents"_s), u"R-1|7");
    shop::ShopDocuments documents(u"7"_s, server.address(u"till7"_s));
    const auto sale = documents.loadDocument(u"R-1"_s, false);
    ASSERT_TRUE(sale);
    documents.saveCardRecord(sale->getCardRecord(KyrLoyaltySystem));
    shop::Connection own(server.address(u"till7"_s));
    for (const QString& forbidden : {u"SELECT message FROM queued"_s, u"DELETE FROM documents"_s,
                                     u"DELETE FROM queued"_s, u"UPDATE documents SET content = ''"_s}) {
        try {
            own.run(forbidden);
            ADD_FAILURE() << forbidden.toStdString();
        } catch (const shop::DatabaseError& failure) {
            EXPECT_EQ(failure.state(), u"42501") << forbidden.toStdString();
        }
    }
}

namespace {

class OldShop : public Shop
{
protected:
    /// A sale that was closed then, with a message that was delivered then.
    void sell(const char* receipt, int daysAgo)
    {
        closeReceipt(richSale(QString::fromLatin1(receipt)));
        enqueue(QString::fromLatin1(receipt));
        EXPECT_TRUE(MessageQueue().delivered(MessageQueue().lastId(), {}));
        const qint64 then = QDateTime::currentDateTimeUtc().addDays(-daysAgo).toMSecsSinceEpoch();
        const RawDatabase own(path(u"till.sqlite"_s));
        own.run(u"UPDATE documents SET stored = ?"_s, {then});
        own.run(u"UPDATE journal SET time = ?"_s, {then});
        own.run(u"UPDATE history SET finished = ?"_s, {then});
        moveOn();
    }
    [[nodiscard]] QString left(const char* table) const
    {
        return server.sql(u"SELECT count(*) FROM kyr."_s + QLatin1StringView(table));
    }
};

} // namespace

TEST_F(OldShop, KeepsReceiptsAndJournalForTheirTimes)
{
    sell("R-1", 500);
    sell("R-2", 200);
    sell("R-3", 1);
    EXPECT_EQ(removeOld(database, 0, 0), QStringList()) << "for ever";
    EXPECT_EQ(removeOld(database, 400, 90).size(), 6) << "four tables of the oldest month, two of the second";
    EXPECT_EQ(server.sql(u"SELECT identifier FROM kyr.documents ORDER BY 1"_s), u"R-2\nR-3");
    EXPECT_EQ(server.sql(u"SELECT DISTINCT receipt FROM kyr.journal"_s), u"R-3");
    EXPECT_EQ(server.sql(u"SELECT receipt FROM kyr.history"_s), u"R-3");
}

TEST_F(OldShop, KeepsAMonthInWhichSomethingIsYoungerOrOfWhichAMessageWaits)
{
    sell("R-1", 500);
    closeReceipt(returnOf(u"R-1"_s, u"V-1"_s)); // today
    moveOn();
    EXPECT_EQ(removeOld(database, 400, 0), QStringList());
    sell("R-2", 900);
    enqueue(u"R-2"_s);
    moveOn();
    EXPECT_EQ(removeOld(database, 400, 0), QStringList()) << "a message of R-2 waits";
    shop::ShopQueue queue(server.address());
    EXPECT_TRUE(queue.delivered(queue.lastId(), {}));
    EXPECT_EQ(removeOld(database, 400, 0).size(), 2);
    EXPECT_EQ(server.sql(u"SELECT identifier FROM kyr.documents ORDER BY 1"_s), u"R-1\nV-1");
}

TEST_F(OldShop, TakesAMessageOfASaleWhoseJournalIsGone)
{
    sell("R-1", 200);
    EXPECT_EQ(removeOld(database, 400, 90).size(), 2);
    enqueue(u"R-1"_s);
    moveOn();
    shop::ShopQueue queue(server.address());
    EXPECT_TRUE(queue.delivered(queue.lastId(), {}));
    EXPECT_EQ(left("history"), u"1");
}

/// Or tills that begin a month together would wait for each other.
TEST_F(Shop, MakesTheTablesOfAMonthWhileOthersReadAndWriteThoseOfAllMonths)
{
    closeReceipt(richSale(u"R-1"_s));
    moveOn();
    shop::Connection other(server.address());
    other.begin();
    other.run(u"SELECT count(*) FROM documents, card_records, journal, history"_s);
    other.run(u"UPDATE card_records SET revision = revision"_s);
    database.run(u"SET lock_timeout = 500"_s);
    EXPECT_NO_THROW(database.run(u"SELECT ensure_month('2024-01-01')"_s));
    EXPECT_EQ(server.sql(u"SELECT count(*) FROM pg_inherits WHERE inhrelid::regclass::text LIKE "
                         "'kyr.%2024_01' AND inhparent::regclass::text NOT LIKE '%idx%'"_s),
              u"4");
    other.rollback();
}

TEST_F(Shop, MakesTheTablesOfAMonthOnceThoughTwoTillsBeginIt)
{
    database.begin();
    database.run(u"SELECT ensure_month('2024-01-01')"_s);
    std::jthread other([this] {
        shop::Connection second(server.address());
        EXPECT_NO_THROW(second.run(u"SELECT ensure_month('2024-01-01')"_s));
    });
    while (server.sql(u"SELECT count(*) FROM pg_locks WHERE locktype = 'advisory' AND NOT granted"_s) == u"0")
        std::this_thread::yield();
    database.commit();
}

} // namespace test_support

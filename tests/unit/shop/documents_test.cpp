#include "tests/unit/shop/scene.h"

#include "host/shop/localmarks.h"
#include "host/storage/documentcodec.h"
#include "host/storage/transaction.h"
#include "tests/support/logcapture.h"

#include <QElapsedTimer>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace test_support {

namespace {

QByteArray writtenForm(const QSharedPointer<AbstractDocument>& document)
{
    return documentcodec::written(*document.dynamicCast<Document>());
}

QStringList identifiers(const QList<QSharedPointer<AbstractDocument>>& documents)
{
    QStringList found;
    for (const auto& document : documents)
        found.append(document->getIdentifier());
    return found;
}

} // namespace

TEST_F(Shop, ShowsAReceiptThatMovedOnAtEachTill)
{
    closeReceipt(richSale(u"R-1"_s));
    shop::ShopDocuments own(u"1"_s, server.address());
    const QByteArray before = writtenForm(own.loadDocument(u"R-1"_s, false));
    moveOn();
    EXPECT_EQ(writtenForm(own.loadDocument(u"R-1"_s, false)), before);
    workAt(u"second"_s);
    shop::ShopDocuments other(u"2"_s, server.address());
    EXPECT_EQ(writtenForm(other.loadDocument(u"R-1"_s, false)), before);
    EXPECT_FALSE(other.loadDocument(u"R-2"_s, false));
    EXPECT_TRUE(other.seesAll());
}

TEST_F(Shop, KnowsWhichReceiptsWereClosedHere)
{
    closeReceipt(richSale(u"R-1"_s));
    moveOn();
    EXPECT_TRUE(shop::ShopDocuments(u"1"_s, server.address()).contains(u"R-1"_s));
    workAt(u"second"_s);
    EXPECT_FALSE(shop::ShopDocuments(u"2"_s, server.address()).contains(u"R-1"_s));
}

TEST_F(Shop, ShowsWhatIsStillAtTheTillWithoutTheDatabase)
{
    Postgres away;
    away.kill();
    closeReceipt(richSale(u"R-1"_s));
    shop::ShopDocuments documents(u"1"_s, away.address());
    const LogCapture log(u"shop"_s);
    EXPECT_TRUE(documents.loadDocument(u"R-1"_s, true));
    EXPECT_TRUE(documents.seesAll());
    EXPECT_THAT(log.lines(), testing::IsEmpty());
    EXPECT_FALSE(documents.loadDocument(u"R-2"_s, false));
    EXPECT_EQ(log.lines().size(), 1);
    EXPECT_FALSE(documents.seesAll()) << "it may be there";
    EXPECT_EQ(documents.returnsOf(u"R-1"_s).size(), 0);
    EXPECT_THROW((void)documents.returnsOf(u"R-2"_s), shop::DatabaseError);
    EXPECT_EQ(documents.newestSales(5).size(), 1);
    EXPECT_EQ(log.lines().size(), 2);
}

TEST_F(Shop, LetsACashierWaitOnceForADatabaseThatIsAway)
{
    Postgres away;
    away.freeze();
    shop::ShopDocuments documents(u"1"_s, away.address());
    QElapsedTimer waited;
    waited.start();
    EXPECT_FALSE(documents.loadDocument(u"R-1"_s, false));
    EXPECT_LT(waited.elapsed(), 5000);
    waited.restart();
    EXPECT_FALSE(documents.loadDocument(u"R-1"_s, false));
    EXPECT_LT(waited.elapsed(), 500);
}

TEST_F(Shop, ListsTheReturnsOfAllTills)
{
    closeReceipt(richSale(u"R-1"_s));
    moveOn();
    workAt(u"second"_s);
    closeReceipt(returnOf(u"R-1"_s, u"V-2"_s));
    moveOn(u"2"_s);
    workAt(u"data"_s);
    closeReceipt(returnOf(u"R-1"_s, u"V-1"_s));
    shop::ShopDocuments documents(u"1"_s, server.address());
    EXPECT_THAT(identifiers(documents.returnsOf(u"R-1"_s)), ElementsAre(u"V-2"_s, u"V-1"_s));
}

TEST_F(Shop, ListsTheNewestSalesOfThisTillWhereverTheyLie)
{
    closeReceipt(richSale(u"R-1"_s));
    moveOn();
    closeReceipt(richSale(u"R-2"_s));
    shop::ShopDocuments documents(u"1"_s, server.address());
    QStringList found;
    for (const ClosedSale& sale : documents.newestSales(5))
        found.append(sale.identifier);
    EXPECT_THAT(found, ElementsAre(u"R-2"_s, u"R-1"_s));
    EXPECT_EQ(documents.newestSales(1).size(), 1);
    workAt(u"second"_s);
    EXPECT_TRUE(shop::ShopDocuments(u"2"_s, server.address()).newestSales(5).isEmpty());
}

TEST_F(Shop, RemembersWhatMovedOnUntilItIsForgotten)
{
    closeReceipt(richSale(u"R-1"_s));
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    moveOn();
    shop::LocalMarks().forgetBefore(before);
    EXPECT_TRUE(shop::hasMovedOn(u"R-1"_s));
    shop::LocalMarks().forgetBefore(QDateTime::currentMSecsSinceEpoch() + 1);
    EXPECT_FALSE(shop::hasMovedOn(u"R-1"_s));
}

TEST_F(Shop, HasOneTruthOfASalesCard)
{
    closeReceipt(richSale(u"R-1"_s));
    moveOn();
    shop::ShopDocuments first(u"1"_s, server.address());
    shop::ShopDocuments second(u"2"_s, server.address());
    const auto mine = first.loadDocument(u"R-1"_s, false)->getCardRecord(KyrLoyaltySystem);
    const auto theirs = second.loadDocument(u"R-1"_s, false)->getCardRecord(KyrLoyaltySystem);
    mine->setOperationId(u"{\"earn\":\"2\"}"_s);
    first.saveCardRecord(mine);
    theirs->setOperationId(u"{\"earn\":\"3\"}"_s);
    try {
        second.saveCardRecord(theirs);
        FAIL();
    } catch (const shop::DatabaseError& failure) {
        EXPECT_EQ(failure.fault(), shop::Fault::Conflict);
        EXPECT_THAT(failure.what(), HasSubstr("попробуйте ещё раз"));
    }
    const auto now = second.loadDocument(u"R-1"_s, false)->getCardRecord(KyrLoyaltySystem);
    EXPECT_EQ(now->getOperationId(), u"{\"earn\":\"2\"}");
    now->setOperationId(u"{\"earn\":\"4\"}"_s);
    second.saveCardRecord(now);
    mine->setOperationId(u"{\"earn\":\"5\"}"_s);
    EXPECT_THROW(first.saveCardRecord(mine), shop::DatabaseError);
}

/// Closes a return as a till does, in one transaction.
void closeReturn(
    DocumentsDao& documents, const QString& sale, const QSharedPointer<Document>& receipt,
    const std::function<void()>& lastly = [] {})
{
    storage::Transaction transaction;
    const auto sold = documents.loadDocument(sale, true);
    ASSERT_TRUE(sold);
    MessageQueue().enqueue(u"kyrloyalty"_s, sale, {{u"body"_s, QByteArray("{}")}}, u"refusal"_s);
    const auto record = sold->getCardRecord(KyrLoyaltySystem);
    record->setOperationId(u"{\"earn\":\"%1\"}"_s.arg(receipt->getIdentifier()));
    documents.saveCardRecord(record);
    documents.store(receipt);
    lastly();
    transaction.commit();
}

TEST_F(Shop, ClosesAReturnOfASaleThatMovedOnInTheDatabaseAtOnce)
{
    closeReceipt(richSale(u"R-1"_s));
    moveOn();
    workAt(u"second"_s);
    shop::ShopDocuments documents(u"2"_s, server.address());
    closeReturn(documents, u"R-1"_s, returnOf(u"R-1"_s, u"V-1"_s));
    EXPECT_EQ(server.sql(u"SELECT identifier, till FROM kyr.documents ORDER BY 1"_s), u"R-1|1\nV-1|2");
    EXPECT_EQ(server.sql(u"SELECT receipt, text FROM kyr.queued"_s), u"R-1|refusal");
    EXPECT_EQ(server.sql(u"SELECT revision FROM kyr.card_records"_s), u"1");
    EXPECT_EQ(MessageQueue().waitingCount(), 0);
    EXPECT_TRUE(documents.contains(u"V-1"_s));
    closeReturn(documents, u"R-1"_s, returnOf(u"R-1"_s, u"V-2"_s));
    EXPECT_EQ(server.sql(u"SELECT revision FROM kyr.card_records"_s), u"2");
}

TEST_F(Shop, KnowsNothingOfAReturnThatCouldNotBeKeptAtTheTill)
{
    closeReceipt(richSale(u"R-1"_s));
    moveOn();
    shop::ShopDocuments documents(u"1"_s, server.address());
    EXPECT_THROW(closeReturn(documents, u"R-1"_s, returnOf(u"R-1"_s, u"V-1"_s),
                             [] { throw BasicException(tr::Tr(u"test"_s, u"test"_s)); }),
                 BasicException);
    EXPECT_EQ(server.sql(u"SELECT count(*) FROM kyr.documents"_s), u"1");
    EXPECT_EQ(server.sql(u"SELECT count(*) FROM kyr.card_records"_s), u"0");
    EXPECT_EQ(server.sql(u"SELECT count(*) FROM kyr.queued"_s), u"0");
    EXPECT_EQ(MessageQueue().waitingCount(), 0);
    closeReturn(documents, u"R-1"_s, returnOf(u"R-1"_s, u"V-1"_s));
    EXPECT_EQ(server.sql(u"SELECT count(*) FROM kyr.documents"_s), u"2");
}

TEST_F(Shop, KeepsNothingAtTheTillOfAReturnThatTheDatabaseDidNotKeep)
{
    Postgres away;
    {
        shop::Connection its(away.address());
        shop::prepare(its);
        closeReceipt(richSale(u"R-1"_s));
        shop::Moving moving(u"1"_s, its);
        while (moving.step()) {
        }
    }
    shop::ShopDocuments documents(u"1"_s, away.address());
    EXPECT_THROW(closeReturn(documents, u"R-1"_s, returnOf(u"R-1"_s, u"V-1"_s), [&] { away.kill(); }),
                 BasicException);
    EXPECT_EQ(MessageQueue().waitingCount(), 0);
    EXPECT_FALSE(DocumentsDao().contains(u"V-1"_s));
    away.start();
    EXPECT_EQ(away.sql(u"SELECT count(*) FROM kyr.documents"_s), u"1");
}

TEST_F(Shop, MakesAnotherTillWaitForASaleThatIsBeingReturned)
{
    closeReceipt(richSale(u"R-1"_s));
    moveOn();
    shop::ShopDocuments first(u"1"_s, server.address());
    {
        const storage::Transaction transaction;
        ASSERT_TRUE(first.loadDocument(u"R-1"_s, true));
        shop::Connection other(server.address(), {.statement = std::chrono::milliseconds(100)});
        other.begin();
        EXPECT_THROW(lockFamily(other, u"R-1"_s), shop::DatabaseError);
        other.rollback();
    }
    shop::Connection other(server.address());
    other.begin();
    lockFamily(other, u"R-1"_s);
}

/// The store says that it is on its way; whether the database has it, nobody knows.
TEST_F(Shop, WritesNothingBackHereOfASaleThatIsOnItsWay)
{
    closeReceipt(richSale(u"R-1"_s));
    shop::LocalMarks().begin(u"R-1"_s);
    shop::ShopDocuments documents(u"1"_s, server.address());
    EXPECT_TRUE(documents.loadDocument(u"R-1"_s, false));
    {
        const storage::Transaction transaction;
        EXPECT_THROW((void)documents.loadDocument(u"R-1"_s, true), shop::DatabaseError);
    }
    const auto record = documents.loadDocument(u"R-1"_s, false)->getCardRecord(KyrLoyaltySystem);
    EXPECT_THROW(documents.saveCardRecord(record), shop::DatabaseError) << "it would be lost";
    moveOn();
    EXPECT_NO_THROW(documents.saveCardRecord(record));
    const storage::Transaction transaction;
    EXPECT_TRUE(documents.loadDocument(u"R-1"_s, true));
}

/// While it is tried to move a receipt on whose identifier another till has used.
TEST_F(Shop, DoesNotTakeAnotherTillsSaleForOneThatIsOnItsWay)
{
    closeReceipt(richSale(u"R-1"_s));
    moveOn();
    workAt(u"second"_s);
    closeReceipt(richSale(u"R-1"_s));
    shop::LocalMarks().begin(u"R-1"_s);
    shop::ShopDocuments documents(u"2"_s, server.address());
    {
        const storage::Transaction transaction;
        EXPECT_THROW((void)documents.loadDocument(u"R-1"_s, true), shop::DatabaseError);
    }
    moveOn(u"2"_s);
    const storage::Transaction transaction;
    EXPECT_TRUE(documents.loadDocument(u"R-1"_s, true)) << "its own, which stays";
    EXPECT_FALSE(documents.isShared(u"R-1"_s));
}

TEST_F(Shop, LetsASaleBeReturnedHereAfterItCouldNotMoveOn)
{
    Postgres away;
    shop::Connection gone(away.address());
    shop::prepare(gone);
    away.kill();
    closeReceipt(richSale(u"R-1"_s));
    shop::Moving moving(u"1"_s, gone);
    EXPECT_THROW(moving.step(), shop::DatabaseError);
    shop::ShopDocuments documents(u"1"_s, away.address());
    closeReturn(documents, u"R-1"_s, returnOf(u"R-1"_s, u"V-1"_s));
    EXPECT_EQ(MessageQueue().waitingCount(), 1);
    EXPECT_FALSE(documents.isShared(u"R-1"_s));
}

/// What nothing was heard of is not this till's any more, whatever comes after.
TEST_F(Shop, KeepsTheMarkOfASaleThatMayHaveMovedOn)
{
    closeReceipt(richSale(u"R-1"_s));
    shop::LocalMarks().begin(u"R-1"_s);
    closeReceipt(richSale(u"R-2"_s));
    Postgres away;
    away.kill();
    shop::Connection gone(away.address());
    shop::Moving moving(u"1"_s, gone);
    EXPECT_THROW(moving.step(), shop::DatabaseError);
    EXPECT_TRUE(shop::LocalMarks().isMoving(u"R-1"_s));
    EXPECT_FALSE(shop::LocalMarks().isMoving(u"R-2"_s));
}

} // namespace test_support

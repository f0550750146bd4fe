#include "tests/unit/storage/anyreceipts.h"

#include "host/storage/documentcodec.h"
#include "host/storage/transaction.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ::testing::AnyOf;

/// What is promised of closed receipts, wherever they are kept.
namespace test_support {

TEST_P(AnyReceipts, ComeBackAsTheyWereStoredAfterARestart)
{
    store(sale);
    const auto back = home->open()->loadDocument(u"R-1"_s, false).dynamicCast<Document>();
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(documentcodec::written(*back), documentcodec::written(*sale));
}

TEST_P(AnyReceipts, AreObjectsOfTheirOwnEachTime)
{
    store(sale);
    const auto one = load();
    EXPECT_NE(one, sale);
    EXPECT_NE(one, load());
}

TEST_P(AnyReceipts, ThatTheReferenceDoesNotNameAreNull)
{
    EXPECT_EQ(load(), nullptr);
    store(sale);
    for (const QVariant& reference : {QVariant(), QVariant(u""_s), QVariant(u"r-1"_s), QVariant(u"R-1 "_s)})
        EXPECT_EQ(load(reference), nullptr) << reference.toString().toStdString();
    EXPECT_TRUE(dao->seesAll());
}

TEST_P(AnyReceipts, AreKnownByTheirIdentifiers)
{
    EXPECT_FALSE(dao->contains(u"R-1"_s));
    store(sale);
    storeReturn(u"V-1"_s, u"R-1"_s);
    EXPECT_TRUE(dao->contains(u"R-1"_s));
    EXPECT_TRUE(dao->contains(u"V-1"_s));
    EXPECT_FALSE(dao->contains(u"r-1"_s));
    EXPECT_TRUE(home->open()->contains(u"R-1"_s)) << "after a restart";
}

TEST_P(AnyReceipts, ThatAreSalesAreListedTheLastClosedFirstAndNoMoreThanAskedFor)
{
    EXPECT_EQ(identifiersOf(dao->newestSales(10)), QStringList());
    for (const QString& identifier : {u"R-2"_s, u"R-10"_s, u"R-1"_s})
        store(richSale(identifier));
    storeReturn(u"V-1"_s, u"R-1"_s);
    EXPECT_EQ(identifiersOf(dao->newestSales(10)), QStringList({u"R-1"_s, u"R-10"_s, u"R-2"_s}));
    EXPECT_EQ(identifiersOf(dao->newestSales(2)), QStringList({u"R-1"_s, u"R-10"_s}));
    EXPECT_EQ(identifiersOf(home->open()->newestSales(1)), QStringList(u"R-1"_s)) << "after a restart";
}

TEST_P(AnyReceipts, OfAnotherKindAreNoSalesThoughTheyReferToNone)
{
    store(sale);
    store(QSharedPointer<Document>::create(ReturnReceipt, u"V-1"_s));
    EXPECT_EQ(identifiersOf(dao->newestSales(10)), QStringList(u"R-1"_s));
}

TEST_P(AnyReceipts, ThatReturnASaleAreListedInTheOrderOfTheirClosing)
{
    store(sale);
    store(richSale(u"R-2"_s));
    EXPECT_EQ(identifiersOf(dao->returnsOf(u"R-1"_s)), QStringList());
    for (const QString& identifier : {u"V-9"_s, u"V-10"_s, u"V-1"_s})
        storeReturn(identifier, u"R-1"_s);
    storeReturn(u"V-2"_s, u"R-2"_s);
    EXPECT_EQ(identifiersOf(dao->returnsOf(u"R-1"_s)), QStringList({u"V-9"_s, u"V-10"_s, u"V-1"_s}));
    EXPECT_EQ(identifiersOf(dao->returnsOf(u"R-3"_s)), QStringList());
    EXPECT_EQ(identifiersOf(dao->returnsOf(u""_s)), QStringList()) << "sales return nothing";
}

TEST_P(AnyReceipts, OfTheSameContentMayBeStoredAgain)
{
    store(sale);
    EXPECT_NO_THROW(store(sale));
    EXPECT_NO_THROW(store(richSale(u"R-1"_s)));
    EXPECT_NO_THROW(store(load()));
    EXPECT_EQ(identifiersOf(dao->newestSales(10)), QStringList(u"R-1"_s));
}

TEST_P(AnyReceipts, OfOtherContentAreRefusedUnderAStoredIdentifier)
{
    store(sale);
    const auto other = richSale(u"R-1"_s);
    other->setFlag(1000);
    EXPECT_EQ(failure([&] { store(other); }), u"hostDocumentStored"_s);
    home->take();
    EXPECT_EQ(documentcodec::written(*load()), documentcodec::written(*sale));
}

TEST_P(AnyReceipts, WithoutIdentifierAndNoReceiptAtAllAreRefused)
{
    EXPECT_EQ(failure([&] { store(nullptr); }), u"hostDocumentMissing"_s);
    EXPECT_EQ(failure([&] { store(richSale({})); }), u"hostDocumentNameless"_s);
}

TEST_P(AnyReceipts, AreNotKeptWhenTheirTransactionIsUndone)
{
    store(sale);
    {
        const storage::Transaction undone;
        dao->store(richSale(u"R-2"_s));
        writeBack(u"undone"_s);
    }
    home->take();
    EXPECT_FALSE(dao->contains(u"R-2"_s));
    EXPECT_EQ(storedOperationId(), sale->getCardRecord(KyrLoyaltySystem)->getOperationId());
    writeBack(u"done"_s);
    EXPECT_EQ(storedOperationId(), u"done"_s);
}

TEST_P(AnyReceipts, AreKeptWithTheirTransaction)
{
    store(sale);
    {
        storage::Transaction transaction;
        ASSERT_TRUE(dao->loadDocument(u"R-1"_s, true));
        dao->store(returnOf(u"R-1"_s, u"V-1"_s));
        writeBack(u"done"_s);
        transaction.commit();
    }
    EXPECT_EQ(storedOperationId(), u"done"_s);
    EXPECT_EQ(identifiersOf(dao->returnsOf(u"R-1"_s)), QStringList(u"V-1"_s));
}

TEST_P(AnyReceipts, KeepWhatIsWrittenBackOfACardRecord)
{
    store(sale);
    const auto its = record();
    its->setOperationId(u"first"_s);
    dao->saveCardRecord(its);
    EXPECT_EQ(storedOperationId(), u"first"_s);
    its->setOperationId(u"second"_s);
    dao->saveCardRecord(its);
    EXPECT_EQ(storedOperationId(), u"second"_s);
}

TEST_P(AnyReceipts, TakeBackTheRecordOfADocumentJustStored)
{
    store(sale);
    sale->getCardRecord(KyrLoyaltySystem)->setOperationId(u"after"_s);
    dao->saveCardRecord(sale->getCardRecord(KyrLoyaltySystem));
    EXPECT_EQ(storedOperationId(), u"after"_s);
    EXPECT_EQ(load()->getCardRecord(NoLoyaltySystem)->getOperationId(), QString())
        << "the other card's stays";
}

TEST_P(AnyReceipts, RefuseACardRecordOfNoStoredDocument)
{
    const auto fresh = QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, u"1"_s);
    EXPECT_EQ(failure([&] { dao->saveCardRecord(fresh); }), u"hostCardRecordForeign"_s);
    EXPECT_EQ(failure([&] { dao->saveCardRecord(nullptr); }), u"hostCardRecordForeign"_s);
    fresh->setStoredPlace({u"R-1"_s, 0});
    EXPECT_EQ(failure([&] { dao->saveCardRecord(fresh); }), u"hostCardRecordForeign"_s) << "nothing stored";
    store(QSharedPointer<Document>::create(SaleReceipt, u"R-1"_s));
    EXPECT_EQ(failure([&] { dao->saveCardRecord(fresh); }), u"hostCardRecordForeign"_s) << "no such card";
}

TEST_P(AnyReceipts, RefuseAStaleCardRecordInsteadOfUndoingALaterOne)
{
    store(sale);
    const auto stale = record();
    writeBack(u"newer"_s);
    // The shop's database says that it was another till.
    for (int time = 0; time < 2; ++time)
        EXPECT_THAT(failure([&] { dao->saveCardRecord(stale); }),
                    AnyOf(u"hostCardRecordStale"_s, u"hostShopConflict"_s))
            << "however often it is tried";
    EXPECT_EQ(storedOperationId(), u"newer"_s);
}

TEST_P(AnyReceipts, StoredAgainAsTheyWereClosedKeepWhatWasWrittenBack)
{
    store(sale);
    writeBack(u"newer"_s);
    const auto asClosed = richSale(u"R-1"_s);
    EXPECT_NO_THROW(store(asClosed));
    EXPECT_EQ(storedOperationId(), u"newer"_s);
    EXPECT_THAT(failure([&] { dao->saveCardRecord(asClosed->getCardRecord(KyrLoyaltySystem)); }),
                AnyOf(u"hostCardRecordStale"_s, u"hostShopConflict"_s));
}

TEST_P(AnyReceipts, StoredAgainAsLoadedMayWriteTheirRecordsBack)
{
    store(sale);
    dao->saveCardRecord(record());
    const auto again = load();
    again->getCardRecord(KyrLoyaltySystem)->setStoredPlace({}); // as if the till had built it itself
    store(again);
    EXPECT_NO_THROW(dao->saveCardRecord(again->getCardRecord(KyrLoyaltySystem)));
}

TEST_P(AnyReceipts, ThatAreDamagedAreToldNotInvented)
{
    store(sale);
    home->damage(u"R-1"_s);
    EXPECT_EQ(failure([this] { (void)load(); }), u"hostStorageDamaged"_s);
    EXPECT_TRUE(dao->contains(u"R-1"_s));
}

TEST_P(AnyReceipts, OfWhichOneIsDamagedAreListedWithIt)
{
    for (const QString& identifier : {u"R-1"_s, u"R-2"_s, u"R-3"_s})
        store(richSale(identifier));
    home->damage(u"R-2"_s);
    EXPECT_EQ(identifiersOf(dao->newestSales(10)), QStringList({u"R-3"_s, u"R-2!"_s, u"R-1"_s}));
}

TEST_P(AnyReceipts, AreNotGivenBackWhenAReturnOfThemIsDamagedAndOthersAre)
{
    for (const QString& identifier : {u"R-1"_s, u"R-2"_s})
        store(richSale(identifier));
    storeReturn(u"V-1"_s, u"R-1"_s);
    storeReturn(u"V-2"_s, u"R-2"_s);
    home->damage(u"V-1"_s);
    EXPECT_EQ(failure([this] { (void)dao->returnsOf(u"R-1"_s); }), u"hostStorageDamaged"_s);
    EXPECT_EQ(identifiersOf(dao->returnsOf(u"R-2"_s)), QStringList(u"V-2"_s));
}

} // namespace test_support

#include "host/queue/messagequeue.h"
#include "host/storage/datacheck.h"
#include "host/storage/documentcodec.h"
#include "host/storage/documents.h"
#include "host/storage/storedform.h"
#include "tests/unit/storage/documents.h"
#include "tests/unit/storage/scene.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;

namespace {

class Receipts : public test_support::Storage
{
protected:
    QSharedPointer<Document> load(const QVariant& reference = u"R-1"_s)
    {
        return dao.loadDocument(reference, false).dynamicCast<Document>();
    }
    /// What a till that starts anew finds.
    static QString storedOperationId()
    {
        return DocumentsDao().loadDocument(u"R-1"_s, true)->getCardRecord(12)->getOperationId();
    }

    static QStringList identifiersOf(const QList<QSharedPointer<AbstractDocument>>& receipts)
    {
        QStringList identifiers;
        for (const auto& receipt : receipts)
            identifiers.append(receipt->getIdentifier());
        return identifiers;
    }

    /// The identifiers, behind those that are damaged a "!".
    static QStringList identifiersOf(const QList<ClosedSale>& sales)
    {
        QStringList identifiers;
        for (const ClosedSale& sale : sales)
            identifiers.append(sale.identifier + (sale.document ? u""_s : u"!"_s));
        return identifiers;
    }
    void storeReturn(const QString& identifier, const QString& of)
    {
        const auto giveBack = QSharedPointer<Document>::create(ReturnReceipt, identifier);
        giveBack->setSaleDocumentId(of);
        dao.store(giveBack);
    }
    void damage(const QString& identifier) const
    {
        flipABit(u"documents"_s, u"content"_s, u"identifier = '%1'"_s.arg(identifier));
    }

    DocumentsDao dao;
    QSharedPointer<Document> sale = richSale(u"R-1"_s);
};

TEST_F(Receipts, ComeBackAsTheyWereStoredAfterARestart)
{
    dao.store(sale);
    const auto back = DocumentsDao().loadDocument(u"R-1"_s, false).dynamicCast<Document>();
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(documentcodec::written(*back), documentcodec::written(*sale));
    EXPECT_THAT(modes(), testing::Contains(u"till.sqlite 600"_s));
}

TEST_F(Receipts, AreObjectsOfTheirOwnEachTime)
{
    dao.store(sale);
    const auto one = load();
    EXPECT_NE(one, sale);
    EXPECT_NE(one, load());
}

TEST_F(Receipts, ThatTheReferenceDoesNotNameAreNull)
{
    EXPECT_EQ(load(), nullptr);
    dao.store(sale);
    for (const QVariant& reference : {QVariant(), QVariant(u""_s), QVariant(u"r-1"_s), QVariant(u"R-1 "_s)})
        EXPECT_EQ(load(reference), nullptr) << reference.toString().toStdString();
}

TEST_F(Receipts, ThatAreSalesAreListedTheLastClosedFirstAndNoMoreThanAskedFor)
{
    EXPECT_EQ(identifiersOf(dao.newestSales(10)), QStringList());
    for (const QString& identifier : {u"R-2"_s, u"R-10"_s, u"R-1"_s})
        dao.store(richSale(identifier));
    storeReturn(u"V-1"_s, u"R-1"_s);
    EXPECT_EQ(identifiersOf(dao.newestSales(10)), QStringList({u"R-1"_s, u"R-10"_s, u"R-2"_s}));
    EXPECT_EQ(identifiersOf(dao.newestSales(2)), QStringList({u"R-1"_s, u"R-10"_s}));
    EXPECT_EQ(identifiersOf(DocumentsDao().newestSales(1)), QStringList(u"R-1"_s)) << "after a restart";
}

TEST_F(Receipts, OfTheSameContentMayBeStoredAgain)
{
    dao.store(sale);
    EXPECT_NO_THROW(dao.store(sale));
    EXPECT_NO_THROW(dao.store(richSale(u"R-1"_s)));
    EXPECT_NO_THROW(dao.store(load()));
}

TEST_F(Receipts, OfOtherContentAreRefusedUnderAStoredIdentifier)
{
    dao.store(sale);
    const auto other = richSale(u"R-1"_s);
    other->setFlag(1000);
    EXPECT_EQ(failure([&] { dao.store(other); }), u"hostDocumentStored"_s);
    EXPECT_EQ(documentcodec::written(*load()), documentcodec::written(*sale));
}

TEST_F(Receipts, WithoutIdentifierAndNoReceiptAtAllAreRefused)
{
    EXPECT_EQ(failure([&] { dao.store(nullptr); }), u"hostDocumentMissing"_s);
    EXPECT_EQ(failure([&] { dao.store(richSale({})); }), u"hostDocumentNameless"_s);
}

TEST_F(Receipts, KeepWhatIsWrittenBackOfACardRecord)
{
    dao.store(sale);
    const auto record = load()->getCardRecord(12);
    record->setOperationId(u"first"_s);
    dao.saveCardRecord(record);
    EXPECT_EQ(storedOperationId(), u"first"_s);
    record->setOperationId(u"second"_s);
    dao.saveCardRecord(record);
    EXPECT_EQ(storedOperationId(), u"second"_s);
}

TEST_F(Receipts, TakeBackTheRecordOfADocumentJustStored)
{
    dao.store(sale);
    sale->getCardRecord(12)->setOperationId(u"after"_s);
    dao.saveCardRecord(sale->getCardRecord(12));
    EXPECT_EQ(storedOperationId(), u"after"_s);
    EXPECT_EQ(load()->getCardRecord(0)->getOperationId(), QString()) << "the other card's stays";
}

TEST_F(Receipts, RefuseACardRecordOfNoStoredDocument)
{
    const auto fresh = QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, u"1"_s);
    EXPECT_EQ(failure([&] { dao.saveCardRecord(fresh); }), u"hostCardRecordForeign"_s);
    EXPECT_EQ(failure([&] { dao.saveCardRecord(nullptr); }), u"hostCardRecordForeign"_s);
    fresh->setStoredPlace({u"R-1"_s, 0});
    EXPECT_EQ(failure([&] { dao.saveCardRecord(fresh); }), u"hostCardRecordForeign"_s) << "nothing stored";
    const auto cardless = QSharedPointer<Document>::create(SaleReceipt, u"R-1"_s);
    dao.store(cardless);
    EXPECT_EQ(failure([&] { dao.saveCardRecord(fresh); }), u"hostCardRecordForeign"_s) << "no such card";
}

TEST_F(Receipts, RefuseAStaleCardRecordInsteadOfUndoingALaterOne)
{
    dao.store(sale);
    const auto stale = load()->getCardRecord(12);
    const auto newer = load()->getCardRecord(12);
    newer->setOperationId(u"newer"_s);
    dao.saveCardRecord(newer);
    EXPECT_EQ(failure([&] { dao.saveCardRecord(stale); }), u"hostCardRecordStale"_s);
    EXPECT_EQ(storedOperationId(), u"newer"_s);
}

TEST_F(Receipts, StoredAgainAsTheyWereClosedKeepWhatWasWrittenBack)
{
    dao.store(sale);
    const auto record = load()->getCardRecord(12);
    record->setOperationId(u"newer"_s);
    dao.saveCardRecord(record);
    const auto asClosed = richSale(u"R-1"_s);
    EXPECT_NO_THROW(dao.store(asClosed));
    EXPECT_EQ(storedOperationId(), u"newer"_s);
    EXPECT_EQ(failure([&] { dao.saveCardRecord(asClosed->getCardRecord(12)); }), u"hostCardRecordStale"_s);
}

TEST_F(Receipts, StoredAgainAsLoadedMayWriteTheirRecordsBack)
{
    dao.store(sale);
    dao.saveCardRecord(load()->getCardRecord(12));
    const auto again = load();
    again->getCardRecord(12)->setStoredPlace({}); // as if the till had built it itself
    dao.store(again);
    EXPECT_NO_THROW(dao.saveCardRecord(again->getCardRecord(12)));
}

TEST_F(Receipts, OnAFullDiskAreRefusedAndTheOthersStay)
{
    dao.store(sale);
    QString told;
    {
        const test_support::FullDisk full(bytes(u"till.sqlite-wal"_s).size());
        told = failure([this] { dao.store(richSale(u"R-2"_s)); });
    }
    EXPECT_EQ(told, u"hostStorageFull"_s);
    EXPECT_EQ(load(u"R-2"_s), nullptr);
    EXPECT_NE(load(), nullptr);
    EXPECT_NO_THROW(dao.store(richSale(u"R-2"_s)));
}

TEST_F(Receipts, WithoutADataDirectoryAreRefused)
{
    storage::setDataDirectory({});
    EXPECT_EQ(failure([this] { dao.store(sale); }), u"hostDataDirectoryUnset"_s);
    EXPECT_EQ(failure([this] { (void)load(); }), u"hostDataDirectoryUnset"_s);
}

TEST_F(Receipts, DamagedInTheFileAreToldNotInvented)
{
    dao.store(sale);
    const test_support::RawDatabase raw(path(u"till.sqlite"_s));
    raw.run(u"UPDATE documents SET content = substr(content, 1, length(content) - 1)"_s);
    EXPECT_EQ(failure([this] { (void)load(); }), u"hostStorageDamaged"_s);
}

TEST_F(Receipts, OfWhichOneIsDamagedAreListedWithIt)
{
    for (const QString& identifier : {u"R-1"_s, u"R-2"_s, u"R-3"_s})
        dao.store(richSale(identifier));
    damage(u"R-2"_s);
    EXPECT_EQ(identifiersOf(dao.newestSales(10)), QStringList({u"R-3"_s, u"R-2!"_s, u"R-1"_s}));
}

TEST_F(Receipts, AreNotGivenBackWhenAReturnOfThemIsDamagedAndOthersAre)
{
    for (const QString& identifier : {u"R-1"_s, u"R-2"_s})
        dao.store(richSale(identifier));
    storeReturn(u"V-1"_s, u"R-1"_s);
    storeReturn(u"V-2"_s, u"R-2"_s);
    damage(u"V-1"_s);
    EXPECT_EQ(failure([this] { (void)dao.returnsOf(u"R-1"_s); }), u"hostStorageDamaged"_s);
    EXPECT_EQ(identifiersOf(dao.returnsOf(u"R-2"_s)), QStringList(u"V-2"_s));
}

TEST_F(Receipts, AndMessagesThatAreDamagedAreAllNamed)
{
    for (const QString& identifier : {u"R-1"_s, u"R-2"_s})
        dao.store(richSale(identifier));
    const auto record = load()->getCardRecord(12);
    dao.saveCardRecord(record);
    MessageQueue queue;
    for (int i = 0; i < 250; ++i)
        queue.enqueue(u"q"_s, {}, {{u"n"_s, i}}, {});
    queue.drop(1);
    queue.delivered(2, {});
    EXPECT_THAT(storage::damagedSeals(), testing::IsEmpty());
    damage(u"R-2"_s);
    flipABit(u"card_records"_s, u"content"_s, u"document = 'R-1'"_s);
    flipABit(u"queued"_s, u"message"_s, u"id = 240"_s);
    flipABit(u"history"_s, u"message"_s, u"id = 1"_s);
    QStringList damaged;
    for (const storage::DamagedSeal& seal : storage::damagedSeals())
        damaged.append(seal.table + u' ' + seal.key);
    EXPECT_EQ(damaged,
              QStringList({u"documents R-2"_s, u"card_records R-1"_s, u"queued 240"_s, u"history 1"_s}));
}

TEST_F(Receipts, ThatAreTooShortForASealAreNamed)
{
    dao.store(sale);
    const test_support::RawDatabase raw(path(u"till.sqlite"_s));
    for (const char* content : {"", "4b", "4b5952", "4b595264"}) {
        raw.run(u"UPDATE documents SET content = x'%1'"_s.arg(QString::fromLatin1(content)));
        ASSERT_EQ(storage::damagedSeals().size(), 1) << content;
        EXPECT_EQ(storage::damagedSeals()[0].key, u"R-1"_s);
    }
}

TEST_F(Receipts, ThatAreNoSalesAreNotListed)
{
    dao.store(QSharedPointer<Document>::create(ReturnReceipt, u"V-1"_s)); // of no sale
    dao.store(sale);
    EXPECT_EQ(identifiersOf(dao.newestSales(10)), QStringList(u"R-1"_s));
}

TEST_F(Receipts, OfALaterVersionAreNotTakenForDamaged)
{
    dao.store(sale);
    const test_support::RawDatabase raw(path(u"till.sqlite"_s));
    raw.run(u"UPDATE documents SET content = ?"_s, {storage::sealed({0x4B595264, 2}, "of tomorrow")});
    EXPECT_EQ(failure([this] { (void)dao.newestSales(10); }), u"hostStorageNewer"_s);
    EXPECT_THAT(storage::damagedSeals(), testing::IsEmpty());
}

} // namespace

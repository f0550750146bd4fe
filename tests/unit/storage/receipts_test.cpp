#include "host/queue/messagequeue.h"
#include "host/storage/datacheck.h"
#include "host/storage/documents.h"
#include "host/storage/storedform.h"
#include "tests/unit/storage/documents.h"
#include "tests/unit/storage/scene.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;

namespace {

/// What is only true of those in a till's store.
class Receipts : public test_support::Storage
{
protected:
    DocumentsDao dao;
    QSharedPointer<Document> sale = richSale(u"R-1"_s);
};

TEST_F(Receipts, OnAFullDiskAreRefusedAndTheOthersStay)
{
    dao.store(sale);
    QString told;
    {
        const test_support::FullDisk full(bytes(u"till.sqlite-wal"_s).size());
        told = failure([this] { dao.store(richSale(u"R-2"_s)); });
    }
    EXPECT_EQ(told, u"hostStorageFull"_s);
    EXPECT_EQ(dao.loadDocument(u"R-2"_s, false), nullptr);
    EXPECT_NE(dao.loadDocument(u"R-1"_s, false), nullptr);
    EXPECT_NO_THROW(dao.store(richSale(u"R-2"_s)));
}

TEST_F(Receipts, WithoutADataDirectoryAreRefused)
{
    storage::setDataDirectory({});
    EXPECT_EQ(failure([this] { dao.store(sale); }), u"hostDataDirectoryUnset"_s);
    EXPECT_EQ(failure([this] { (void)dao.loadDocument(u"R-1"_s, false); }), u"hostDataDirectoryUnset"_s);
}

TEST_F(Receipts, AndMessagesThatAreDamagedAreAllNamed)
{
    for (const QString& identifier : {u"R-1"_s, u"R-2"_s})
        dao.store(richSale(identifier));
    dao.saveCardRecord(dao.loadDocument(u"R-1"_s, false)->getCardRecord(KyrLoyaltySystem));
    MessageQueue queue;
    for (int i = 0; i < 250; ++i)
        queue.enqueue(u"q"_s, {}, {{u"n"_s, i}}, {});
    queue.drop(1);
    queue.delivered(2, {});
    EXPECT_THAT(storage::damagedSeals(), testing::IsEmpty());
    flipABit(u"documents"_s, u"content"_s, u"identifier = 'R-2'"_s);
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

TEST_F(Receipts, OfALaterVersionAreNotTakenForDamaged)
{
    dao.store(sale);
    const test_support::RawDatabase raw(path(u"till.sqlite"_s));
    raw.run(u"UPDATE documents SET content = ?"_s, {storage::sealed({0x4B595264, 2}, "of tomorrow")});
    EXPECT_EQ(failure([this] { (void)dao.newestSales(10); }), u"hostStorageNewer"_s);
    EXPECT_THAT(storage::damagedSeals(), testing::IsEmpty());
}

} // namespace

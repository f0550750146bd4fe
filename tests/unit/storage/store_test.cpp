#include "host/queue/dbqueuebroker.h"
#include "host/queue/messagequeue.h"
#include "host/storage/documents.h"
#include "host/storage/journal.h"
#include "host/storage/store.h"
#include "tests/unit/storage/documents.h"
#include "tests/unit/storage/scene.h"

#include <gmock/gmock.h>

#include <thread>

using namespace Qt::StringLiterals;
using storage::Transaction;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// What another connection finds.
struct Found
{
    bool receipt = false;
    int waiting = 0;
    QStringList journal;
    bool operator==(const Found&) const = default;
};

class Store : public test_support::Storage
{
protected:
    static Found found()
    {
        Found result;
        std::thread([&] {
            result.receipt = !DocumentsDao().loadDocument(u"R-1"_s, false).isNull();
            result.waiting = MessageQueue().waitingCount();
            result.journal = storage::Journal().receipts(10);
        }).join();
        return result;
    }
    void enqueue() { broker.enqueue(u"q"_s, {{u"n"_s, 1}}, {}); }
    void closeReceipt()
    {
        dao.store(richSale(u"R-1"_s));
        enqueue();
        storage::Journal().add({{}, u"R-1"_s, u"closed"_s, {}, 0, 0, {}, 0});
    }

    DocumentsDao dao;
    DBQueueBroker broker;
};

const Found nothing{};
const Found everything{true, 1, {u"R-1"_s}};

TEST_F(Store, IsOneConnectionForAllUsersAgainAfterItFailed)
{
    dao.store(richSale(u"R-0"_s));
    enqueue();
    const auto close = [this] {
        Transaction transaction;
        closeReceipt();
        transaction.commit();
    };
    ASSERT_TRUE(QFile::rename(path(u"till.sqlite"_s), path(u"aside"_s)));
    EXPECT_EQ(failure(close), u"hostStorageGone"_s);
    ASSERT_TRUE(QFile::rename(path(u"aside"_s), path(u"till.sqlite"_s)));
    EXPECT_EQ(failure(close), QString()) << "nobody waits for a lock that another of us holds";
    EXPECT_EQ(found(), (Found{true, 2, {u"R-1"_s}}));
}

TEST_F(Store, IsOneConnectionForAllUsersOfAThreadAndAnotherInTheNext)
{
    const auto mine = storage::store();
    EXPECT_EQ(storage::store(), mine);
    std::thread([&] { EXPECT_NE(storage::store(), mine); }).join();
    closeReceipt();
    EXPECT_THAT(modes(),
                ElementsAre(u"till.sqlite 600"_s, u"till.sqlite-shm 600"_s, u"till.sqlite-wal 600"_s));
}

TEST_F(Store, IsClosedWithItsLastUser)
{
    {
        const auto mine = storage::store();
        const MessageQueue queue;
    }
    EXPECT_THAT(modes(), ElementsAre(u"till.sqlite 600"_s));
}

TEST_F(Store, OpensAnotherFileWhenTheDataDirectoryIsAnother)
{
    closeReceipt();
    storage::setDataDirectory(path(u"other"_s));
    EXPECT_EQ(MessageQueue().waitingCount(), 0);
}

TEST_F(Store, KeepsAllOfATransactionOrNothing)
{
    {
        const Transaction forgotten;
        closeReceipt();
        EXPECT_EQ(MessageQueue().waitingCount(), 1) << "seen inside";
        EXPECT_EQ(found(), nothing) << "and by nobody else";
    }
    EXPECT_EQ(found(), nothing);
    Transaction transaction;
    closeReceipt();
    transaction.commit();
    EXPECT_EQ(found(), everything);
}

TEST_F(Store, KeepsNothingOfATransactionInWhichSomethingFailedThoughItWasCaught)
{
    {
        Transaction transaction;
        closeReceipt();
        const auto other = richSale(u"R-1"_s);
        other->setFlag(1000);
        EXPECT_EQ(failure([&] { dao.store(other); }), u"hostDocumentStored"_s);
        EXPECT_EQ(failure([&] { enqueue(); }), u"hostTransactionSpoilt"_s) << "it would be kept alone";
        EXPECT_EQ(failure([&] { transaction.commit(); }), u"hostDocumentStored"_s) << "what it was";
    }
    EXPECT_EQ(found(), nothing);
    closeReceipt();
    EXPECT_EQ(found(), everything) << "the next one is not spoilt";
}

TEST_F(Store, KeepsNothingOfATransactionThatTheDiskHadNoRoomFor)
{
    enqueue();
    {
        const Transaction transaction;
        enqueue();
        {
            const test_support::FullDisk full(bytes(u"till.sqlite-wal"_s).size() + 100);
            EXPECT_EQ(failure([this] {
                          for (int i = 0; i < 3000; ++i) // until SQLite's memory is full
                              broker.enqueue(u"q"_s, {{u"body"_s, QByteArray(4000, 'x')}}, {});
                      }),
                      u"hostStorageFull"_s);
        }
        EXPECT_EQ(failure([this] { enqueue(); }), u"hostTransactionSpoilt"_s);
    }
    EXPECT_EQ(found().waiting, 1);
    enqueue();
    EXPECT_EQ(found().waiting, 2);
}

TEST_F(Store, KeepsNothingOfATransactionWhoseFileWasTakenAway)
{
    enqueue();
    {
        Transaction transaction;
        enqueue();
        ASSERT_TRUE(QFile::remove(path(u"till.sqlite"_s)));
        EXPECT_EQ(failure([&] { transaction.commit(); }), u"hostStorageGone"_s);
        EXPECT_NE(failure([this] { enqueue(); }), QString());
    }
    EXPECT_EQ(failure([this] { enqueue(); }), u"hostStorageGone"_s);
}

TEST_F(Store, UndoesATransactionInsideAnotherByItself)
{
    Transaction outer;
    enqueue();
    {
        const Transaction undone;
        enqueue();
        const auto other = richSale(u"R-1"_s);
        dao.store(other);
        other->setFlag(1000);
        EXPECT_EQ(failure([&] { dao.store(other); }), u"hostDocumentStored"_s) << "it was spoilt, too";
    }
    enqueue();
    outer.commit();
    EXPECT_EQ(found(), (Found{false, 2, {}}));
}

TEST_F(Store, KeepsATransactionInsideAnotherOnlyWithIt)
{
    {
        const Transaction undone;
        Transaction inner;
        closeReceipt();
        inner.commit();
    }
    EXPECT_EQ(found(), nothing);
    Transaction outer;
    {
        Transaction inner;
        closeReceipt();
        inner.commit();
        EXPECT_EQ(found(), nothing) << "not yet";
    }
    outer.commit();
    EXPECT_EQ(found(), everything);
}

TEST_F(Store, KeepsNothingOfATransactionThatTheDiskHadNoRoomForInsideAnother)
{
    enqueue();
    {
        Transaction outer;
        enqueue();
        {
            const Transaction inner;
            const test_support::FullDisk full(bytes(u"till.sqlite-wal"_s).size() + 100);
            EXPECT_EQ(failure([this] {
                          for (int i = 0; i < 3000; ++i) // until SQLite's memory is full
                              broker.enqueue(u"q"_s, {{u"body"_s, QByteArray(4000, 'x')}}, {});
                      }),
                      u"hostStorageFull"_s);
        }
        EXPECT_NE(failure([&] { outer.commit(); }), QString()) << "SQLite has undone all of it";
    }
    EXPECT_EQ(found().waiting, 1);
}

TEST_F(Store, LetsOtherThreadsWaitForATransaction)
{
    std::thread other;
    {
        Transaction transaction;
        enqueue();
        other = std::thread([] { MessageQueue().enqueue(u"q"_s, {}, {}, {}); });
        transaction.commit();
    }
    other.join();
    EXPECT_EQ(found().waiting, 2);
}

TEST_F(Store, KeepsTheJournalOfEachReceiptInItsOrder)
{
    storage::Journal journal;
    const auto noon = QDateTime::fromString(u"2024-05-06T12:00:00.005Z"_s, Qt::ISODateWithMs);
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    journal.add({noon, u"R-1"_s, u"attempt"_s, u"earn"_s, 7, 503, u"card 2000000000017"_s, 1234});
    journal.add({{}, u"R-2"_s, u"opened"_s, {}, 0, 0, {}, 0});
    journal.add({{}, u"R-1"_s, u"delivered"_s, u"2000000000017"_s, 7, 0, {}, 12});
    const QList<storage::JournalEntry> entries = storage::Journal().of(u"R-1"_s);
    ASSERT_EQ(entries.size(), 2);
    EXPECT_EQ(entries[1].operation, u"…0017"_s) << "some paths end with a card";
    EXPECT_EQ(entries[0].time, noon);
    EXPECT_EQ(entries[0].time.timeSpec(), Qt::UTC);
    EXPECT_EQ(entries[0].receipt, u"R-1"_s);
    EXPECT_EQ(entries[0].event, u"attempt"_s);
    EXPECT_EQ(entries[0].operation, u"earn"_s);
    EXPECT_EQ(entries[0].message, 7);
    EXPECT_EQ(entries[0].code, 503);
    EXPECT_EQ(entries[0].detail, u"card …0017"_s) << "masked";
    EXPECT_EQ(entries[0].milliseconds, 1234);
    EXPECT_EQ(entries[1].event, u"delivered"_s);
    EXPECT_GE(entries[1].time.toMSecsSinceEpoch(), before);
    EXPECT_THAT(journal.of({}), IsEmpty());
}

TEST_F(Store, ListsReceiptsOfTheJournalFromTheLatestEntryOn)
{
    storage::Journal journal;
    Transaction transaction;
    for (int i = 0; i < 3500; ++i)
        journal.add({{}, u"R-%1"_s.arg(i / 1000), u"attempt"_s, {}, 0, 0, {}, 0});
    journal.add({{}, u"R-0"_s, u"delivered"_s, {}, 0, 0, {}, 0});
    transaction.commit();
    EXPECT_THAT(journal.receipts(10), ElementsAre(u"R-0"_s, u"R-3"_s, u"R-2"_s, u"R-1"_s));
    EXPECT_THAT(journal.receipts(2), ElementsAre(u"R-0"_s, u"R-3"_s));
    EXPECT_THAT(journal.receipts(0), IsEmpty());
}

} // namespace

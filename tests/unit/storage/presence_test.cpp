#include "host/queue/dbqueuebroker.h"
#include "host/queue/messagequeue.h"
#include "host/storage/datacheck.h"
#include "host/storage/documents.h"
#include "host/storage/filelock.h"
#include "host/storage/journal.h"
#include "host/storage/store.h"
#include "tests/unit/storage/documents.h"
#include "tests/unit/storage/scene.h"

#include <gmock/gmock.h>

#include <array>
#include <thread>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const QString gone = u"hostStorageGone"_s;

class StoreBetweenUses : public test_support::Storage
{};

TEST_F(StoreBetweenUses, IsNotTakenForGoneWhenItsLastConnectionClosesAsAnotherOpens)
{
    const auto openAndClose = [] {
        for (int i = 0; i < 300; ++i)
            EXPECT_NE(failure([] { (void)storage::store(); }), gone);
    };
    const std::array others{std::jthread(openAndClose), std::jthread(openAndClose)};
    openAndClose();
}

/// A till at work with one message and one receipt in its store.
class StoreAtWork : public test_support::Storage
{
protected:
    StoreAtWork()
    {
        enqueue();
        dao.store(richSale(u"R-1"_s));
    }

    void enqueue() { broker.enqueue(u"q"_s, {{u"n"_s, 1}}, {}); }
    static void note() { storage::Journal().add({{}, u"R-1"_s, u"closed"_s, {}, 0, 0, {}, 0}); }
    static void save() { MockFactory<SaveToFileLogic>::create()->save(richSale(u"R-2"_s), {}); }
    void closeReceipt()
    {
        storage::Transaction transaction;
        dao.store(richSale(u"R-2"_s));
        enqueue();
        transaction.commit();
    }
    void replace(const QString& name) const
    {
        overwrite(u"another"_s, bytes(name));
        ASSERT_EQ(rename(QFile::encodeName(path(u"another"_s)).constData(),
                         QFile::encodeName(path(name)).constData()),
                  0);
    }
    /// No write of any kind is taken, now and later.
    void expectNothingIsKept()
    {
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(failure([] { note(); }), gone);
            EXPECT_EQ(failure([this] { enqueue(); }), gone);
            EXPECT_EQ(failure([this] { dao.store(richSale(u"R-2"_s)); }), gone);
            EXPECT_EQ(failure([this] { closeReceipt(); }), gone);
            EXPECT_EQ(failure([] { openDataDirectory(); }), gone) << "this process had another";
        }
        QString elsewhere;
        std::thread([&] { elsewhere = failure([] { (void)MessageQueue().waitingCount(); }); }).join();
        EXPECT_EQ(elsewhere, gone) << "the delivery's thread begins none either";
    }

    std::shared_ptr<storage::Database> held = storage::store();
    DocumentsDao dao;
    DBQueueBroker broker;
};

TEST_F(StoreAtWork, WhoseFileIsRemovedTakesNothingMoreAndIsNotBegunAnew)
{
    ASSERT_TRUE(QFile::remove(path(u"till.sqlite"_s)));
    expectNothingIsKept();
    EXPECT_FALSE(QFile::exists(path(u"till.sqlite"_s)));
}

TEST_F(StoreAtWork, WhoseFileIsReplacedTakesNothingMore)
{
    replace(u"till.sqlite"_s);
    const QByteArray other = bytes(u"till.sqlite"_s);
    expectNothingIsKept();
    EXPECT_EQ(bytes(u"till.sqlite"_s), other);
}

TEST_F(StoreAtWork, WhoseLogOrIndexIsRemovedOrReplacedTakesNothingMore)
{
    for (const QString& name : {u"till.sqlite-wal"_s, u"till.sqlite-shm"_s}) {
        SCOPED_TRACE(name.toStdString());
        const QString aside = path(u"aside"_s);
        ASSERT_TRUE(QFile::rename(path(name), aside));
        EXPECT_EQ(failure([this] { enqueue(); }), gone);
        EXPECT_EQ(failure([this] { closeReceipt(); }), gone);
        EXPECT_FALSE(QFile::exists(path(name)));
        overwrite(name, {});
        EXPECT_EQ(failure([this] { enqueue(); }), gone) << "replaced";
        ASSERT_EQ(rename(QFile::encodeName(aside).constData(), QFile::encodeName(path(name)).constData()), 0);
        EXPECT_EQ(failure([this] { enqueue(); }), QString()) << "back in its place";
    }
    EXPECT_EQ(MessageQueue().waitingCount(), 3);
}

TEST_F(StoreAtWork, SaysWhichFileIsGoneAndWhatToDo)
{
    ASSERT_TRUE(QFile::remove(path(u"till.sqlite-wal"_s)));
    try {
        enqueue();
        FAIL() << "taken";
    } catch (const BasicException& exception) {
        EXPECT_TRUE(exception.tr().ru().contains(path(u"till.sqlite-wal"_s)));
        EXPECT_TRUE(exception.tr().ru().contains(u"перезапустите кассу"_s));
    }
}

TEST_F(StoreAtWork, RemovedInTheMiddleOfATransactionKeepsNothingOfIt)
{
    for (const QString& name : {u"till.sqlite"_s, u"till.sqlite-wal"_s, u"till.sqlite-shm"_s}) {
        SCOPED_TRACE(name.toStdString());
        {
            storage::Transaction transaction;
            enqueue();
            ASSERT_TRUE(QFile::rename(path(name), path(u"aside"_s)));
            EXPECT_EQ(failure([&] { transaction.commit(); }), gone);
        }
        ASSERT_TRUE(QFile::rename(path(u"aside"_s), path(name)));
        EXPECT_EQ(MessageQueue().waitingCount(), 1);
    }
}

TEST_F(StoreAtWork, BeginsNoTransactionOnceItsFileIsGone)
{
    ASSERT_TRUE(QFile::remove(path(u"till.sqlite"_s)));
    EXPECT_EQ(failure([] { const storage::Transaction transaction; }), gone);
}

TEST_F(StoreAtWork, TellsWhoLooksAtTheQueueThatItIsGone)
{
    MessageQueue queue;
    ASSERT_TRUE(QFile::remove(path(u"till.sqlite"_s)));
    EXPECT_EQ(failure([&] { (void)queue.health(); }), gone);
    EXPECT_EQ(failure([&] { (void)queue.waitingCount(); }), gone);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    EXPECT_EQ(failure([&] { (void)queue.nextDue(now, now); }), gone);
}

TEST_F(StoreAtWork, WhoseFolderWasMadeAnewLeavesTheNewOneEmpty)
{
    save();
    ASSERT_TRUE(QDir().rename(path(), outer().filePath(u"aside"_s)));
    expectNothingIsKept();
    EXPECT_EQ(failure([] { save(); }), gone);
    EXPECT_FALSE(QFile::exists(path())) << "nor is it made";
    makePrivate(path());
    expectNothingIsKept();
    EXPECT_EQ(failure([] { save(); }), gone);
    EXPECT_EQ(failure([] { SaveToFileLogic::removeOpenReceipt(); }), gone);
    EXPECT_EQ(failure([] { (void)storage::FileLock::ifFree(u"queue.lock"_s); }), gone);
    EXPECT_THAT(modes(), IsEmpty());
    ASSERT_TRUE(QDir().rmdir(path()));
    ASSERT_TRUE(QDir().rename(outer().filePath(u"aside"_s), path()));
    EXPECT_EQ(failure([] { save(); }), QString()) << "back in its place";
    EXPECT_EQ(failure([this] { enqueue(); }), QString());
    EXPECT_EQ(MessageQueue().waitingCount(), 2);
}

TEST_F(StoreAtWork, IsKnownAgainWhenItWasClosedInBetween)
{
    held.reset();
    storage::setDataDirectory(path(u"other"_s));
    DocumentsDao().store(richSale(u"R-1"_s));
    ASSERT_TRUE(QFile::remove(path(u"other/till.sqlite"_s)));
    EXPECT_EQ(failure([] { storage::store(); }), gone);
    EXPECT_EQ(QDir(path(u"other"_s)).entryList(QDir::Files), QStringList());
}

TEST_F(StoreAtWork, AllowsANewOneAfterADamagedOneWasSetAside)
{
    held.reset();
    storage::setDataDirectory(path(u"other"_s));
    DocumentsDao().store(richSale(u"R-1"_s));
    overwrite(u"other/till.sqlite"_s, QByteArray(8192, 'x'));
    EXPECT_EQ(openDataDirectory().findings.size(), 1);
    EXPECT_NO_THROW(DocumentsDao().store(richSale(u"R-1"_s)));
}

using LockAtWork = test_support::Storage;

TEST_F(LockAtWork, WhoseFileIsRemovedOrReplacedIsTold)
{
    const storage::FileLock lock(u"till.lock"_s);
    EXPECT_EQ(failure([&] { lock.requireInPlace(); }), QString());
    ASSERT_TRUE(QFile::remove(path(u"till.lock"_s)));
    EXPECT_EQ(failure([&] { lock.requireInPlace(); }), gone);
    const storage::FileLock others(u"till.lock"_s);
    EXPECT_EQ(failure([&] { lock.requireInPlace(); }), gone);
    EXPECT_EQ(failure([&] { others.requireInPlace(); }), QString());
}

} // namespace

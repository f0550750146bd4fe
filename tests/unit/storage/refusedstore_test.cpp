#include "host/storage/datacheck.h"
#include "host/storage/documents.h"
#include "host/storage/quarantine.h"
#include "host/storage/storebackup.h"
#include "host/storage/storeschema.h"
#include "tests/unit/storage/documents.h"
#include "tests/unit/storage/refusedcall.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using test_support::AtCall;
using test_support::first;
using testing::IsEmpty;

namespace refused {

namespace {

/// A store with a receipt, which nobody has open.
class RefusedStore : public RefusedCall
{
protected:
    RefusedStore()
    {
        DocumentsDao().store(richSale(u"R-1"_s));
        store = storage::storePath();
    }
    [[nodiscard]] QString backUp() const
    {
        const QString copy = outer().filePath(u"backup.sqlite"_s);
        EXPECT_TRUE(storage::backUpStore(copy));
        return copy;
    }
    /// Half a page more, as a torn write leaves it.
    void damage() const { overwrite(u"till.sqlite"_s, bytes(u"till.sqlite"_s) + QByteArray(2000, 'x')); }

    QString store;
};

TEST_F(RefusedStore, IsDeniedAndNotDamagedWhenItMayNotBeOpened)
{
    const QByteArray before = bytes(u"till.sqlite"_s);
    EXPECT_EQ(
        whileRefused("open64", EACCES, [this] { storage::Database::examine(store, storage::storeFormat()); }),
        denied);
    EXPECT_EQ(bytes(u"till.sqlite"_s), before);
}

TEST_F(RefusedStore, ThatCannotBeGivenItsLogIsNotWorkedOnWithoutOne)
{
    test_support::RawDatabase(store).run(
        u"PRAGMA journal_mode=DELETE"_s); // as a restore that failed leaves it
    {
        const AtCall broken("fdatasync", test_support::failingOnce(EIO));
        EXPECT_EQ(failure([] { storage::store(); }), failed);
    }
    const auto open = storage::store();
    open->requireWritable();
    EXPECT_TRUE(QFile::exists(store + u"-wal"_s));
}

TEST_F(RefusedStore, ThatIsDamagedIsSetAsideByOneProgramOnly)
{
    damage();
    const AtCall meanwhile("flock",
                           first([this] { ASSERT_TRUE(QFile::rename(store, store + u".damaged-1"_s)); }));
    const auto opened = openDataDirectory();
    EXPECT_THAT(opened.findings, IsEmpty());
    EXPECT_FALSE(DocumentsDao().contains(u"R-1"_s)) << "it began a new one";
    EXPECT_TRUE(QFile::exists(store + u".damaged-1"_s));
}

TEST_F(RefusedStore, InWhosePlaceAnotherProgramHasPutASoundOneIsTaken)
{
    const QByteArray sound = bytes(u"till.sqlite"_s);
    damage();
    const AtCall meanwhile("flock", first([&] { overwrite(u"till.sqlite"_s, sound); }));
    const auto opened = openDataDirectory();
    EXPECT_THAT(opened.findings, IsEmpty());
    EXPECT_TRUE(DocumentsDao().contains(u"R-1"_s));
}

// As till and delivery do when the machine starts.
TEST_F(RefusedStore, IsOpenedByTwoProgramsThatBeginAtOnce)
{
    const AtCall meanwhile("rename", first([this] {
                               const int folder = open(qPrintable(path()), O_RDONLY | O_DIRECTORY);
                               const bool isFree = flock(folder, LOCK_EX | LOCK_NB) == 0;
                               close(folder);
                               if (isFree) { // else the other one waits
                                   EXPECT_THAT(openDataDirectory().findings, IsEmpty());
                               }
                           }));
    EXPECT_THAT(openDataDirectory().findings, IsEmpty());
}

TEST_F(RefusedStore, WhoseDamagedOpenReceiptAnotherProgramHasSetAsideIsSound)
{
    test_support::putOpenReceipt(path(), "no receipt");
    const AtCall meanwhile(
        "flock", first([this] { test_support::RawDatabase(store).run(u"DELETE FROM open_receipt"_s); }));
    EXPECT_THAT(openDataDirectory().findings, IsEmpty());
}

TEST_F(RefusedStore, ThatAnotherProgramHasJustMadeIsTaken)
{
    const QByteArray made = bytes(u"till.sqlite"_s);
    const QString another = path(u"another"_s);
    makePrivate(another);
    const AtCall meanwhile("flock", first([&] { overwrite(u"another/till.sqlite"_s, made); }));
    const storage::Database database(another + u"/till.sqlite"_s, storage::storeFormat());
    EXPECT_EQ(database.rows(u"SELECT identifier FROM documents"_s).size(), 1);
}

TEST_F(RefusedStore, WhoseDamagedLogAnotherProgramHasSetAsideIsOpenedWithoutIt)
{
    {
        const auto held = storage::store();
        DocumentsDao().store(richSale(u"R-2"_s));
        DocumentsDao().store(richSale(u"R-3"_s));
        makePrivate(path(u"copy"_s));
        ASSERT_TRUE(QFile::copy(store, path(u"copy/till.sqlite"_s)));
        QByteArray log = bytes(u"till.sqlite-wal"_s);
        log[100] = static_cast<char>(log[100] ^ 1);
        overwrite(u"copy/till.sqlite-wal"_s, log);
    }
    const QString copy = path(u"copy/till.sqlite"_s);
    const AtCall meanwhile("flock", first([&] { ASSERT_TRUE(QFile::remove(copy + u"-wal"_s)); }));
    const storage::Database database(copy, storage::storeFormat());
    EXPECT_EQ(database.damagedLog(), QString());
}

TEST_F(RefusedStore, IsNotUnderSuspicionWhenItIsOnlyOfALaterVersion)
{
    test_support::RawDatabase(store).run(u"PRAGMA user_version=99"_s);
    EXPECT_EQ(failure([] { storage::readThroughStore(); }), u"hostStorageNewer"_s);
    EXPECT_FALSE(QFile::exists(store + u".suspect"_s));
}

TEST_F(RefusedStore, StaysWhereItIsWhenABackupCannotTakeItsPlace)
{
    const QString copy = backUp();
    const auto before = storage::identityOf(store);
    for (const char* function : {"link", "rename"}) {
        EXPECT_EQ(whileRefused(function, EPERM, [&] { storage::restoreStore(copy); }), denied) << function;
        EXPECT_EQ(storage::identityOf(store), before) << function;
        EXPECT_TRUE(DocumentsDao().contains(u"R-1"_s)) << function;
    }
    EXPECT_EQ(failure([&] { storage::restoreStore(copy); }), QString());
    EXPECT_NE(storage::identityOf(store), before);
}

TEST_F(RefusedStore, IsNotRestoredFromABackupThatCannotBeCopied)
{
    const QString copy = backUp();
    const auto restore = [&] { storage::restoreStore(copy); };
    const QByteArray before = bytes(u"till.sqlite"_s);
    EXPECT_EQ(failure([] { storage::restoreStore(u"/no/such/file"_s); }), failed);
    EXPECT_EQ(whileBroken("read", restore), failed);
    EXPECT_EQ(whileBroken("write", restore), failed);
    EXPECT_EQ(whileRefused("write", ENOSPC, restore), diskFull);
    EXPECT_EQ(whileBroken("mknod", restore), failed);
    {
        const AtCall meanwhile("read", first([&] { QFile::resize(copy, 0); }));
        EXPECT_EQ(failure(restore), failed) << "it ends before its end";
    }
    EXPECT_EQ(bytes(u"till.sqlite"_s), before);
    EXPECT_THAT(names().filter(u"unfinished"_s), IsEmpty());
}

TEST_F(RefusedStore, ThatCannotBeOpenedIsNotReplaced)
{
    const QString copy = backUp();
    ASSERT_TRUE(QFile::remove(store));
    makePrivate(store);
    EXPECT_EQ(failure([&] { storage::restoreStore(copy); }), strange);
    EXPECT_TRUE(QFileInfo(store).isDir());
}

} // namespace

} // namespace refused

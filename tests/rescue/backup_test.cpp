// Copies of the store that are made while it is worked with, and put back.

#include "host/storage/storebackup.h"
#include "host/storage/storedform.h"
#include "tests/rescue/scene.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace rescuetest {

namespace {

class Backup : public TwoStores
{
protected:
    [[nodiscard]] QString copy() const { return outer().filePath(u"backup.sqlite"_s); }
    /// All that lies beside the data directory.
    [[nodiscard]] QStringList beside() const
    {
        return QDir(outer().path()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }
    /// What a statement finds in the copy, without changing anything.
    [[nodiscard]] QString inCopy(const QString& sql) const
    {
        return test_support::RawDatabase(copy()).run(sql).value(0).value(0).toString();
    }
    static QString telling(const std::function<void()>& call)
    {
        try {
            call();
        } catch (const BasicException& failure) {
            return failure.tr().ru();
        }
        return {};
    }
};

TEST_F(Backup, HoldsAllOfTheStoreAndTellsWhat)
{
    sell(u"R-1"_s);
    MessageQueue().delivered(send(u"R-1"_s), {});
    send(u"R-1"_s);
    MessageQueue().park(send(u"R-2"_s), {});
    leaveOpen(u"R-3"_s);

    const auto contents = storage::backUpStore(copy());

    ASSERT_TRUE(contents);
    EXPECT_EQ(contents->rows[u"documents"_s], 1);
    EXPECT_EQ(contents->rows[u"history"_s], 1);
    EXPECT_EQ(contents->rows[u"journal"_s], 6);
    EXPECT_EQ(contents->waiting, 1);
    EXPECT_EQ(contents->parked, 1);
    EXPECT_EQ(contents->openReceipt, u"R-3"_s);
    EXPECT_LE(contents->newest.msecsTo(QDateTime::currentDateTimeUtc()), 60'000);
    EXPECT_THAT(contents->damaged, IsEmpty());
    EXPECT_THAT(beside(), ElementsAre(u"backup.sqlite"_s)) << "one file";
    EXPECT_EQ(mode(copy()), 0600U);
    EXPECT_EQ(inCopy(u"PRAGMA application_id"_s), u"1264145012"_s);
    EXPECT_EQ(inCopy(u"PRAGMA user_version"_s), u"1"_s);
    EXPECT_EQ(inCopy(u"SELECT seq FROM sqlite_sequence"_s), u"3"_s);
    EXPECT_EQ(
        inCopy(u"SELECT count(*) FROM sqlite_master"_s),
        test_support::RawDatabase(file()).run(u"SELECT count(*) FROM sqlite_master"_s)[0][0].toString());
}

TEST_F(Backup, CanBePutInPlaceByItsNameAlone)
{
    send(u"R-1"_s);
    ASSERT_TRUE(storage::backUpStore(copy()));
    makePrivate(otherFolder());
    ASSERT_TRUE(QFile::rename(copy(), otherFile()));
    goToTheOther();
    const auto open = storage::store();
    EXPECT_EQ(waiting().size(), 1);
    EXPECT_EQ(MessageQueue().waitingCount(), 1) << "its log belongs to it";
    EXPECT_EQ(send(u"R-1"_s), 2);
}

TEST_F(Backup, IsOfOneMomentWhileATillGoesOnSelling)
{
    sellMany(300);
    std::atomic<bool> enough = false;
    std::atomic<int> sold = 0;
    std::atomic<bool> failed = false;
    std::jthread till([&] {
        try {
            while (!enough)
                sell(u"B-%1"_s.arg(++sold));
        } catch (const std::exception&) {
            failed = true;
        }
    });
    int during = 0;
    for (int i = 0; i < 50 && during < 3; ++i) {
        QFile::remove(copy());
        const int before = sold;
        ASSERT_TRUE(storage::backUpStore(copy()));
        during = sold - before;
        EXPECT_EQ(inCopy(u"SELECT count(*) FROM documents"_s),
                  inCopy(u"SELECT count(*) FROM journal WHERE event = 'closed'"_s));
    }
    enough = true;
    till.join();
    EXPECT_FALSE(failed);
    EXPECT_GE(during, 3) << "nobody sold meanwhile";
}

TEST_F(Backup, ReplacesNothing)
{
    sell(u"R-1"_s);
    overwrite(u"../backup.sqlite"_s, "mine");
    EXPECT_FALSE(storage::backUpStore(copy()));
    EXPECT_EQ(bytes(u"../backup.sqlite"_s), "mine");
    ASSERT_TRUE(QFile::remove(copy()) && QFile::link(u"nowhere"_s, copy()));
    EXPECT_FALSE(storage::backUpStore(copy()));
}

TEST_F(Backup, OnAFullDiskLeavesNothingBehind)
{
    sellMany(300);
    const test_support::FullDisk full(qint64{48} * 1024);
    EXPECT_EQ(failure([&] { storage::backUpStore(copy()); }), u"hostStorageFull"_s);
    EXPECT_THAT(telling([&] { storage::backUpStore(copy()); }).toStdString(),
                HasSubstr(copy().toStdString()));
    EXPECT_THAT(beside(), IsEmpty());
}

TEST_F(Backup, OfADamagedStoreIsNone)
{
    sellMany(300);
    test_support::RawDatabase(file()).run(u"PRAGMA wal_checkpoint(TRUNCATE)"_s);
    QByteArray content = bytes(u"till.sqlite"_s);
    std::fill_n(content.data() + content.size() - 4096, 4096, '\0');
    overwrite(u"till.sqlite"_s, content);
    EXPECT_EQ(failure([&] { storage::backUpStore(copy()); }), u"hostStorageDamaged"_s);
    EXPECT_THAT(beside(), IsEmpty());
}

TEST_F(Backup, OfAStoreWithADamagedReceiptIsMadeAndTellsOfIt)
{
    sell(u"R-1"_s);
    sell(u"R-2"_s);
    leaveOpen(u"R-3"_s);
    flipABit(u"documents"_s, u"content"_s, u"identifier = 'R-1'"_s);
    flipABit(u"open_receipt"_s, u"content"_s, u"1"_s);
    const auto contents = storage::backUpStore(copy());
    ASSERT_TRUE(contents);
    EXPECT_EQ(contents->rows[u"documents"_s], 2);
    ASSERT_EQ(contents->damaged.size(), 2);
    EXPECT_EQ(contents->damaged[0].key, u"R-1"_s);
    EXPECT_EQ(contents->damaged[1].table, u"open_receipt"_s);
}

class Restoring : public Backup
{
protected:
    /// The data directory's files with their content.
    [[nodiscard]] QMap<QString, QByteArray> all() const
    {
        QMap<QString, QByteArray> files;
        for (const QString& name : QDir(path()).entryList(QDir::Files | QDir::Hidden))
            files.insert(name, bytes(name));
        return files;
    }
    static void edit(const QString& file, qsizetype at, char byte)
    {
        QFile edited(file);
        ASSERT_TRUE(edited.open(QIODevice::ReadWrite) && edited.seek(at) && edited.write(&byte, 1) == 1);
    }
};

TEST_F(Restoring, PutsTheBackupInPlaceAndSetsTheFormerStoreAsideWithAllThatItHas)
{
    sell(u"R-1"_s);
    send(u"R-1"_s, u"delivered since"_s);
    send(u"R-1"_s, u"waits still"_s);
    ASSERT_TRUE(storage::backUpStore(copy()));
    MessageQueue().delivered(1, {});
    sell(u"R-2"_s);
    send(u"R-2"_s, u"new"_s);
    leaveOpen(u"R-3"_s);

    const storage::RestoredStore restored = storage::restoreStore(copy());

    EXPECT_THAT(restored.receiptsBehind, ElementsAre(u"R-2"_s));
    EXPECT_EQ(restored.openBehind, u"R-3"_s);
    EXPECT_THAT(restored.messagesBehind, ElementsAre(3));
    EXPECT_EQ(restored.mayBeDelivered, 1);
    EXPECT_TRUE(restored.isFormerKnown);
    EXPECT_EQ(restored.contents.waiting, 2);
    EXPECT_THAT(waiting(), ElementsAre(u"1 R-1 delivered since"_s, u"2 R-1 waits still"_s));
    EXPECT_THAT(sales(), ElementsAre(u"R-1"_s));
    EXPECT_EQ(mode(file()), 0600U);
    EXPECT_EQ(test_support::RawDatabase(restored.former)
                  .run(u"SELECT group_concat(identifier) FROM documents"_s)[0][0]
                  .toString(),
              u"R-1,R-2"_s);
    EXPECT_EQ(mode(restored.former), 0600U);
    EXPECT_TRUE(restored.former.startsWith(file() + u".replaced-"_s));
}

TEST_F(Restoring, WorksWhereThereIsNoStoreYet)
{
    sell(u"R-1"_s);
    send(u"R-1"_s);
    send(u"R-1"_s);
    ASSERT_TRUE(storage::backUpStore(copy()));
    goToTheOther();

    const storage::RestoredStore restored = storage::restoreStore(copy());

    EXPECT_EQ(restored.former, QString());
    EXPECT_EQ(restored.mayBeDelivered, 2);
    EXPECT_THAT(sales(), ElementsAre(u"R-1"_s));
    EXPECT_EQ(send(u"R-2"_s), 3);
    EXPECT_EQ(mode(otherFolder()), 0700U);
    EXPECT_EQ(mode(otherFile()), 0600U);
}

TEST_F(Restoring, LeavesNoSuspicionOfWhatWasThereBefore)
{
    sell(u"R-1"_s);
    ASSERT_TRUE(storage::backUpStore(copy()));
    for (const QString& name : {file(), file() + u".suspect"_s}) {
        QFile damaged(name);
        ASSERT_TRUE(damaged.open(QIODevice::WriteOnly | QIODevice::Truncate));
        damaged.write("no database at all");
    }
    storage::restoreStore(copy());
    EXPECT_FALSE(QFile::exists(file() + u".suspect"_s));
}

TEST_F(Restoring, TakesAFileWithItsLog)
{
    const auto open = storage::store(); // else its log is folded into it
    sell(u"R-1"_s);
    ASSERT_TRUE(QFile::copy(file(), copy()) && QFile::copy(file() + u"-wal"_s, copy() + u"-wal"_s));
    goToTheOther();
    storage::restoreStore(copy());
    EXPECT_THAT(sales(), ElementsAre(u"R-1"_s));
}

TEST_F(Restoring, ChangesNothingWhenTheFileIsDamagedOrStrangeOrOfALaterVersion)
{
    sellMany(100);
    ASSERT_TRUE(storage::backUpStore(copy()));
    const QByteArray whole = bytes(u"../backup.sqlite"_s);
    const auto before = all();
    const auto refused = [this] { return failure([this] { storage::restoreStore(copy()); }); };

    constexpr qsizetype version = 63;
    edit(copy(), version, 2);
    EXPECT_EQ(refused(), u"hostStorageNewer"_s);
    overwrite(u"../backup.sqlite"_s, whole.first(whole.size() - 4096));
    EXPECT_EQ(refused(), u"hostStorageDamaged"_s);
    overwrite(u"../backup.sqlite"_s, "something else");
    EXPECT_EQ(refused(), u"hostStorageDamaged"_s);
    overwrite(u"../backup.sqlite"_s, whole);
    test_support::flipABit(copy(), u"documents"_s, u"content"_s, u"identifier = 'R-50'"_s);
    EXPECT_EQ(refused(), u"hostStorageDamaged"_s);
    EXPECT_THAT(telling([this] { storage::restoreStore(copy()); }).toStdString(),
                HasSubstr(copy().toStdString()));
    ASSERT_TRUE(QFile::rename(copy(), copy() + u"2"_s) && QFile::link(copy() + u"2"_s, copy()));
    EXPECT_EQ(refused(), u"hostStorageStrange"_s);
    EXPECT_EQ(all(), before);
}

TEST_F(Restoring, IsRefusedWhileAProgramHasTheStoreOpen)
{
    sell(u"R-1"_s);
    ASSERT_TRUE(storage::backUpStore(copy()));
    const auto open = storage::store();
    EXPECT_EQ(failure([this] { storage::restoreStore(copy()); }), u"hostStorageLocked"_s);
    EXPECT_FALSE(modes().join(u' ').contains(u"replaced"_s));
    sell(u"R-2"_s);
}

TEST_F(Restoring, SetsADamagedStoreAsideWithItsLog)
{
    sell(u"R-1"_s);
    ASSERT_TRUE(storage::backUpStore(copy()));
    overwrite(u"till.sqlite"_s, "damaged");
    overwrite(u"till.sqlite-wal"_s, "its log");

    const storage::RestoredStore restored = storage::restoreStore(copy());

    EXPECT_FALSE(restored.isFormerKnown);
    const QString former = QFileInfo(restored.former).fileName();
    EXPECT_EQ(bytes(former), "damaged");
    EXPECT_EQ(bytes(former + u"-wal"_s), "its log");
    EXPECT_THAT(sales(), ElementsAre(u"R-1"_s));
}

TEST_F(Backup, OfAStoreInWhichNothingHappenedYetKnowsOfNoTime)
{
    (void)storage::store();
    const auto contents = storage::backUpStore(copy());
    ASSERT_TRUE(contents);
    EXPECT_FALSE(contents->newest.isValid());
    EXPECT_EQ(contents->openReceipt, QString());
    EXPECT_EQ(contents->waiting, 0);
    EXPECT_EQ(contents->parked, 0);
}

TEST_F(Backup, OfAStoreWhoseRowsBreakItsOwnRulesIsNone)
{
    leaveOpen(u"R-1"_s);
    {
        const test_support::RawDatabase raw(file());
        raw.run(u"PRAGMA ignore_check_constraints=ON"_s);
        raw.run(u"INSERT INTO open_receipt SELECT 2, content FROM open_receipt"_s);
    }
    EXPECT_EQ(failure([this] { storage::backUpStore(copy()); }), u"hostStorageDamaged"_s);
    EXPECT_THAT(beside(), IsEmpty());
}

TEST_F(Backup, OfAStoreWhoseOpenReceiptIsOfALaterVersionIsNone)
{
    leaveOpen(u"R-1"_s);
    test_support::putOpenReceipt(path(), storage::sealed({0x4B595264, 2}, "of tomorrow"));
    EXPECT_EQ(failure([this] { storage::backUpStore(copy()); }), u"hostStorageNewer"_s);
    EXPECT_THAT(beside(), IsEmpty());
}

TEST_F(Restoring, KnowsAnOpenReceiptThatBothHaveAndAMessageThatTheBackupHasDelivered)
{
    leaveOpen(u"R-1"_s);
    const qint64 id = send(u"R-1"_s);
    const QString earlier = outer().filePath(u"earlier.sqlite"_s);
    ASSERT_TRUE(storage::backUpStore(earlier));
    MessageQueue().delivered(id, {});
    ASSERT_TRUE(storage::backUpStore(copy()));
    const auto back = storage::restoreStore(earlier);
    EXPECT_EQ(back.openBehind, QString());
    EXPECT_EQ(back.mayBeDelivered, 1);

    const auto forth = storage::restoreStore(copy());
    EXPECT_EQ(forth.openBehind, QString());
    EXPECT_THAT(forth.messagesBehind, IsEmpty()) << "it is delivered";
    EXPECT_EQ(forth.mayBeDelivered, 0);
    EXPECT_EQ(openReceipt(), u"R-1"_s);
}

TEST_F(Restoring, ReplacesAStoreOfALaterVersionWithoutLookingIntoIt)
{
    sell(u"R-1"_s);
    ASSERT_TRUE(storage::backUpStore(copy()));
    test_support::RawDatabase(file()).run(u"PRAGMA user_version=99"_s);
    EXPECT_FALSE(storage::restoreStore(copy()).isFormerKnown);
    EXPECT_THAT(sales(), ElementsAre(u"R-1"_s));
}

TEST_F(Restoring, TakesNoFileWhoseLogIsDamaged)
{
    const auto held = storage::store();
    for (int i = 0; i < 4; ++i)
        sell(u"R-%1"_s.arg(i));
    ASSERT_TRUE(QFile::copy(file(), copy()));
    QByteArray log = bytes(u"till.sqlite-wal"_s);
    log[100] = static_cast<char>(log[100] ^ 1);
    overwrite(u"../backup.sqlite-wal"_s, log);
    EXPECT_EQ(failure([this] { storage::restoreStore(copy()); }), u"hostStorageDamaged"_s);
}

} // namespace

} // namespace rescuetest

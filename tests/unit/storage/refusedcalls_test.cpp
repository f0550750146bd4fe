// What the operating system refuses now and then, and what other programs do between two of its calls.

#include "host/storage/datacheck.h"
#include "host/storage/documentcodec.h"
#include "host/storage/documents.h"
#include "host/storage/durablefile.h"
#include "host/storage/filelock.h"
#include "host/storage/lockholder.h"
#include "host/storage/quarantine.h"
#include "host/storage/storebackup.h"
#include "host/storage/storeschema.h"
#include "tests/support/atcall.h"
#include "tests/unit/storage/documents.h"
#include "tests/unit/storage/scene.h"

#include <QProcess>

#include <gmock/gmock.h>

#include <cerrno>
#include <fcntl.h>

using namespace Qt::StringLiterals;
using test_support::AtCall;
using test_support::failing;
using test_support::failingOnce;
using test_support::first;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const QString failed = u"hostStorageFailed"_s;
const QString denied = u"hostStorageDenied"_s;
const QString diskFull = u"hostStorageFull"_s;
const QString strange = u"hostStorageStrange"_s;
const QString damaged = u"hostStorageDamaged"_s;

class RefusedCall : public test_support::Storage
{
protected:
    RefusedCall() { file = storage::dataFile(u"file"_s); }

    /// What comes of it while each such call fails with that error.
    template <class Operation>
    static QString whileRefused(const char* function, int error, Operation operation)
    {
        const AtCall refused(function, failing(error));
        return failure(operation);
    }
    /// And while the disk does not write what it is given.
    template <class Operation>
    static QString whileBroken(const char* function, Operation operation)
    {
        return whileRefused(function, EIO, operation);
    }
    [[nodiscard]] QStringList names() const
    {
        return QDir(path()).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    }

    QString file;
};

TEST_F(RefusedCall, IsToldByWhatTheAdministratorCanDoAboutIt)
{
    const QList<std::pair<int, QString>> meanings{{ENOSPC, diskFull}, {EDQUOT, diskFull}, {EFBIG, diskFull},
                                                  {EACCES, denied},   {EPERM, denied},    {EROFS, denied},
                                                  {EIO, failed},      {EMFILE, failed}};
    for (const auto& [error, meaning] : meanings)
        EXPECT_EQ(whileRefused("rename", error, [this] { storage::replaceFile(file, "x"); }), meaning)
            << error;
}

TEST_F(RefusedCall, AtTheReplacementOfAFileLeavesTheOldOneAndNothingBeside)
{
    storage::replaceFile(file, "old");
    for (const char* function : {"fchmod", "write", "fsync", "rename"}) {
        EXPECT_EQ(whileBroken(function, [this] { storage::replaceFile(file, "new"); }), failed) << function;
        EXPECT_EQ(bytes(u"file"_s), "old") << function;
        EXPECT_THAT(names(), ElementsAre(u"file"_s)) << function;
    }
}

TEST_F(RefusedCall, ThatWasOnlyInterruptedIsMadeAgain)
{
    {
        const AtCall interrupted("write", failingOnce(EINTR));
        storage::replaceFile(file, "content");
    }
    EXPECT_EQ(bytes(u"file"_s), "content");
    const AtCall interrupted("flock", failingOnce(EINTR));
    EXPECT_EQ(failure([this] { const storage::FolderLock lock(file); }), QString());
}

TEST_F(RefusedCall, AtTheMakingOfAPrivateFileIsTold)
{
    const auto ensure = [this] { storage::ensurePrivateFile(file); };
    EXPECT_EQ(whileBroken("mknod", ensure), failed);
    EXPECT_EQ(whileBroken("lstat", ensure), failed);
    ASSERT_EQ(chmod(QFile::encodeName(file).constData(), 0644), 0);
    EXPECT_EQ(whileRefused("fchmodat", EPERM, ensure), denied) << "others could read it";
    EXPECT_EQ(mode(file), 0644U);
    ensure();
    EXPECT_EQ(mode(file), 0600U);
    EXPECT_EQ(whileRefused("fchmodat", EPERM, ensure), QString()) << "there is nothing to be done";
}

TEST_F(RefusedCall, AtTheMakingOfAnUnfinishedFileLeavesNothing)
{
    EXPECT_EQ(whileBroken("fchmod", [this] { storage::newPrivateFile(file); }), failed);
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(RefusedCall, AtALookIsTold)
{
    EXPECT_EQ(whileRefused("lstat", EACCES, [this] { storage::requirePlainFile(file); }), denied);
    EXPECT_EQ(whileRefused("lstat", ENOENT, [this] { storage::requirePlainFile(file); }), QString());
    overwrite(u"file"_s, "x");
    EXPECT_EQ(whileBroken("fstat", [this] { storage::openPlainFile(file); }), strange);
    EXPECT_EQ(whileRefused("open", EACCES, [this] { storage::readFile(file); }), denied);
    EXPECT_EQ(whileBroken("read", [this] { storage::readFile(file); }), failed);
}

TEST_F(RefusedCall, AtAPipeThatTookTheFilesPlaceMakesNobodyWait)
{
    overwrite(u"file"_s, "x");
    const AtCall meanwhile("open", first([this] {
                               QFile::remove(file);
                               ASSERT_EQ(mkfifo(QFile::encodeName(file).constData(), 0600), 0);
                           }));
    EXPECT_EQ(failure([this] { storage::openPlainFile(file); }), strange);
}

TEST_F(RefusedCall, AtASyncIsTold)
{
    const auto sync = [this] { storage::syncFile(file); };
    EXPECT_EQ(failure(sync), failed) << "there is no such file";
    overwrite(u"file"_s, "x");
    EXPECT_EQ(failure(sync), QString());
    EXPECT_EQ(whileBroken("fsync", sync), failed);
    EXPECT_EQ(whileBroken("fsync", [this] { storage::syncDirectoryOf(file); }), failed);
    EXPECT_EQ(whileBroken("open", [this] { storage::syncDirectoryOf(file); }), failed);
}

TEST_F(RefusedCall, AtARenamingIsToldUnlessThereIsNothingToRenameOrTheNameIsTaken)
{
    const QString to = path(u"to"_s);
    EXPECT_FALSE(storage::moveToNewName(file, to));
    overwrite(u"file"_s, "x");
    EXPECT_EQ(whileBroken("renameat2", [&] { storage::moveToNewName(file, to); }), failed);
    overwrite(u"to"_s, "y");
    EXPECT_FALSE(storage::moveToNewName(file, to));
    EXPECT_EQ(bytes(u"to"_s), "y");
    ASSERT_TRUE(QFile::remove(to));
    EXPECT_TRUE(storage::moveToNewName(file, to));
    EXPECT_THAT(names(), ElementsAre(u"to"_s));
}

TEST_F(RefusedCall, AtARemovalIsToldUnlessAnotherProgramWasQuicker)
{
    const auto remove = [this] { storage::removeFile(file); };
    overwrite(u"file"_s, "x");
    EXPECT_EQ(whileRefused("unlink", EACCES, remove), denied);
    EXPECT_EQ(whileRefused("unlink", ENOENT, remove), QString());
    overwrite(u"file.unfinished-abcdef"_s, "x");
    EXPECT_EQ(whileRefused("unlink", EACCES, [this] { storage::removeUnfinished(file); }), denied);
    EXPECT_EQ(whileRefused("unlink", ENOENT, [this] { storage::removeUnfinished(file); }), QString());
    remove();
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(RefusedCall, AtALockIsTold)
{
    EXPECT_EQ(failure([this] { const storage::FolderLock lock(path(u"none/file"_s)); }), failed);
    EXPECT_EQ(whileBroken("flock", [this] { const storage::FolderLock lock(file); }), failed);
    EXPECT_EQ(whileBroken("flock", [] { const storage::FileLock lock(u"till.lock"_s); }), failed);
    const storage::FileLock lock(u"till.lock"_s);
    EXPECT_EQ(whileBroken("fstat", [&lock] { lock.requireInPlace(); }), u"hostStorageGone"_s);
}

TEST_F(RefusedCall, AtTheDataDirectoryIsTold)
{
    const auto use = [this] {
        storage::setDataDirectory(path(u"of/another"_s));
        (void)storage::dataFile(u"x"_s);
    };
    EXPECT_EQ(whileRefused("mkdir", EACCES, use), denied);
    EXPECT_EQ(whileRefused("chmod", EPERM, use), denied);
    EXPECT_EQ(whileRefused("open", EACCES, use), denied);
    EXPECT_EQ(failure(use), QString());
    EXPECT_EQ(whileRefused("open", EACCES, use), denied) << "that is there";
    EXPECT_EQ(failure(use), QString());
    EXPECT_EQ(whileBroken("fstat", [] { (void)storage::dataFile(u"x"_s); }), failed);
}

TEST_F(RefusedCall, AtADataDirectoryThatAnotherProgramHasJustMadeIsNone)
{
    storage::setDataDirectory(path(u"another"_s));
    const AtCall meanwhile("mkdir", first([this] { makePrivate(path(u"another"_s)); }));
    EXPECT_EQ(storage::dataFile(u"x"_s), path(u"another/x"_s));
}

TEST_F(RefusedCall, AtADataDirectoryInWhosePlaceAFileAppearsIsTold)
{
    storage::setDataDirectory(path(u"another"_s));
    const AtCall meanwhile("mkdir", first([this] { overwrite(u"another"_s, "x"); }));
    EXPECT_EQ(failure([] { (void)storage::dataFile(u"x"_s); }), failed);
}

TEST_F(RefusedCall, IsNoneToRootWhosoeversTheFileIs)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can give a file away";
    overwrite(u"file"_s, "x");
    ASSERT_EQ(chown(QFile::encodeName(file).constData(), 65534, 65534), 0);
    EXPECT_EQ(failure([this] { storage::requirePlainFile(file); }), QString());
}

TEST_F(RefusedCall, IsOneToAnybodyElseWhoseFileItIsNot)
{
    const test_support::Nobody nobody;
    try {
        storage::requirePlainFile(u"/etc/passwd"_s);
        FAIL() << "taken";
    } catch (const BasicException& exception) {
        EXPECT_EQ(exception.tr().id(), denied);
        EXPECT_TRUE(exception.tr().ru().contains(u"it belongs to another user"_s));
    }
}

TEST_F(RefusedCall, IsNoneBecauseOfAProgramThatWasBegunWhileTheLockWasHeld)
{
    auto lock = std::make_unique<storage::FolderLock>(file);
    QProcess other;
    other.start(u"sleep"_s, {u"60"_s});
    ASSERT_TRUE(other.waitForStarted());
    lock.reset();
    EXPECT_EQ(failure([this] { const storage::FolderLock again(file); }), QString());
    other.kill();
    other.waitForFinished();
}

TEST_F(RefusedCall, DoesNotSayWhoHoldsALockThatNobodyHoldsOrNoProcess)
{
    EXPECT_EQ(storage::lockHolder(file), QString()) << "there is no such file";
    QFile held(file);
    ASSERT_TRUE(held.open(QIODevice::ReadWrite));
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    ASSERT_EQ(fcntl(held.handle(), F_OFD_SETLK, &lock), 0);
    EXPECT_EQ(storage::lockHolder(file), QString()) << "a lock of an open file, not of a process";
    const AtCall refused("open64", failing(EACCES));
    EXPECT_EQ(storage::lockHolder(file), QString()) << "the system's table may not be read";
}

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

using Quarantine = RefusedCall;

TEST_F(Quarantine, OfAFileThatIsThereHasNothingToFinish)
{
    for (const char* name : {"file", "file-wal"})
        overwrite(QString::fromLatin1(name), "x");
    EXPECT_THAT(storage::finishQuarantine(file), IsEmpty());
    EXPECT_THAT(names(), ElementsAre(u"file"_s, u"file-wal"_s));
}

TEST_F(Quarantine, BringsAllThatWasLeftToTheFileThatWasSetAsideLast)
{
    for (const char* name :
         {"file.damaged-1", "file.damaged-1-wal", "file.damaged-2", "file-wal", "file-shm"})
        overwrite(QString::fromLatin1(name), name);
    EXPECT_THAT(storage::finishQuarantine(file),
                ElementsAre(file + u".damaged-2-wal"_s, file + u".damaged-2-shm"_s));
    EXPECT_EQ(bytes(u"file.damaged-2-wal"_s), "file-wal");
    EXPECT_EQ(bytes(u"file.damaged-2-shm"_s), "file-shm");
    EXPECT_EQ(bytes(u"file.damaged-1-wal"_s), "file.damaged-1-wal");
}

TEST_F(Quarantine, GivesWhatWasLeftANameOfItsOwnWhereTheFileSetAsideHasItsOwn)
{
    for (const char* name : {"file.damaged-1", "file.damaged-1-wal", "file-wal", "file-shm"})
        overwrite(QString::fromLatin1(name), name);
    const QStringList now = storage::finishQuarantine(file);
    ASSERT_EQ(now.size(), 2);
    EXPECT_NE(now[0], file + u".damaged-1-wal"_s);
    EXPECT_TRUE(now[0].endsWith(u"-wal"_s));
    EXPECT_EQ(now[1], QString(now[0]).replace(u"-wal"_s, u"-shm"_s)) << "together";
    EXPECT_EQ(bytes(u"file.damaged-1-wal"_s), "file.damaged-1-wal");
}

TEST_F(Quarantine, CountsFromTwoWhereTheNameIsTaken)
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (int second = 0; second < 60; ++second)
        overwrite(u"file.damaged-"_s + now.addSecs(second).toString(u"yyyyMMdd'T'HHmmss'Z'"_s), {});
    EXPECT_TRUE(storage::quarantineContent(file, "x").endsWith(u"Z-2"_s));
}

TEST_F(Quarantine, ListsWhatWasSetAsideByItsNamesTimeAndNotTheFiles)
{
    overwrite(u"file.damaged-1"_s, {});
    overwrite(u"file.damaged-2"_s, {});
    overwrite(u"file.damaged-2-wal"_s, {});
    overwrite(u"file.replaced-3"_s, {});
    for (const auto& [name, age] :
         {std::pair(u"file.damaged-1"_s, 2000), std::pair(u"file.damaged-2"_s, 1000)}) {
        QFile aged(path(name));
        ASSERT_TRUE(aged.open(QIODevice::ReadWrite));
        ASSERT_TRUE(
            aged.setFileTime(QDateTime::currentDateTime().addSecs(-age), QFileDevice::FileModificationTime));
    }
    EXPECT_THAT(storage::quarantinedFiles(), ElementsAre(file + u".damaged-1"_s, file + u".damaged-2"_s));
    EXPECT_THAT(storage::replacedFiles(), ElementsAre(file + u".replaced-3"_s));
}

} // namespace

#include "host/storage/durablefile.h"
#include "host/storage/filelock.h"
#include "host/storage/lockholder.h"
#include "tests/support/leftout.h"
#include "tests/unit/storage/refusedcall.h"

#include <QProcess>

#include <gmock/gmock.h>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using test_support::AtCall;
using test_support::failing;
using test_support::failingOnce;
using test_support::first;
using testing::ElementsAre;
using testing::IsEmpty;

namespace refused {

namespace {

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
        LEAVE_OUT("only root can give a file away");
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
    const AtCall call("open64", failing(EACCES));
    EXPECT_EQ(storage::lockHolder(file), QString()) << "the system's table may not be read";
}

} // namespace

} // namespace refused

#include "host/queue/messagequeue.h"
#include "host/queue/queuedelivery.h"
#include "host/storage/datacheck.h"
#include "host/storage/documents.h"
#include "host/storage/durablefile.h"
#include "host/storage/filelock.h"
#include "tests/unit/storage/documents.h"
#include "tests/unit/storage/scene.h"

#include <gmock/gmock.h>

#include <array>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <sys/file.h>
#include <sys/wait.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

using DataDirectory = test_support::Storage;
using PrivateFile = test_support::Storage;
using FileLock = test_support::Storage;

TEST_F(DataDirectory, UnsetIsToldByAnIdentifierOfItsOwn)
{
    storage::setDataDirectory({});
    EXPECT_EQ(failure([] { storage::dataFile(u"x"_s); }), u"hostDataDirectoryUnset"_s);
}

TEST_F(DataDirectory, IsMadeForItsOwnerAloneWhateverTheUmask)
{
    for (const mode_t mask : {0U, 022U, 0777U}) {
        umask(mask);
        const QString directory = path(u"of/%1"_s.arg(mask));
        storage::setDataDirectory(directory);
        EXPECT_EQ(storage::dataFile(u"x"_s), directory + u"/x"_s);
        EXPECT_EQ(mode(directory), 0700U) << mask;
        EXPECT_EQ(mode(path(u"of"_s)), 0700U) << mask;
    }
}

TEST_F(DataDirectory, StaysAsItIsWhenItExists)
{
    ASSERT_TRUE(QDir().mkdir(path()));
    ASSERT_EQ(chmod(QFile::encodeName(path()).constData(), 0750), 0);
    (void)storage::dataFile(u"x"_s);
    EXPECT_EQ(mode(path()), 0750U);
}

TEST_F(DataDirectory, LeavesAnAbsoluteNameAlone)
{
    storage::setDataDirectory({});
    EXPECT_EQ(storage::dataFile(u"/some/where"_s), u"/some/where"_s);
}

TEST_F(DataDirectory, IsTheFolderOfTheMomentItWasNamed)
{
    const QString before = QDir::currentPath();
    storage::setDataDirectory(u"relative"_s);
    ASSERT_TRUE(QDir::setCurrent(outer().path()));
    storage::setDataDirectory(u"relative"_s);
    ASSERT_TRUE(QDir::setCurrent(before));
    EXPECT_EQ(storage::dataFile(u"x"_s), outer().filePath(u"relative/x"_s));
}

TEST_F(DataDirectory, ThatCannotBeMadeIsToldWithItsPath)
{
    storage::replaceFile(outer().filePath(u"file"_s), "in the way");
    storage::setDataDirectory(outer().filePath(u"file/data"_s));
    EXPECT_EQ(failure([] { storage::dataFile(u"x"_s); }), u"hostStorageFailed"_s);
}

TEST_F(PrivateFile, IsReplacedWholeWithModeSixHundredAndNothingLeftBeside)
{
    umask(0);
    const QString file = storage::dataFile(u"f"_s);
    storage::replaceFile(file, "one");
    ASSERT_EQ(chmod(QFile::encodeName(file).constData(), 0666), 0);
    umask(0777);
    storage::replaceFile(file, "two");
    EXPECT_EQ(bytes(u"f"_s), "two");
    EXPECT_THAT(modes(), ElementsAre(u"f 600"_s));
}

TEST_F(PrivateFile, KeepsItsOldContentWhenTheDiskIsFull)
{
    const QString file = storage::dataFile(u"f"_s);
    storage::replaceFile(file, "old");
    QString told;
    {
        const test_support::FullDisk full(1024);
        told = failure([&] { storage::replaceFile(file, QByteArray(4096, 'x')); });
    }
    EXPECT_EQ(told, u"hostStorageFull"_s);
    EXPECT_EQ(bytes(u"f"_s), "old");
    EXPECT_THAT(modes(), ElementsAre(u"f 600"_s)) << "nothing half-written lies about";
}

TEST_F(PrivateFile, KeepsItsOldContentWhenTheFolderIsReadOnly)
{
    const QString file = storage::dataFile(u"f"_s);
    storage::replaceFile(file, "old");
    for (const QString& directory : {outer().path(), path()})
        ASSERT_EQ(chmod(QFile::encodeName(directory).constData(), 0555), 0);
    QString told;
    {
        const test_support::Nobody nobody;
        told = failure([&] { storage::replaceFile(file, "new"); });
    }
    for (const QString& directory : {outer().path(), path()})
        ASSERT_EQ(chmod(QFile::encodeName(directory).constData(), 0700), 0);
    EXPECT_EQ(told, u"hostStorageDenied"_s);
    EXPECT_EQ(bytes(u"f"_s), "old");
}

TEST_F(PrivateFile, ThatIsMissingReadsAsNothingAndOneThatMayNotBeReadIsTold)
{
    const QString file = storage::dataFile(u"f"_s);
    EXPECT_EQ(storage::readFile(file), std::nullopt);
    EXPECT_EQ(failure([&] { storage::readFile(path()); }), u"hostStorageStrange"_s)
        << "a folder in its place";
    storage::replaceFile(file, "");
    EXPECT_EQ(storage::readFile(file), QByteArray(""));
}

TEST_F(PrivateFile, IsRemovedWithWhatAKilledReplacementLeft)
{
    const QString file = storage::dataFile(u"f"_s);
    storage::replaceFile(file, "content");
    overwrite(u"f.unfinished-a1B2c3"_s, "half");
    overwrite(u"f.backup"_s, "somebody's");
    storage::removeFile(file);
    storage::removeFile(file);
    EXPECT_EQ(QDir(path()).entryList(QDir::Files), QStringList(u"f.backup"_s));
}

TEST_F(FileLock, LeavesNothingOpenWhereSomebodyElseHoldsIt)
{
    const storage::FileLock held(u"lock"_s);
    const auto descriptors = [] {
        return QDir(u"/proc/self/fd"_s).entryList(QDir::System | QDir::Files).size();
    };
    const qsizetype before = descriptors();
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(storage::FileLock::ifFree(u"lock"_s), nullptr);
    EXPECT_EQ(descriptors(), before);
}

TEST_F(FileLock, IsHeldByOneAtATimeAndReleasedWithItsObject)
{
    {
        const storage::FileLock first(u"lock"_s);
        EXPECT_EQ(failure([] { const storage::FileLock second(u"lock"_s); }), u"hostStorageLocked"_s);
    }
    EXPECT_EQ(failure([] { const storage::FileLock third(u"lock"_s); }), QString());
    EXPECT_THAT(modes(), ElementsAre(u"lock 600"_s));
}

TEST_F(DataDirectory, ThatEverybodyMayWriteIsRefusedWithAClearWord)
{
    for (const mode_t wrong : {0777U, 01777U, 0702U}) {
        makePrivate(path());
        ASSERT_EQ(chmod(QFile::encodeName(path()).constData(), wrong), 0);
        storage::setDataDirectory(path());
        EXPECT_EQ(failure([] { openDataDirectory(); }), u"hostStorageExposed"_s) << wrong;
        EXPECT_THAT(modes(), testing::IsEmpty());
    }
    ASSERT_EQ(chmod(QFile::encodeName(path()).constData(), 0770), 0);
    EXPECT_NO_THROW(openDataDirectory());
}

TEST_F(DataDirectory, ThatIsOpenedToEverybodyDuringWorkIsRefusedFromThenOn)
{
    const auto opened = openDataDirectory();
    ASSERT_EQ(chmod(QFile::encodeName(path()).constData(), 0777), 0);
    EXPECT_EQ(failure([] { MockFactory<SaveToFileLogic>::create()->save(richSale(u"R-1"_s), {}); }),
              u"hostStorageExposed"_s);
}

/// Something that is no file of the till's in the place of each of them.
class StrangeThing : public test_support::Storage
{
protected:
    /// Whoever works on the data directory refuses it, at once, and leaves it as it is.
    void expectRefused(const std::function<void(const QByteArray& name)>& put)
    {
        int number = 0;
        for (const QString& name : {u"till.sqlite"_s, u"till.sqlite-wal"_s, u"till.sqlite-shm"_s,
                                    u"till.sqlite-journal"_s, u"queue.lock"_s}) {
            SCOPED_TRACE(name.toStdString());
            const QString directory = path(QString::number(++number));
            storage::setDataDirectory(directory);
            const QByteArray place = QFile::encodeName(directory + u'/' + name);
            makePrivate(directory);
            if (name.contains(u'-') && name.startsWith(u"till"_s))
                (void)openDataDirectory(); // there is a store, as it was left
            put(place);
            struct stat before = {};
            ASSERT_EQ(lstat(place.constData(), &before), 0);
            EXPECT_EQ(failure([&] {
                          if (name == u"queue.lock"_s)
                              (void)QueueDelivery::lock();
                          else
                              (void)openDataDirectory();
                      }),
                      u"hostStorageStrange"_s);
            struct stat after = {};
            ASSERT_EQ(lstat(place.constData(), &after), 0);
            EXPECT_EQ(before.st_ino, after.st_ino);
        }
    }
};

TEST_F(StrangeThing, ThatIsAPipeDoesNotMakeAnybodyWait)
{
    expectRefused([](const QByteArray& name) { ASSERT_EQ(mkfifo(name.constData(), 0600), 0); });
}

TEST_F(StrangeThing, ThatIsAFolderIsRefused)
{
    expectRefused([](const QByteArray& name) { ASSERT_EQ(mkdir(name.constData(), 0700), 0); });
}

TEST_F(StrangeThing, ThatIsALinkIsNotFollowedAndWhatItLeadsToKeepsItsMode)
{
    const QString target = outer().filePath(u"somebody's"_s);
    QFile file(target);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    ASSERT_EQ(chmod(QFile::encodeName(target).constData(), 0644), 0);
    expectRefused([&](const QByteArray& name) {
        ASSERT_EQ(symlink(QFile::encodeName(target).constData(), name.constData()), 0);
    });
    EXPECT_EQ(mode(target), 0644U);
    EXPECT_EQ(QFileInfo(target).size(), 0);
}

/// Another program that keeps a file locked while the object lives.
class Locker
{
public:
    template <class Lock>
    Locker(const QString& file, Lock lock)
    {
        std::array<int, 2> ready{};
        EXPECT_EQ(pipe(ready.data()), 0);
        m_process = fork();
        if (m_process == 0) {
            const int opened = open(QFile::encodeName(file).constData(), O_RDWR);
            lock(opened >= 0 ? opened : open(QFile::encodeName(file).constData(), O_RDONLY));
            static_cast<void>(!write(ready[1], "x", 1));
            pause();
            _exit(0);
        }
        char byte = 0;
        EXPECT_EQ(read(ready[0], &byte, 1), 1);
        for (const int end : ready)
            close(end);
    }
    ~Locker()
    {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    Locker(const Locker&) = delete;
    Locker& operator=(const Locker&) = delete;
    [[nodiscard]] QString process() const { return u"process %1"_s.arg(m_process); }

private:
    pid_t m_process = 0;
};

class Locked : public test_support::Storage
{
protected:
    static void expectTold(const QString& file, const Locker& locker)
    {
        try {
            (void)openDataDirectory();
            FAIL() << "opened";
        } catch (const BasicException& failure) {
            EXPECT_EQ(failure.tr().id(), u"hostStorageLocked"_s);
            EXPECT_THAT(failure.tr().ru().toStdString(), testing::HasSubstr(file.toStdString()));
            EXPECT_THAT(failure.tr().ru().toStdString(), testing::HasSubstr(locker.process().toStdString()));
        }
    }
};

TEST_F(Locked, FolderIsToldAfterAWaitWithTheProcessThatHoldsIt)
{
    makePrivate(path());
    const Locker locker(path(), [](int file) { flock(file, LOCK_EX); });
    expectTold(path(), locker);
}

TEST_F(Locked, StoreIsToldAfterAWaitWithTheProcessThatHoldsIt)
{
    (void)openDataDirectory();
    const Locker locker(path(u"till.sqlite"_s), [](int file) {
        struct flock all = {};
        all.l_type = F_WRLCK;
        fcntl(file, F_SETLK, &all);
    });
    expectTold(path(u"till.sqlite"_s), locker);
}

} // namespace

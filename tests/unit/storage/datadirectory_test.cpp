#include "host/utils/filelock.h"
#include "host/utils/privatefile.h"
#include "tests/unit/storage/scene.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

using DataDirectory = test_support::Storage;
using PrivateFile = test_support::Storage;
using FileLock = test_support::Storage;

TEST_F(DataDirectory, UnsetIsToldByAnIdentifierOfItsOwn)
{
    utils::setDataDirectory({});
    EXPECT_EQ(failure([] { utils::dataFile(u"x"_s); }), u"hostDataDirectoryUnset"_s);
}

TEST_F(DataDirectory, IsMadeForItsOwnerAloneWhateverTheUmask)
{
    for (const mode_t mask : {0U, 022U, 0777U}) {
        umask(mask);
        const QString directory = path(u"of/%1"_s.arg(mask));
        utils::setDataDirectory(directory);
        EXPECT_EQ(utils::dataFile(u"x"_s), directory + u"/x"_s);
        EXPECT_EQ(mode(directory), 0700U) << mask;
        EXPECT_EQ(mode(path(u"of"_s)), 0700U) << mask;
    }
}

TEST_F(DataDirectory, StaysAsItIsWhenItExists)
{
    ASSERT_TRUE(QDir().mkdir(path()));
    ASSERT_EQ(chmod(QFile::encodeName(path()).constData(), 0750), 0);
    (void)utils::dataFile(u"x"_s);
    EXPECT_EQ(mode(path()), 0750U);
}

TEST_F(DataDirectory, LeavesAnAbsoluteNameAlone)
{
    utils::setDataDirectory({});
    EXPECT_EQ(utils::dataFile(u"/some/where"_s), u"/some/where"_s);
}

TEST_F(DataDirectory, IsTheFolderOfTheMomentItWasNamed)
{
    const QString before = QDir::currentPath();
    utils::setDataDirectory(u"relative"_s);
    ASSERT_TRUE(QDir::setCurrent(outer().path()));
    utils::setDataDirectory(u"relative"_s);
    ASSERT_TRUE(QDir::setCurrent(before));
    EXPECT_EQ(utils::dataFile(u"x"_s), outer().filePath(u"relative/x"_s));
}

TEST_F(DataDirectory, ThatCannotBeMadeIsToldWithItsPath)
{
    utils::replaceFile(outer().filePath(u"file"_s), "in the way");
    utils::setDataDirectory(outer().filePath(u"file/data"_s));
    EXPECT_EQ(failure([] { utils::dataFile(u"x"_s); }), u"hostStorageFailed"_s);
}

TEST_F(PrivateFile, IsReplacedWholeWithModeSixHundredAndNothingLeftBeside)
{
    umask(0);
    const QString file = utils::dataFile(u"f"_s);
    utils::replaceFile(file, "one");
    ASSERT_EQ(chmod(QFile::encodeName(file).constData(), 0666), 0);
    umask(0777);
    utils::replaceFile(file, "two");
    EXPECT_EQ(bytes(u"f"_s), "two");
    EXPECT_THAT(modes(), ElementsAre(u"f 600"_s));
}

TEST_F(PrivateFile, KeepsItsOldContentWhenTheDiskIsFull)
{
    const QString file = utils::dataFile(u"f"_s);
    utils::replaceFile(file, "old");
    QString told;
    {
        const test_support::FullDisk full(1024);
        told = failure([&] { utils::replaceFile(file, QByteArray(4096, 'x')); });
    }
    EXPECT_EQ(told, u"hostStorageFull"_s);
    EXPECT_EQ(bytes(u"f"_s), "old");
    EXPECT_THAT(modes(), ElementsAre(u"f 600"_s)) << "nothing half-written lies about";
}

TEST_F(PrivateFile, KeepsItsOldContentWhenTheFolderIsReadOnly)
{
    const QString file = utils::dataFile(u"f"_s);
    utils::replaceFile(file, "old");
    for (const QString& directory : {outer().path(), path()})
        ASSERT_EQ(chmod(QFile::encodeName(directory).constData(), 0555), 0);
    QString told;
    {
        const test_support::Nobody nobody;
        told = failure([&] { utils::replaceFile(file, "new"); });
    }
    for (const QString& directory : {outer().path(), path()})
        ASSERT_EQ(chmod(QFile::encodeName(directory).constData(), 0700), 0);
    EXPECT_EQ(told, u"hostStorageDenied"_s);
    EXPECT_EQ(bytes(u"f"_s), "old");
}

TEST_F(PrivateFile, ThatIsMissingReadsAsNothingAndOneThatMayNotBeReadIsTold)
{
    const QString file = utils::dataFile(u"f"_s);
    EXPECT_EQ(utils::readFile(file), std::nullopt);
    EXPECT_EQ(failure([&] { utils::readFile(path()); }), u"hostStorageFailed"_s) << "a folder in its place";
    utils::replaceFile(file, "");
    EXPECT_EQ(utils::readFile(file), QByteArray(""));
}

TEST_F(PrivateFile, IsRemovedWithWhatAKilledReplacementLeft)
{
    const QString file = utils::dataFile(u"f"_s);
    utils::replaceFile(file, "content");
    overwrite(u"f.a1B2c3"_s, "half");
    overwrite(u"f.toolong7"_s, "somebody's");
    utils::removeFile(file);
    utils::removeFile(file);
    EXPECT_EQ(QDir(path()).entryList(QDir::Files), QStringList(u"f.toolong7"_s));
}

TEST_F(FileLock, IsHeldByOneAtATimeAndReleasedWithItsObject)
{
    {
        const utils::FileLock first(u"lock"_s);
        EXPECT_EQ(failure([] { const utils::FileLock second(u"lock"_s); }), u"hostStorageLocked"_s);
    }
    EXPECT_EQ(failure([] { const utils::FileLock third(u"lock"_s); }), QString());
    EXPECT_THAT(modes(), ElementsAre(u"lock 600"_s));
}

} // namespace

#include "host/storage/quarantine.h"
#include "tests/unit/storage/refusedcall.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace refused {

namespace {

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

TEST_F(Quarantine, NamesWhatItSetsAsideByTheTimeInUtc)
{
    const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-1);
    const QString name = storage::quarantineContent(file, "x");
    const QDateTime time = QDateTime::fromString(name.mid(file.size()), u"'.damaged-'yyyyMMdd'T'HHmmss'Z'"_s);
    EXPECT_TRUE(time.isValid()) << name.toStdString();
    EXPECT_LE(before, QDateTime(time.date(), time.time(), Qt::UTC));
    EXPECT_LE(QDateTime(time.date(), time.time(), Qt::UTC), QDateTime::currentDateTimeUtc());
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

} // namespace refused

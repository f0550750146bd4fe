#include "host/storage/database.h"
#include "tests/unit/storage/scene.h"

#include <QFile>

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using storage::Database;
using testing::ElementsAre;

namespace {

class DatabaseFile : public test_support::Storage
{
protected:
    [[nodiscard]] static Database::Format format(int version = 1, int id = 77)
    {
        return {id, version, {u"CREATE TABLE t (v TEXT NOT NULL)"_s}};
    }
    static std::unique_ptr<Database> open(const Database::Format& of = format())
    {
        return std::make_unique<Database>(storage::dataFile(u"f.sqlite"_s), of);
    }
    static void add(const Database& database, const QVariant& value)
    {
        QSqlQuery insert = database.prepared(u"INSERT INTO t VALUES (?)"_s);
        database.change(insert, {value});
    }
    static QStringList values(const Database& database)
    {
        QSqlQuery select = database.prepared(u"SELECT v FROM t ORDER BY rowid"_s);
        QStringList result;
        for (const QVariantList& row : database.rows(select))
            result.append(row[0].toString());
        return result;
    }
    static QVariant pragma(const Database& database, const QString& name)
    {
        QSqlQuery query = database.prepared(u"PRAGMA "_s + name);
        return database.rows(query).value(0).value(0);
    }
};

TEST_F(DatabaseFile, CommitsDurablyIntoAWriteAheadLog)
{
    const auto database = open();
    EXPECT_EQ(pragma(*database, u"journal_mode"_s), u"wal"_s);
    EXPECT_EQ(pragma(*database, u"synchronous"_s), 2) << "FULL";
    EXPECT_EQ(pragma(*database, u"user_version"_s), 1);
    EXPECT_EQ(pragma(*database, u"application_id"_s), 77);
}

TEST_F(DatabaseFile, CountsACommitForEachChangeOrForTheTransactionAroundThem)
{
    const auto database = open();
    QSqlQuery insert = database->prepared(u"INSERT INTO t VALUES (?)"_s);
    const qint64 before = Database::commits();
    database->change(insert, {u"a"_s});
    EXPECT_EQ(Database::commits(), before + 1);
    database->insert(insert, {u"b"_s});
    EXPECT_EQ(Database::commits(), before + 2);
    database->atomically([&] {
        database->change(insert, {u"c"_s});
        database->insert(insert, {u"d"_s});
        EXPECT_EQ(Database::commits(), before + 2);
    });
    EXPECT_EQ(Database::commits(), before + 3);
}

TEST_F(DatabaseFile, OpensAfterAKillWhileTheLogWasFoldedIn)
{
    auto database = open();
    for (int i = 0; i < 100; ++i)
        add(*database, QString(1000, u'a'));
    const QByteArray before = bytes(u"f.sqlite"_s);
    const QByteArray log = bytes(u"f.sqlite-wal"_s);
    database.reset();
    const QByteArray after = bytes(u"f.sqlite"_s);
    ASSERT_GT(after.size(), before.size());
    // The first page is written already, and speaks of pages that are in the log only.
    overwrite(u"f.sqlite"_s, after.first(4096) + before.sliced(4096));
    overwrite(u"f.sqlite-wal"_s, log);
    EXPECT_EQ(values(*open()).size(), 100);
}

TEST_F(DatabaseFile, KeepsItsLocksWhenAnotherConnectionOfTheProcessIsOpenedAndClosed)
{
    const auto database = open();
    add(*database, u"one"_s);
    const auto locks = [] {
        struct stat found = {};
        EXPECT_EQ(stat(QFile::encodeName(storage::dataFile(u"f.sqlite"_s)).constData(), &found), 0);
        QFile table(u"/proc/locks"_s);
        EXPECT_TRUE(table.open(QIODevice::ReadOnly));
        const QByteArray ours = ' ' + QByteArray::number(getpid()) + ' ';
        const QByteArray file = ':' + QByteArray::number(static_cast<quint64>(found.st_ino)) + ' ';
        int held = 0;
        for (const QByteArray& line : table.readAll().split('\n'))
            held += line.contains(ours) && line.contains(file) ? 1 : 0;
        return held;
    };
    const int before = locks();
    ASSERT_GT(before, 0);
    open().reset();
    EXPECT_EQ(locks(), before);
}

TEST_F(DatabaseFile, IsPrivateWithItsCompanionsWhateverTheUmask)
{
    for (const mode_t mask : {0U, 022U, 0777U}) {
        umask(mask);
        storage::setDataDirectory(path(QString::number(mask)));
        const auto database = open();
        add(*database, u"a"_s);
        for (const QString& name : {u"f.sqlite"_s, u"f.sqlite-wal"_s, u"f.sqlite-shm"_s})
            EXPECT_EQ(mode(path(QString::number(mask) + u'/' + name)), 0600U) << name.toStdString() << mask;
    }
}

TEST_F(DatabaseFile, OpenedToOthersByHandIsClosedAgain)
{
    open();
    ASSERT_EQ(chmod(QFile::encodeName(path(u"f.sqlite"_s)).constData(), 0666), 0);
    const auto database = open();
    EXPECT_THAT(modes(), ElementsAre(u"f.sqlite 600"_s, u"f.sqlite-shm 600"_s, u"f.sqlite-wal 600"_s));
}

TEST_F(DatabaseFile, KeepsWhatWasCommittedAndNothingElse)
{
    const auto database = open();
    add(*database, u"kept"_s);
    EXPECT_THROW(database->atomically([&] {
        add(*database, u"undone"_s);
        throw std::runtime_error("in the middle");
    }),
                 std::runtime_error);
    database->atomically([&] { add(*database, QString()); });
    EXPECT_THAT(values(*open()), ElementsAre(u"kept"_s, QString()));
}

TEST_F(DatabaseFile, OfALaterVersionIsRefusedAndLeftUntouched)
{
    add(*open(format(2)), u"a"_s);
    const QByteArray before = bytes(u"f.sqlite"_s);
    EXPECT_EQ(failure([] { open(format(1)); }), u"hostStorageNewer"_s);
    EXPECT_EQ(bytes(u"f.sqlite"_s), before);
    EXPECT_THAT(modes(), ElementsAre(u"f.sqlite 600"_s)) << "not even companions appear";
}

TEST_F(DatabaseFile, OfALaterVersionKeepsItsLogUntouchedToo)
{
    {
        const auto database = open(format(2));
        add(*database, u"only in the log"_s);
        makePrivate(path(u"copy"_s));
        for (const QString& name : {u"f.sqlite"_s, u"f.sqlite-wal"_s})
            ASSERT_TRUE(QFile::copy(path(name), path(u"copy/"_s + name)));
    }
    storage::setDataDirectory(path(u"copy"_s));
    const QByteArray file = bytes(u"copy/f.sqlite"_s);
    const QByteArray log = bytes(u"copy/f.sqlite-wal"_s);
    ASSERT_FALSE(log.isEmpty());
    EXPECT_EQ(failure([] { open(format(1)); }), u"hostStorageNewer"_s);
    EXPECT_EQ(bytes(u"copy/f.sqlite"_s), file);
    EXPECT_EQ(bytes(u"copy/f.sqlite-wal"_s), log);
    EXPECT_FALSE(QFile::exists(path(u"copy/f.sqlite-shm"_s)));
    EXPECT_THAT(values(*open(format(2))), ElementsAre(u"only in the log"_s));
}

TEST_F(DatabaseFile, ThatOnlyItsLogMakesALaterVersionIsLeftUntouchedToo)
{
    {
        const auto database = open();
        pragma(*database, u"user_version=2"_s);
        makePrivate(path(u"copy"_s));
        for (const QString& name : {u"f.sqlite"_s, u"f.sqlite-wal"_s})
            ASSERT_TRUE(QFile::copy(path(name), path(u"copy/"_s + name)));
    }
    storage::setDataDirectory(path(u"copy"_s));
    const QByteArray file = bytes(u"copy/f.sqlite"_s);
    const QByteArray log = bytes(u"copy/f.sqlite-wal"_s);
    EXPECT_EQ(failure([] { open(); }), u"hostStorageNewer"_s);
    EXPECT_EQ(bytes(u"copy/f.sqlite"_s), file);
    EXPECT_EQ(bytes(u"copy/f.sqlite-wal"_s), log);
    EXPECT_NO_THROW(open(format(2)));
}

TEST_F(DatabaseFile, OfAVersionBeforeTheFirstIsRefused)
{
    {
        const auto database = open();
        pragma(*database, u"user_version=-1"_s);
    }
    EXPECT_EQ(failure([] { open(); }), u"hostStorageDamaged"_s);
}

TEST_F(DatabaseFile, OfAnotherKindIsRefused)
{
    open();
    EXPECT_EQ(failure([] { open(format(1, 78)); }), u"hostStorageDamaged"_s);
}

TEST_F(DatabaseFile, ThatIsNoDatabaseIsRefusedAndLeftUntouched)
{
    (void)storage::dataFile(u"f"_s);
    overwrite(u"f.sqlite"_s, QByteArray(8192, 'x'));
    EXPECT_EQ(failure([] { open(); }), u"hostStorageDamaged"_s);
    EXPECT_EQ(bytes(u"f.sqlite"_s), QByteArray(8192, 'x'));
}

TEST_F(DatabaseFile, CutShortIsRefused)
{
    add(*open(), QString(20000, u'x'));
    const QByteArray whole = bytes(u"f.sqlite"_s);
    overwrite(u"f.sqlite"_s, whole.first(whole.size() / 2));
    EXPECT_EQ(failure([] { open(); }), u"hostStorageDamaged"_s);
}

TEST_F(DatabaseFile, DamagedInTheMiddleIsRefused)
{
    {
        const auto database = open();
        database->atomically([&] {
            for (int i = 0; i < 2000; ++i)
                add(*database, QString::number(i));
        });
    }
    QByteArray content = bytes(u"f.sqlite"_s);
    content.replace(content.size() / 2, 4096, QByteArray(4096, '\xEE'));
    overwrite(u"f.sqlite"_s, content);
    EXPECT_EQ(failure([] { open(); }), u"hostStorageDamaged"_s);
    EXPECT_EQ(bytes(u"f.sqlite"_s), content);
}

TEST_F(DatabaseFile, ThatIsEmptyIsRefusedBecauseNoneIsEverMadeSo)
{
    (void)storage::dataFile(u"f.sqlite"_s);
    overwrite(u"f.sqlite"_s, {});
    EXPECT_EQ(failure([] { open(); }), u"hostStorageDamaged"_s);
    EXPECT_EQ(bytes(u"f.sqlite"_s), QByteArray());
}

TEST_F(DatabaseFile, WhoseMakingWasInterruptedIsMadeAnew)
{
    (void)storage::dataFile(u"f.sqlite"_s);
    for (const char* suffix : {"", "-wal", "-shm", "-journal"})
        overwrite(u"f.sqlite.unfinished-a1B2c3"_s + QLatin1String(suffix), "half");
    overwrite(u"f.sqlite.backup"_s, "somebody's own");
    add(*open(), u"a"_s);
    EXPECT_THAT(values(*open()), ElementsAre(u"a"_s));
    EXPECT_EQ(bytes(u"f.sqlite.backup"_s), "somebody's own");
    EXPECT_EQ(modes().size(), 2) << modes().join(u'\n').toStdString();
}

TEST_F(DatabaseFile, ThatCannotBeMadeLeavesNothingBehind)
{
    Database::Format wrong = format();
    wrong.creates.append(u"no SQL"_s);
    EXPECT_EQ(failure([&] { open(wrong); }), u"hostStorageFailed"_s);
    EXPECT_THAT(modes(), testing::IsEmpty());
}

TEST_F(DatabaseFile, IsNotMixedWithALogThatLiesWhereItIsMade)
{
    {
        const auto database = open();
        add(*database, u"another file's"_s);
        ASSERT_TRUE(QFile::copy(path(u"f.sqlite-wal"_s), path(u"log"_s)));
    }
    ASSERT_TRUE(QFile::remove(path(u"f.sqlite"_s)));
    ASSERT_TRUE(QFile::rename(path(u"log"_s), path(u"f.sqlite-wal"_s)));
    const QByteArray log = bytes(u"f.sqlite-wal"_s);
    EXPECT_THAT(values(*open()), testing::IsEmpty());
    const QStringList aside = QDir(path()).entryList({u"f.sqlite.damaged-*-wal"_s});
    ASSERT_EQ(aside.size(), 1);
    EXPECT_EQ(bytes(aside.first()), log);
}

TEST_F(DatabaseFile, RemovedUnderItsHandsTakesNothingMore)
{
    const auto database = open();
    ASSERT_TRUE(QFile::remove(path(u"f.sqlite"_s)));
    EXPECT_EQ(failure([&] { add(*database, u"lost"_s); }), u"hostStorageGone"_s);
}

TEST_F(DatabaseFile, OnAFullDiskRefusesAndLosesNothing)
{
    const auto database = open();
    add(*database, u"before"_s);
    QString told;
    {
        const test_support::FullDisk full(bytes(u"f.sqlite-wal"_s).size() + 100);
        told = failure([&] { add(*database, QString(50000, u'x')); });
    }
    EXPECT_EQ(told, u"hostStorageFull"_s);
    add(*database, u"after"_s);
    EXPECT_THAT(values(*open()), ElementsAre(u"before"_s, u"after"_s));
}

TEST_F(DatabaseFile, InAFolderThatMayNotBeWrittenIsRefused)
{
    (void)storage::dataFile(u"x"_s);
    for (const QString& directory : {outer().path(), path()})
        ASSERT_EQ(chmod(QFile::encodeName(directory).constData(), 0555), 0);
    QString told;
    {
        const test_support::Nobody nobody;
        told = failure([] { open(); });
    }
    for (const QString& directory : {outer().path(), path()})
        ASSERT_EQ(chmod(QFile::encodeName(directory).constData(), 0700), 0);
    EXPECT_EQ(told, u"hostStorageDenied"_s);
    EXPECT_THAT(modes(), testing::IsEmpty());
}

TEST_F(DatabaseFile, ThatMayNotBeWrittenIsRefused)
{
    add(*open(), u"a"_s);
    ASSERT_EQ(chmod(QFile::encodeName(outer().path()).constData(), 0755), 0);
    ASSERT_EQ(chmod(QFile::encodeName(path()).constData(), 0755), 0);
    ASSERT_EQ(chmod(QFile::encodeName(path(u"f.sqlite"_s)).constData(), 0400), 0);
    const test_support::Nobody nobody;
    EXPECT_EQ(failure([] { add(*open(), u"b"_s); }), u"hostStorageDenied"_s);
}

TEST_F(DatabaseFile, LockedByAnotherWriterIsToldAfterAWait)
{
    const auto first = open();
    const auto second = open();
    first->atomically([&] {
        add(*first, u"a"_s);
        EXPECT_EQ(failure([&] { add(*second, u"b"_s); }), u"hostStorageLocked"_s);
    });
    add(*second, u"c"_s);
    EXPECT_THAT(values(*first), ElementsAre(u"a"_s, u"c"_s));
}

TEST_F(DatabaseFile, TellsBySQLitesAnswerWhatIsWrong)
{
    const auto told = [](const QStringList& before, const QString& last) {
        const auto database = open();
        for (const QString& statement : before)
            (void)database->rows(statement);
        const QString fault = failure([&] { database->change(last, {}); });
        return fault + (database->isSound() ? u""_s : u", to be opened anew"_s);
    };
    const QString add = u"INSERT INTO t VALUES ('x')"_s;
    EXPECT_EQ(told({}, add), QString());
    EXPECT_EQ(told({u"PRAGMA query_only=ON"_s}, add), u"hostStorageDenied, to be opened anew"_s);
    EXPECT_EQ(told({u"PRAGMA max_page_count=1"_s}, u"INSERT INTO t VALUES (zeroblob(100000))"_s),
              u"hostStorageFull"_s);
    EXPECT_EQ(told({}, u"ATTACH '/no/such/folder/file' AS other"_s),
              u"hostStorageDenied, to be opened anew"_s);
    EXPECT_EQ(told({}, u"INSERT INTO t VALUES (NULL)"_s), u"hostStorageFailed, to be opened anew"_s);
    EXPECT_EQ(told({}, u"nonsense"_s), u"hostStorageFailed, to be opened anew"_s);
}

TEST_F(DatabaseFile, WhoseTableIsBeingReadIsLockedForAChangeOfItsForm)
{
    const auto database = open();
    add(*database, u"1"_s);
    add(*database, u"2"_s);
    QSqlQuery reading = database->prepared(u"SELECT v FROM t"_s);
    ASSERT_TRUE(reading.exec() && reading.next());
    EXPECT_EQ(failure([&] { database->change(u"DROP TABLE t"_s, {}); }), u"hostStorageLocked"_s);
    reading.finish();
    EXPECT_EQ(database->change(u"DELETE FROM t WHERE v = ?"_s, {u"1"_s}), 1);
    EXPECT_THAT(values(*database), ElementsAre(u"2"_s));
}

TEST_F(DatabaseFile, TellsWhatFailsInTheMiddleOfAnAnswer)
{
    const auto database = open();
    EXPECT_EQ(failure([&] {
                  (void)database->rows(
                      u"SELECT abs(n) FROM (SELECT 1 AS n UNION ALL SELECT -9223372036854775807 - 1)"_s);
              }),
              u"hostStorageFailed"_s);
}

TEST_F(DatabaseFile, WhoseHeadSaysThatItsPagesAreEmptyIsRefused)
{
    add(*open(), u"x"_s);
    QByteArray content = bytes(u"f.sqlite"_s);
    content.replace(16, 2, QByteArray(2, '\0'));
    overwrite(u"f.sqlite"_s, content);
    EXPECT_EQ(failure([] { open(); }), u"hostStorageDamaged"_s);
}

TEST_F(DatabaseFile, OfTheLargestPagesIsOpened)
{
    (void)storage::dataFile(u"f.sqlite"_s);
    {
        const test_support::RawDatabase raw(path(u"f.sqlite"_s));
        for (const QString& statement : {u"PRAGMA page_size=65536"_s, u"CREATE TABLE t (v TEXT NOT NULL)"_s,
                                         u"PRAGMA application_id=77"_s, u"PRAGMA user_version=1"_s})
            raw.run(statement);
    }
    EXPECT_EQ(failure([] { add(*open(), u"x"_s); }), QString());
    const QByteArray whole = bytes(u"f.sqlite"_s);
    overwrite(u"f.sqlite"_s, whole.chopped(4096));
    EXPECT_EQ(failure([] { open(); }), u"hostStorageDamaged"_s) << "a part of a page is missing";
}

TEST_F(DatabaseFile, ThatHadAnotherJournalGetsALog)
{
    add(*open(), u"x"_s);
    EXPECT_EQ(test_support::RawDatabase(path(u"f.sqlite"_s)).run(u"PRAGMA journal_mode=DELETE"_s)[0][0],
              u"delete"_s);
    const auto database = open();
    EXPECT_EQ(pragma(*database, u"journal_mode"_s), u"wal"_s);
    EXPECT_TRUE(QFile::exists(path(u"f.sqlite-wal"_s)));
}

} // namespace

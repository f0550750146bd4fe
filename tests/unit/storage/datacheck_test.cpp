#include "host/queue/messagequeue.h"
#include "host/storage/datacheck.h"
#include "host/storage/documents.h"
#include "host/storage/quarantine.h"
#include "host/storage/store.h"
#include "host/storage/storedform.h"
#include "tests/support/leftout.h"
#include "tests/support/logcapture.h"
#include "tests/support/rawdatabase.h"
#include "tests/unit/storage/documents.h"
#include "tests/unit/storage/scene.h"

#include <gmock/gmock.h>

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;
using storage::DataFinding;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class DataCheck : public test_support::Storage
{
protected:
    using Files = QMap<QString, QByteArray>;

    [[nodiscard]] Files files() const
    {
        Files result;
        for (const QString& name : QDir(path()).entryList(QDir::Files | QDir::Hidden))
            result.insert(name, bytes(name));
        return result;
    }
    static QList<DataFinding> findings() { return openDataDirectory().findings; }
    /// A store of several hundred pages, closed.
    static void fillStore()
    {
        storage::Transaction transaction;
        DocumentsDao dao;
        MessageQueue queue;
        for (int i = 0; i < 20; ++i) {
            dao.store(richSale(u"R-%1"_s.arg(i)));
            queue.enqueue(u"q"_s, {}, {{u"body"_s, QByteArray(3000, 'b')}}, u"message %1"_s.arg(i));
        }
        transaction.commit();
    }
    static void changeStore(const QString& sql)
    {
        const auto store = storage::store();
        QSqlQuery query = store->prepared(sql);
        static_cast<void>(store->rows(query));
    }
    /// What the check must do with a store of that content: keep it elsewhere and go on with a new one.
    void expectSetAside(const QByteArray& content)
    {
        (void)storage::dataFile(u"x"_s);
        overwrite(u"till.sqlite"_s, content);
        const QList<DataFinding> found = findings();
        ASSERT_EQ(found.size(), 1);
        EXPECT_EQ(found[0].kind, DataFinding::Kind::Damaged);
        EXPECT_EQ(found[0].file, path(u"till.sqlite"_s));
        EXPECT_TRUE(found[0].text.ru().contains(QFileInfo(found[0].now).fileName()));
        EXPECT_EQ(bytes(QFileInfo(found[0].now).fileName()), content);
        EXPECT_EQ(mode(found[0].now), 0600U);
        EXPECT_EQ(MessageQueue().waitingCount(), 0);
        EXPECT_NO_THROW(DocumentsDao().store(richSale(u"R-1"_s)));
        ASSERT_TRUE(QFile::remove(found[0].now));
    }

    /// Makes a store larger than what a start reads, with rubbish at its end, and returns its bytes.
    [[nodiscard]] QByteArray damageALargeStore() const
    {
        fillStore();
        changeStore(u"INSERT INTO history (id, queue, receipt, enqueued, finished, text, attempts, error, "
                    "outcome, message) VALUES (1, '', '', 0, 0, '', 0, '', '', zeroblob(%1))"_s.arg(
                        storage::Database::readAtAStart));
        for (int i = 100; i < 300; ++i)
            DocumentsDao().store(richSale(u"R-%1"_s.arg(i)));
        const QByteArray rubbish(rubbishSize, '\xEE');
        QByteArray content = bytes(u"till.sqlite"_s);
        content.replace(content.size() - rubbishSize, rubbishSize, rubbish);
        overwrite(u"till.sqlite"_s, content);
        return content;
    }

    void expectSetAsideAtItsEnd(const QByteArray& damaged) const
    {
        const QList<DataFinding> found = findings();
        ASSERT_EQ(found.size(), 1);
        EXPECT_EQ(bytes(QFileInfo(found[0].now).fileName()).last(rubbishSize), damaged.last(rubbishSize));
        EXPECT_THAT(findings(), IsEmpty());
    }

private:
    static constexpr qsizetype rubbishSize = qsizetype{40} * 4096;
};

TEST_F(DataCheck, FindsNothingInANewFolderAndInASoundOne)
{
    EXPECT_THAT(findings(), IsEmpty());
    EXPECT_THAT(modes(), ElementsAre(u"till.sqlite 600"_s));
    fillStore();
    MockFactory<SaveToFileLogic>::create()->save(richSale(u"R-99"_s), {});
    EXPECT_THAT(findings(), IsEmpty());
    EXPECT_EQ(MessageQueue().waitingCount(), 20);
    EXPECT_THAT(storage::quarantinedFiles(), IsEmpty());
}

TEST_F(DataCheck, SetsAStoreAsideThatIsDamagedInAnyOfItsPages)
{
    fillStore();
    const QByteArray whole = bytes(u"till.sqlite"_s);
    constexpr qsizetype page = 4096;
    ASSERT_GT(whole.size(), 20 * page);
    for (qsizetype at = 0; at < whole.size(); at += page) {
        SCOPED_TRACE(at);
        QByteArray content = whole;
        expectSetAside(content.replace(at, page, QByteArray(page, '\xEE')));
    }
}

TEST_F(DataCheck, SetsAStoreAsideThatWasCutShort)
{
    fillStore();
    const QByteArray whole = bytes(u"till.sqlite"_s);
    for (const qsizetype size : {qsizetype(0), qsizetype(1), qsizetype(99), qsizetype(4096), whole.size() / 2,
                                 whole.size() - 4096, whole.size() - 1}) {
        SCOPED_TRACE(size);
        expectSetAside(whole.first(size));
    }
}

TEST_F(DataCheck, KeepsAStoreWhoseEndIsTornWhereItsLogHoldsWhatIsMissing)
{
    QByteArray log;
    {
        const auto held = storage::store();
        fillStore();
        log = bytes(u"till.sqlite-wal"_s);
    }
    // The power fails while SQLite folds the log into the file: a sector may be there, and its page not.
    const QByteArray torn = bytes(u"till.sqlite"_s).chopped(4096 - 512);
    overwrite(u"till.sqlite"_s, torn);
    overwrite(u"till.sqlite-wal"_s, log);
    EXPECT_THAT(findings(), IsEmpty());
    EXPECT_EQ(MessageQueue().waitingCount(), 20);
    overwrite(u"till.sqlite"_s, torn);
    overwrite(u"till.sqlite-wal"_s, log.first(log.size() / 2));
    EXPECT_EQ(findings().size(), 1) << "of that log nothing was committed";
    overwrite(u"till.sqlite"_s, torn);
    QByteArray damaged = log;
    damaged[100] = static_cast<char>(damaged[100] ^ 1);
    overwrite(u"till.sqlite-wal"_s, damaged);
    EXPECT_EQ(findings().value(0).kind, DataFinding::Kind::Damaged) << "nor of one that is damaged";
}

TEST_F(DataCheck, SetsAStoreAsideWhoseEndIsTornWhereItsLogHoldsOtherPagesOnly)
{
    fillStore();
    const QByteArray whole = bytes(u"till.sqlite"_s);
    QByteArray log;
    {
        const auto held = storage::store();
        held->change(u"UPDATE clock SET seen = 1"_s, {});
        log = bytes(u"till.sqlite-wal"_s);
    }
    overwrite(u"till.sqlite"_s, whole);
    overwrite(u"till.sqlite-wal"_s, log);
    EXPECT_THAT(findings(), IsEmpty());
    overwrite(u"till.sqlite"_s, whole.chopped(512));
    overwrite(u"till.sqlite-wal"_s, log);
    EXPECT_EQ(findings().value(0).kind, DataFinding::Kind::Damaged);
}

TEST_F(DataCheck, KeepsAStoreInWhichThePowerFailedBeforeItHadALog)
{
    fillStore();
    QByteArray half;
    QByteArray journal;
    {
        const test_support::RawDatabase raw(path(u"till.sqlite"_s));
        (void)raw.run(u"PRAGMA journal_mode=DELETE"_s);
        (void)raw.run(u"PRAGMA cache_size=1"_s); // what is changed goes to the file before it is whole
        (void)raw.run(u"BEGIN"_s);
        (void)raw.run(u"DELETE FROM queued"_s);
        half = bytes(u"till.sqlite"_s);
        journal = bytes(u"till.sqlite-journal"_s);
        (void)raw.run(u"ROLLBACK"_s);
    }
    overwrite(u"till.sqlite"_s, half.chopped(512));
    overwrite(u"till.sqlite-journal"_s, journal);
    EXPECT_THAT(findings(), IsEmpty());
    EXPECT_EQ(MessageQueue().waitingCount(), 20);
}

TEST_F(DataCheck, SetsAStoreAsideThatIsAnotherPrograms)
{
    expectSetAside("SQLite format 3 is not what follows");
    expectSetAside(QByteArray(100000, '\0'));
}

TEST_F(DataCheck, SetsADamagedStoreAsideWithItsLog)
{
    QByteArray log;
    {
        const auto held = storage::store();
        fillStore();
        log = bytes(u"till.sqlite-wal"_s);
    }
    overwrite(u"till.sqlite"_s, QByteArray(8192, 'x'));
    overwrite(u"till.sqlite-wal"_s, log);
    const QList<DataFinding> found = findings();
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(bytes(QFileInfo(found[0].now).fileName() + u"-wal"_s), log);
    EXPECT_EQ(MessageQueue().waitingCount(), 0);
    EXPECT_THAT(storage::quarantinedFiles(), ElementsAre(found[0].now));
}

TEST_F(DataCheck, PutsALogToItsFileWhenSettingAsideWasInterrupted)
{
    const QString aside = path(u"till.sqlite.damaged-20260101T000000Z"_s);
    makePrivate(path());
    {
        storage::setDataDirectory(path(u"former"_s));
        const auto held = storage::store();
        fillStore();
        ASSERT_TRUE(QFile::copy(path(u"former/till.sqlite"_s), aside));
        ASSERT_TRUE(QFile::copy(path(u"former/till.sqlite-wal"_s), path(u"till.sqlite-wal"_s)));
    }
    storage::setDataDirectory(path());
    const QByteArray log = bytes(u"till.sqlite-wal"_s);
    const test_support::LogCapture told(u"storage"_s);
    const QList<DataFinding> found = findings();
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found[0].kind, DataFinding::Kind::Lost);
    EXPECT_THAT(told.lines(),
                ElementsAre(u"error: %1 lay there without its file; it was set aside as %2"_s.arg(
                    path(u"till.sqlite-wal"_s), QFileInfo(found[0].now).fileName())));
    EXPECT_EQ(found[0].now, aside + u"-wal"_s);
    EXPECT_EQ(bytes(QFileInfo(found[0].now).fileName()), log);
    EXPECT_EQ(MessageQueue().waitingCount(), 0) << "nothing of the log got into the new file";
    const auto old = std::make_unique<storage::Database>(aside, storage::Database::Format{0x4B595274, 1, {}});
    QSqlQuery count = old->prepared(u"SELECT count(*) FROM queued"_s);
    EXPECT_EQ(old->rows(count).value(0).value(0), 20) << "the log was folded into its own file";
}

TEST_F(DataCheck, SetsADamagedOpenReceiptAsideAndKeepsTheRest)
{
    fillStore();
    MockFactory<SaveToFileLogic>::create()->save(richSale(u"R-1"_s), {});
    flipABit(u"open_receipt"_s, u"content"_s, u"slot = 1"_s);
    const QByteArray damaged = test_support::openReceiptIn(path());
    const QList<DataFinding> found = findings();
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found[0].kind, DataFinding::Kind::Receipt);
    EXPECT_EQ(bytes(QFileInfo(found[0].now).fileName()), damaged);
    EXPECT_EQ(mode(found[0].now), 0600U);
    EXPECT_TRUE(found[0].text.ru().contains(QFileInfo(found[0].now).fileName()));
    EXPECT_EQ(SaveToFileLogic::loadOpenReceipt(), nullptr);
    EXPECT_THAT(storage::quarantinedFiles(), ElementsAre(found[0].now));
    EXPECT_EQ(MessageQueue().waitingCount(), 20);
    EXPECT_THAT(findings(), IsEmpty()) << "once";
}

TEST_F(DataCheck, LogsWhatItSetAsideAndUnderWhichName)
{
    const test_support::LogCapture storageLog(u"storage"_s);
    (void)storage::dataFile(u"x"_s);
    overwrite(u"till.sqlite-wal"_s, "left");
    QList<DataFinding> found = findings();
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(storageLog.lines(),
              QStringList(u"error: %1 lay there without its file; it was set aside as %2"_s.arg(
                  path(u"till.sqlite-wal"_s), QFileInfo(found[0].now).fileName())));
    overwrite(u"till.sqlite"_s, QByteArray(8192, 'x'));
    found = findings();
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(storageLog.lines().last(), u"error: %1 is damaged; it was set aside: till rescue %2"_s.arg(
                                             path(u"till.sqlite"_s), found[0].now));
    EXPECT_THAT(found[0].now.toStdString(),
                testing::MatchesRegex(".*/till\\.sqlite\\.damaged-[0-9]{8}T[0-9]{6}Z(-2)?"));
    fillStore();
    test_support::putOpenReceipt(path(), "no receipt");
    found = findings();
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(storageLog.lines().last(),
              u"error: The open receipt is damaged; it was set aside as %1"_s.arg(found[0].now));
}

TEST_F(DataCheck, NeverGivesTwoFilesSetAsideTheSameName)
{
    (void)findings();
    for (int i = 0; i < 3; ++i) {
        test_support::putOpenReceipt(path(), QByteArray::number(i));
        ASSERT_EQ(findings().size(), 1);
    }
    EXPECT_EQ(storage::quarantinedFiles().size(), 3);
}

TEST_F(DataCheck, LeavesAStoreOfALaterVersionByteForByteAsItWas)
{
    fillStore();
    changeStore(u"PRAGMA user_version=99"_s);
    const Files before = files();
    EXPECT_EQ(failure([] { findings(); }), u"hostStorageNewer"_s);
    EXPECT_EQ(files(), before);
}

TEST_F(DataCheck, LeavesEverythingAsItWasWhenTheOpenReceiptIsOfALaterVersion)
{
    fillStore();
    test_support::putOpenReceipt(path(),
                                 storage::sealed({0x4B595264, 2}, "what only the later version knows"));
    const Files before = files();
    EXPECT_EQ(failure([] { findings(); }), u"hostStorageNewer"_s);
    EXPECT_EQ(files(), before);
}

TEST_F(DataCheck, RefusesAFolderOrAFileThatMayNotBeWritten)
{
    findings();
    ASSERT_EQ(chmod(QFile::encodeName(outer().path()).constData(), 0755), 0);
    for (const auto& [file, mode] : {std::pair(path(), 0555U), std::pair(path(u"till.sqlite"_s), 0444U)}) {
        ASSERT_EQ(chmod(QFile::encodeName(path()).constData(), 0755), 0);
        ASSERT_EQ(chmod(QFile::encodeName(file).constData(), mode), 0);
        const test_support::Nobody nobody;
        EXPECT_EQ(failure([] { findings(); }), u"hostStorageDenied"_s) << file.toStdString();
    }
    ASSERT_EQ(chmod(QFile::encodeName(path()).constData(), 0700), 0);
}

TEST_F(DataCheck, RefusesAFullDiskBeforeAnythingIsPromised)
{
    findings();
    const QByteArray before = bytes(u"till.sqlite"_s);
    {
        const test_support::FullDisk full(qint64{16} * 1024);
        EXPECT_EQ(failure([] { findings(); }), u"hostStorageFull"_s);
    }
    EXPECT_EQ(bytes(u"till.sqlite"_s), before);
    EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(DataCheck, RefusesADiskThatIsReallyFullAndLosesNothing)
{
    makePrivate(path());
    const QByteArray directory = QFile::encodeName(path());
    enum Result { Fine, NoDisk, NotRefused, NotMended };
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // A disk of its own, seen by nobody else and gone with the process.
        if (unshare(geteuid() == 0 ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) != 0 ||
            mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("none", directory.constData(), "tmpfs", 0, "size=1m,mode=700") != 0)
            _exit(NoDisk);
        Result result = findings().isEmpty() ? Fine : NotMended;
        fillStore();
        {
            QFile filler(path(u"filler"_s));
            if (filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
                while (filler.write(QByteArray(4096, 'f')) > 0) {
                }
            }
        }
        if (failure([] { findings(); }) != u"hostStorageFull"_s)
            result = NotRefused;
        QFile::remove(path(u"filler"_s));
        if (!findings().isEmpty() || MessageQueue().waitingCount() != 20)
            result = NotMended;
        _exit(result);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == NoDisk)
        LEAVE_OUT("nothing may be mounted here (in a container it takes the capability SYS_ADMIN); "
                  "RefusesAFullDiskBeforeAnythingIsPromised has it full by a limit");
    EXPECT_EQ(WEXITSTATUS(status), Fine);
}

TEST_F(DataCheck, LooksThroughALargeFileOnceDamageWasMetInIt)
{
    const QByteArray damaged = damageALargeStore();
    EXPECT_THAT(findings(), IsEmpty()) << "too large to be looked through at each start";
    QString told;
    for (int i = 100; i < 300 && told.isEmpty(); ++i)
        told = failure([&] { (void)DocumentsDao().loadDocument(u"R-%1"_s.arg(i), false); });
    EXPECT_EQ(told, u"hostStorageDamaged"_s);
    expectSetAsideAtItsEnd(damaged);
}

TEST_F(DataCheck, SetsALargeFileAsideThatIsTornWhereAJournalBesideItHoldsNothing)
{
    const QByteArray torn = damageALargeStore().chopped(512);
    overwrite(u"till.sqlite"_s, torn);
    overwrite(u"till.sqlite-journal"_s, {});
    expectSetAsideAtItsEnd(torn);
}

TEST_F(DataCheck, SetsALargeFileAsideOnceItWasReadThrough)
{
    const QByteArray damaged = damageALargeStore();
    EXPECT_EQ(failure([] { storage::readThroughStore(); }), u"hostStorageDamaged"_s);
    expectSetAsideAtItsEnd(damaged);
}

TEST_F(DataCheck, LetsNobodyWorkOnWithAStoreInWhichDamageWasMet)
{
    fillStore();
    const auto held = storage::store();
    overwrite(u"till.sqlite"_s, bytes(u"till.sqlite"_s).chopped(4096) + QByteArray(4096, '\xEE'));
    QString unsuspected;
    std::thread([&] { unsuspected = failure([] { storage::store(); }); }).join();
    EXPECT_EQ(unsuspected, QString()) << "one connection of the process has read it";
    overwrite(u"till.sqlite.suspect"_s, {});
    QString suspected;
    std::thread([&] { suspected = failure([] { storage::store(); }); }).join();
    EXPECT_EQ(suspected, u"hostStorageDamaged"_s);
}

TEST_F(DataCheck, KeepsASoundStoreThatWasReadThroughUnderSuspicion)
{
    fillStore();
    overwrite(u"till.sqlite.suspect"_s, {});
    EXPECT_NO_THROW(storage::readThroughStore());
    EXPECT_FALSE(QFile::exists(path(u"till.sqlite.suspect"_s)));
    EXPECT_THAT(findings(), IsEmpty());
    EXPECT_EQ(MessageQueue().waitingCount(), 20);
}

} // namespace

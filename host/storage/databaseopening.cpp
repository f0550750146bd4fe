#include "host/storage/database.h"
#include "host/storage/durablefile.h"
#include "host/storage/quarantine.h"
#include "host/storage/storageerror.h"
#include "host/storage/writeaheadlog.h"
#include "host/utils/logging.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlError>

#include <atomic>
#include <map>
#include <mutex>

using namespace Qt::StringLiterals;

namespace storage {

namespace {

constexpr auto waitForLocks = "QSQLITE_BUSY_TIMEOUT=2000"; // milliseconds: a cashier is waiting

/// The files that this process has connections to, and how many: a replaced one is another. Whoever else
/// opens such a file, and closes it, takes from SQLite the locks that it holds there for the whole process;
/// another program would then remove the log under its hands.
struct FilesInUse
{
    std::recursive_mutex mutex; ///< held while a file is looked at and opened
    struct Use
    {
        Database::Files files;
        int connections = 0;
    };
    std::map<FileIdentity, Use> uses;

    /// Nothing when nobody has a connection to what lies there.
    [[nodiscard]] const Use* of(const QString& path) const
    {
        const auto found = uses.find(identityOf(path).value_or(FileIdentity{}));
        return found == uses.end() ? nullptr : &found->second;
    }
};

FilesInUse& filesInUse()
{
    static FilesInUse made;
    return made;
}

Database::Files filesAt(const QString& path)
{
    return {identityOf(path).value_or(FileIdentity{}), identityOf(path + u"-wal"_s),
            identityOf(path + u"-shm"_s)};
}

/// Left by a power cut in a file that has no log yet; SQLite takes back what was half done, if it may write.
bool hasJournal(const QString& path) { return QFileInfo::exists(path + u"-journal"_s); }

/// SQLite would take what is missing of the last page for zeros. Where log or journal hold it, the power
/// failed while the file was written to, and nothing is missing.
bool isTorn(const QString& path, int pageSize)
{
    const qint64 size = QFileInfo(path).size();
    if (size % pageSize == 0 || hasJournal(path))
        return false;
    const LoggedPages log = loggedPages(path, pageSize);
    if (log.pageCount == 0 || log.isDamaged)
        return true;
    for (auto page = static_cast<quint32>(size / pageSize) + 1; page <= log.pageCount; ++page) {
        if (!log.places.contains(page))
            return true;
    }
    return false;
}

QString newConnectionName()
{
    static std::atomic<int> made = 0;
    return u"kyr-store-%1"_s.arg(++made);
}

} // namespace

Database::Database(const QString& path)
    : m_path(path)
    , m_connection(newConnectionName())
{}

Database::Database(const QString& path, const Format& format)
    : Database(path)
{
    try {
        open(format);
    } catch (...) {
        disconnect();
        throw;
    }
}

Database::~Database()
{
    rollback();
    disconnect();
}

void Database::examine(const QString& path, const Format& format)
{
    Database(path).examine(format, Look::AtAStart);
}

void Database::readThrough(const QString& path, const Format& format)
{
    Database file(path);
    try {
        file.examine(format, Look::Through);
    } catch (const BasicException& exception) {
        if (isFault(exception, StorageFault::Damaged))
            file.suspect();
        throw;
    }
}

void Database::open(const Format& format)
{
    const std::lock_guard lock(filesInUse().mutex);
    ensureMade(format);
    ensurePrivateFile(m_path);
    requirePlainFiles();
    const FilesInUse::Use* shared = filesInUse().of(m_path);
    if (shared) // SQLite would begin a new log under the index of the old one
        requireInPlace(shared->files);
    else
        keepDamagedLog();
    examine(format, shared ? Look::AtItsKind : Look::AtAStart);
    connect({});
    // NORMAL would lose the last commits at a power cut.
    execute(u"PRAGMA journal_mode=WAL"_s);
    execute(u"PRAGMA synchronous=FULL"_s);
    execute(u"PRAGMA secure_delete=ON"_s); // what is removed holds personal data and credentials
    if (!m_damagedLog.isEmpty())           // what SQLite did not take of it is not to be met again
        execute(u"PRAGMA wal_checkpoint(TRUNCATE)"_s);
    static_cast<void>(
        number(u"PRAGMA user_version"_s)); // a file that had another journal gets its log only now
    m_files = filesAt(m_path);
    FilesInUse::Use& use =
        filesInUse().uses.try_emplace(m_files->own, FilesInUse::Use{*m_files, 0}).first->second;
    ++use.connections;
}

void Database::connect(const QString& options)
{
    m_database = QSqlDatabase::addDatabase(u"QSQLITE"_s, m_connection);
    m_database.setDatabaseName(m_path);
    const QString wait = QString::fromLatin1(waitForLocks);
    m_database.setConnectOptions(options.isEmpty() ? wait : wait + u';' + options);
    if (!m_database.open())
        fail(m_database.lastError());
}

void Database::disconnect()
{
    // The last connection to close takes the log away: nobody may open the file before that is known.
    const std::lock_guard lock(filesInUse().mutex);
    m_kept.clear();
    m_database = {};
    QSqlDatabase::removeDatabase(m_connection);
    if (!m_files)
        return;
    const auto left = filesInUse().uses.find(m_files->own);
    m_files.reset();
    if (--left->second.connections == 0)
        filesInUse().uses.erase(left);
}

void Database::requirePlainFiles() const
{
    for (const QString& suffix : {u""_s, u"-wal"_s, u"-shm"_s, u"-journal"_s})
        requirePlainFile(m_path + suffix);
}

/// SQLite takes a log up to the first thing in it that is not right, and writes over the rest; so it is kept
/// first.
void Database::keepDamagedLog()
{
    if (!isLogDamaged(m_path))
        return;
    const FolderLock lock(m_path); // another program may just have done it
    if (!isLogDamaged(m_path))
        return;
    m_damagedLog = quarantineLogOf(m_path);
    utils::logger(u"storage"_s)
        ->error(u"%1-wal is damaged: what was kept last may be missing; it was copied to %2"_s.arg(
            m_path, QFileInfo(m_damagedLog).fileName()));
}

void Database::lookFromOutside(const Format& format) const
{
    // A reader makes companions; so whether the file has to be left alone is first found out without one.
    // What only the log says of it, the reader finds.
    const auto [version, id, pageSize] = headOf(m_path);
    if (id == format.applicationId && version > format.version)
        throw storageError(StorageFault::Newer, m_path, u"%1 > %2"_s.arg(version).arg(format.version));
    if (pageSize == 0 || isTorn(m_path, pageSize))
        throw storageError(StorageFault::Damaged, m_path);
}

void Database::examine(const Format& format, Look look)
{
    const std::lock_guard lock(filesInUse().mutex);
    requirePlainFiles();
    if (!filesInUse().of(m_path))
        lookFromOutside(format);
    const bool hadJournal = hasJournal(m_path);
    connect(hadJournal ? QString() : u"QSQLITE_OPEN_READONLY"_s);
    requireKind(format);
    // A larger one's damage is found as it is read; from then on nobody works with it unseen. Whether a
    // journal held what was missing, nobody has looked.
    const bool isReadThrough = look == Look::Through || hadJournal || QFileInfo::exists(suspicion()) ||
                               (look == Look::AtAStart && QFileInfo(m_path).size() <= readAtAStart);
    if (isReadThrough) {
        QSqlQuery query = prepared(u"PRAGMA quick_check(1)"_s);
        const QString verdict = rows(query).value(0).value(0).toString();
        if (verdict != u"ok")
            throw storageError(StorageFault::Damaged, m_path, verdict.simplified());
        QFile::remove(suspicion());
    }
    disconnect();
}

QString Database::suspicion() const { return m_path + u".suspect"_s; }

void Database::suspect() const noexcept
{
    try {
        ensurePrivateFile(suspicion());
    } catch (const BasicException&) {
        // It will be found again as it was found now.
    }
}

void Database::requireKind(const Format& format)
{
    const int version = number(u"PRAGMA user_version"_s);
    if (version < 1 || number(u"PRAGMA application_id"_s) != format.applicationId)
        throw storageError(StorageFault::Damaged, m_path);
    if (version > format.version)
        throw storageError(StorageFault::Newer, m_path, u"%1 > %2"_s.arg(version).arg(format.version));
}

void Database::ensureMade(const Format& format) const
{
    if (QFileInfo::exists(m_path))
        return;
    const FolderLock lock(m_path); // another process may be about it as well
    if (QFileInfo::exists(m_path))
        return;
    // SQLite would take a log that lies there for the new file's own.
    finishQuarantine(m_path);
    try {
        removeUnfinished(m_path);
        const QString unfinished = newPrivateFile(m_path);
        Database(unfinished).fill(format);
        moveToNewName(unfinished, m_path);
    } catch (...) {
        removeUnfinished(m_path);
        throw;
    }
}

void Database::fill(const Format& format)
{
    connect({});
    execute(u"PRAGMA auto_vacuum=INCREMENTAL"_s); // before anything else is written
    execute(u"PRAGMA journal_mode=WAL"_s);
    execute(u"PRAGMA synchronous=FULL"_s);
    atomically([&] {
        for (const QString& statement : format.creates)
            execute(statement);
        execute(u"PRAGMA application_id=%1"_s.arg(format.applicationId));
        execute(u"PRAGMA user_version=%1"_s.arg(format.version));
    });
    disconnect(); // the last one to close folds the log into the file
}

} // namespace storage

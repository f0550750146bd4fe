#include "host/utils/database.h"

#include "host/utils/privatefile.h"
#include "host/utils/storageerror.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlRecord>

#include <atomic>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace utils {

namespace {

constexpr auto waitForLocks = "QSQLITE_BUSY_TIMEOUT=2000"; // milliseconds: a cashier is waiting
constexpr qint64 quicklyChecked = 32LL * 1024 * 1024;      // bytes; a till is not to wait long for its queue

// SQLite's primary result codes; the driver's own header has none.
enum SqliteCode : int {
    Busy = 5,
    TableLocked = 6,
    ReadOnly = 8,
    IoError = 10,
    Corrupt = 11,
    Full = 13,
    CannotOpen = 14,
    NotADatabase = 26,
    ShortWrite = 778, // what writing past a limit on the file's size ends in
};

StorageFault faultOf(int code)
{
    if (code == ShortWrite)
        return StorageFault::Full;
    switch (code & 0xff) {
    case Busy:
    case TableLocked:
        return StorageFault::Locked;
    case ReadOnly:
    case CannotOpen:
        return StorageFault::Denied;
    case Corrupt:
    case NotADatabase:
        return StorageFault::Damaged;
    case Full:
        return StorageFault::Full;
    default:
        return StorageFault::Failed;
    }
}

QString newConnectionName()
{
    static std::atomic<int> made = 0;
    return u"kyr-store-%1"_s.arg(++made);
}

} // namespace

Database::Database(const QString& path, const Format& format)
    : m_path(path)
    , m_connection(newConnectionName())
{
    ensurePrivateFile(path);
    try {
        if (QFileInfo(path).size() > 0) {
            // Whoever may write folds the log into the file on closing it, so a file that might have to be
            // left alone is first looked at by a reader.
            connect(u"QSQLITE_OPEN_READONLY"_s);
            check(format);
            disconnect();
        }
        connect({});
        // NORMAL would lose the last commits at a power cut.
        execute(u"PRAGMA journal_mode=WAL"_s);
        execute(u"PRAGMA synchronous=FULL"_s);
        if (number(u"PRAGMA user_version"_s) == 0)
            create(format);
        m_inode = inode();
    } catch (...) {
        disconnect();
        throw;
    }
}

Database::~Database() { disconnect(); }

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
    m_database = {};
    QSqlDatabase::removeDatabase(m_connection);
}

void Database::check(const Format& format)
{
    const int version = number(u"PRAGMA user_version"_s);
    // A file of version 0 is one whose making was interrupted; then it holds nothing.
    const bool ours = version == 0 ? number(u"SELECT count(*) FROM sqlite_master"_s) == 0
                                   : number(u"PRAGMA application_id"_s) == format.applicationId;
    if (!ours)
        throw storageError(StorageFault::Damaged, m_path);
    if (version > format.version)
        throw storageError(StorageFault::Newer, m_path, u"%1 > %2"_s.arg(version).arg(format.version));
    if (QFileInfo(m_path).size() > quicklyChecked)
        return; // found as it is read
    QSqlQuery query = prepared(u"PRAGMA quick_check(1)"_s);
    const QString verdict = rows(query).value(0).value(0).toString();
    if (verdict != u"ok")
        throw storageError(StorageFault::Damaged, m_path, verdict.simplified());
}

void Database::create(const Format& format) const
{
    atomically([&] {
        if (number(u"PRAGMA user_version"_s) != 0)
            return; // another process was quicker
        for (const QString& statement : format.creates)
            execute(statement);
        execute(u"PRAGMA application_id=%1"_s.arg(format.applicationId));
        execute(u"PRAGMA user_version=%1"_s.arg(format.version));
    });
}

QSqlQuery Database::prepared(const QString& sql) const
{
    QSqlQuery query(m_database);
    query.setForwardOnly(true);
    if (!query.prepare(sql))
        fail(query.lastError());
    return query;
}

int Database::change(QSqlQuery& statement, const QVariantList& values) const
{
    requireInPlace();
    execute(statement, values);
    const int changed = statement.numRowsAffected();
    statement.finish();
    return changed;
}

qint64 Database::insert(QSqlQuery& statement, const QVariantList& values) const
{
    requireInPlace();
    execute(statement, values);
    const qint64 id = statement.lastInsertId().toLongLong();
    statement.finish();
    return id;
}

QList<QVariantList> Database::rows(QSqlQuery& statement, const QVariantList& values) const
{
    execute(statement, values);
    QList<QVariantList> result;
    const int columns = statement.record().count();
    while (statement.next()) {
        QVariantList row;
        row.reserve(columns);
        for (int column = 0; column < columns; ++column)
            row.append(statement.value(column));
        result.append(row);
    }
    const QSqlError error = statement.lastError();
    statement.finish();
    if (error.isValid())
        fail(error);
    return result;
}

void Database::atomically(const std::function<void()>& steps) const
{
    execute(u"BEGIN IMMEDIATE"_s);
    try {
        steps();
        execute(u"COMMIT"_s);
    } catch (...) {
        QSqlQuery rollback(m_database);
        rollback.exec(u"ROLLBACK"_s); // SQLite may have done it itself; the first failure is the one to tell
        throw;
    }
}

void Database::execute(const QString& sql) const
{
    QSqlQuery query(m_database);
    if (!query.exec(sql))
        fail(query.lastError());
}

void Database::execute(QSqlQuery& statement, const QVariantList& values) const
{
    for (int i = 0; i < values.size(); ++i) {
        const QVariant& value = values.at(i);
        const bool nullText = value.typeId() == QMetaType::QString && value.toString().isNull();
        statement.bindValue(i, nullText ? QVariant(u""_s) : value);
    }
    if (!statement.exec()) {
        const QSqlError error = statement.lastError();
        statement.finish();
        fail(error);
    }
}

int Database::number(const QString& sql) const
{
    QSqlQuery query = prepared(sql);
    return rows(query).value(0).value(0).toInt();
}

ino_t Database::inode() const
{
    struct stat found = {};
    return stat(QFile::encodeName(m_path).constData(), &found) == 0 ? found.st_ino : 0;
}

// What is written into a file that somebody has removed is kept by nobody.
void Database::requireInPlace() const
{
    if (inode() != m_inode)
        throw storageError(StorageFault::Gone, m_path);
}

void Database::fail(const QSqlError& error) const
{
    throw storageError(faultOf(error.nativeErrorCode().toInt()), m_path, error.databaseText());
}

} // namespace utils

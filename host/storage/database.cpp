#include "host/storage/database.h"

#include "host/storage/lockholder.h"
#include "host/storage/storageerror.h"
#include "host/utils/tr.h"

#include <QSqlError>
#include <QSqlRecord>

#include <algorithm>
#include <atomic>
#include <utility>

using namespace Qt::StringLiterals;

namespace storage {

namespace {

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
    NoIndex = 4874,   // there was no room for the log's index, -shm
};

StorageFault faultOf(int code)
{
    if (code == ShortWrite || code == NoIndex)
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

std::atomic<qint64> theCommits = 0;

} // namespace

qint64 Database::commits() { return theCommits; }

QSqlQuery Database::prepared(const QString& sql) const
{
    QSqlQuery query(m_database);
    query.setForwardOnly(true);
    if (!query.prepare(sql))
        fail(query.lastError());
    return query;
}

QSqlQuery& Database::kept(const QString& sql) const
{
    const auto found = m_kept.find(sql);
    return found != m_kept.end() ? found->second : m_kept.emplace(sql, prepared(sql)).first->second;
}

int Database::change(QSqlQuery& statement, const QVariantList& values) const
{
    requireReady();
    execute(statement, values);
    theCommits += isInTransaction() ? 0 : 1;
    const int changed = statement.numRowsAffected();
    statement.finish();
    return changed;
}

qint64 Database::insert(QSqlQuery& statement, const QVariantList& values) const
{
    requireReady();
    execute(statement, values);
    theCommits += isInTransaction() ? 0 : 1;
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

int Database::change(const QString& sql, const QVariantList& values) const
{
    return change(kept(sql), values);
}

QList<QVariantList> Database::rows(const QString& sql, const QVariantList& values) const
{
    return rows(kept(sql), values);
}

void Database::atomically(const std::function<void()>& steps) const
{
    const bool joins = isInTransaction();
    try {
        if (!joins)
            begin();
        steps();
        if (!joins)
            commit();
    } catch (...) {
        spoil(std::current_exception());
        if (!joins)
            rollback();
        throw;
    }
}

void Database::begin() const
{
    if (isInTransaction()) {
        requireUnspoilt();
        execute(kept(u"SAVEPOINT inner"_s), {});
    } else {
        if (m_files)
            requireInPlace();
        execute(kept(u"BEGIN IMMEDIATE"_s), {});
    }
    ++m_depth;
}

void Database::commit() const
{
    if (m_spoilt)
        std::rethrow_exception(m_spoilt);
    if (m_depth > 1) {
        execute(kept(u"RELEASE inner"_s), {});
        --m_depth;
        for (auto& kept : m_onceKept)
            kept.first = std::min(kept.first, m_depth);
        if (m_companion)
            m_companion->first = std::min(m_companion->first, m_depth);
        return;
    }
    if (m_files)
        requireInPlace();
    if (m_companion)
        m_companion->second->keep();
    execute(kept(u"COMMIT"_s), {});
    ++theCommits;
    m_depth = 0;
    m_companion.reset();
    for (const auto& kept : std::exchange(m_onceKept, {}))
        kept.second();
}

void Database::rollback() const noexcept
{
    if (!isInTransaction())
        return;
    std::erase_if(m_onceKept, [this](const auto& kept) { return kept.first >= m_depth; });
    const bool outlives = m_companion && m_companion->first < m_depth;
    if (m_companion && !outlives)
        std::exchange(m_companion, std::nullopt)->second->undo();
    QSqlQuery query(m_database);
    if (--m_depth == 0) {
        m_spoilt = nullptr;
        query.exec(u"ROLLBACK"_s); // SQLite may have done it itself; the first failure is the one to tell
    } else if (outlives) {
        spoil(std::make_exception_ptr(storageError(StorageFault::Failed, m_path)));
    } else if (query.exec(u"ROLLBACK TO inner"_s)) {
        query.exec(u"RELEASE inner"_s);
        m_spoilt = nullptr; // else SQLite has undone all of it
    } else {
        spoil(std::make_exception_ptr(storageError(StorageFault::Failed, m_path)));
    }
}

void Database::onceKept(std::function<void()> what) const
{
    if (isInTransaction())
        m_onceKept.emplace_back(m_depth, std::move(what));
    else
        what();
}

void Database::accompany(Companion& companion) const
{
    Q_ASSERT(isInTransaction() && !m_companion);
    m_companion = {m_depth, &companion};
}

void Database::requireWritable() const
{
    atomically([this] { execute(u"PRAGMA user_version=%1"_s.arg(number(u"PRAGMA user_version"_s))); });
}

void Database::execute(const QString& sql) const
{
    QSqlQuery query = prepared(sql);
    static_cast<void>(rows(query)); // a pragma's change is committed behind its last row, and may fail there
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

// What is written into a file that somebody has removed is kept by nobody; that holds for the log too, and
// without the one index of all others are not kept from writing over it.
void Database::requireInPlace(const Files& files) const
{
    QString gone;
    if (identityOf(m_path) != files.own)
        gone = m_path;
    else if (identityOf(m_path + u"-wal"_s) != files.log)
        gone = m_path + u"-wal"_s;
    else if (identityOf(m_path + u"-shm"_s) != files.index)
        gone = m_path + u"-shm"_s;
    if (gone.isEmpty())
        return;
    m_sound = false;
    const BasicException failure = storageError(StorageFault::Gone, gone);
    spoil(std::make_exception_ptr(failure));
    throw failure;
}

void Database::requireInPlace() const { requireInPlace(m_files.value_or(Files{})); }

void Database::requireReady() const
{
    requireUnspoilt();
    if (!isInTransaction()) // else its commit asks
        requireInPlace();
}

QString Database::lockHolders() const
{
    for (const QString& locked : {m_path, m_path + u"-shm"_s}) {
        const QString holder = lockHolder(locked);
        if (!holder.isEmpty())
            return u"; "_s + holder;
    }
    return {};
}

void Database::spoil(const std::exception_ptr& failure) const
{
    if (isInTransaction() && !m_spoilt)
        m_spoilt = failure;
}

// After some failures SQLite has undone the transaction by itself: what came next would be kept all alone.
void Database::requireUnspoilt() const
{
    if (isInTransaction() && m_spoilt)
        throw BasicException(tr::Tr(u"hostTransactionSpoilt"_s,
                                    u"Не сохранено: запись в файл %1 отменена, часть её не удалась"_s)
                                 .arg(m_path));
}

void Database::fail(const QSqlError& error) const
{
    const StorageFault fault = faultOf(error.nativeErrorCode().toInt());
    if (fault != StorageFault::Full && fault != StorageFault::Locked)
        m_sound = false;
    if (fault == StorageFault::Damaged && m_files)
        suspect();
    const QString holder = fault == StorageFault::Locked ? lockHolders() : QString();
    const BasicException failure = storageError(fault, m_path, error.databaseText() + holder);
    spoil(std::make_exception_ptr(failure));
    throw failure;
}

} // namespace storage

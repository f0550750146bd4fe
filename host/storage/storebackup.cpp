#include "host/storage/storebackup.h"

#include "host/storage/documentcodec.h"
#include "host/storage/durablefile.h"
#include "host/storage/openreceipt.h"
#include "host/storage/storageerror.h"
#include "host/storage/store.h"
#include "host/storage/storecontents.h"
#include "host/storage/storeschema.h"
#include "host/storage/unfinishedstore.h"
#include "host/utils/utc.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace storage {

namespace {

QList<QVariantList> select(const Database& store, const QString& sql)
{
    QSqlQuery query = store.prepared(sql);
    return store.rows(query);
}

qint64 countOf(const Database& store, const QString& table)
{
    return select(store, u"SELECT count(*) FROM %1"_s.arg(table))[0][0].toLongLong();
}

QStringList tablesOf(const Database& store)
{
    QStringList tables;
    // The tally last: putting the others in changes it.
    for (const QVariantList& row :
         select(store, u"SELECT name FROM main.sqlite_master WHERE type = 'table' "
                       "AND name NOT LIKE 'sqlite_%' ORDER BY name = 'tally', name"_s))
        tables.append(row[0].toString());
    return tables;
}

/// The store as it is at one moment, while others go on changing it, and a file beside it.
class Snapshot
{
public:
    Snapshot(const Database& store, const QString& file)
        : m_store(store)
    {
        QSqlQuery attach = store.prepared(u"ATTACH ? AS copy"_s);
        static_cast<void>(store.rows(attach, {file}));
        // An unfinished copy is nothing worth; when it is finished it is made durable.
        select(store, u"PRAGMA copy.journal_mode=OFF"_s);
        select(store, u"PRAGMA copy.synchronous=OFF"_s);
        select(store, u"BEGIN"_s);
    }
    ~Snapshot()
    {
        for (const QString& end : {u"ROLLBACK"_s, u"DETACH copy"_s}) {
            try {
                select(m_store, end);
            } catch (const BasicException&) {
                // It is over already.
            }
        }
    }
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;

    /// Copies all of it; how many rows each table has.
    QMap<QString, qint64> copy()
    {
        QMap<QString, qint64> counts;
        for (const QString& table : tablesOf(m_store) + QStringList{u"sqlite_sequence"_s}) {
            select(m_store, u"DELETE FROM copy.%1"_s.arg(table));
            select(m_store, u"INSERT INTO copy.%1 SELECT * FROM main.%1"_s.arg(table));
            counts.insert(table, countOf(m_store, u"main."_s + table));
        }
        select(m_store, u"COMMIT"_s);
        return counts;
    }

private:
    const Database& m_store;
};

} // namespace

void requireSound(const Database& store)
{
    const QString verdict = select(store, u"PRAGMA integrity_check(1)"_s)[0][0].toString();
    if (verdict != u"ok")
        throw storageError(StorageFault::Damaged, store.path(), verdict.simplified());
}

StoreContents contentsOf(const Database& store)
{
    StoreContents contents;
    for (const QString& table : tablesOf(store))
        contents.rows.insert(table, countOf(store, table));
    const QVariantList tally = select(store, u"SELECT waiting, parked FROM tally"_s).value(0);
    contents.waiting = tally.value(0).toLongLong();
    contents.parked = tally.value(1).toLongLong();
    const QVariant newest =
        select(store, u"SELECT time FROM journal ORDER BY id DESC LIMIT 1"_s).value(0).value(0);
    if (!newest.isNull())
        contents.newest = utils::utcFromMilliseconds(newest.toLongLong());
    contents.damaged = damagedSeals(store);
    const QByteArray open = openReceiptIn(store);
    try {
        if (!open.isEmpty())
            contents.openReceipt = documentcodec::readDocument(open, store.path())->getIdentifier();
    } catch (const BasicException& failure) {
        if (!isFault(failure, StorageFault::Damaged))
            throw;
        contents.damaged.append({u"open_receipt"_s, {}});
    }
    return contents;
}

std::optional<StoreContents> backUpStore(const QString& file)
{
    const QString path = QFileInfo(file).absoluteFilePath();
    if (identityOf(path))
        return std::nullopt;
    const UnfinishedStore copy(path);
    return copy.throughFailures([&]() -> std::optional<StoreContents> {
        Database(copy.path(), storeFormat()); // makes it
        const std::shared_ptr<Database> source = store();
        requireSound(*source);
        const QMap<QString, qint64> counts = Snapshot(*source, copy.path()).copy();
        source->requireInPlace();
        StoreContents contents;
        {
            const Database made(copy.path(), storeFormat());
            requireSound(made);
            contents = contentsOf(made);
            for (auto table = counts.cbegin(); table != counts.cend(); ++table) {
                if (countOf(made, table.key()) != *table) // GCOVR_EXCL_BR_LINE: SQLite copies all or fails
                    throw storageError(StorageFault::Failed, path, u"it is not as the store"_s);
            }
            select(made,
                   u"PRAGMA journal_mode=DELETE"_s); // so that it can be read where nothing may be written
        }
        return copy.finish() ? std::optional(contents) : std::nullopt;
    });
}

} // namespace storage

#include "host/storage/removal.h"

#include "host/core/document.h"
#include "host/storage/documents.h"
#include "host/storage/store.h"
#include "host/utils/basicexception.h"
#include "host/utils/utc.h"

#include <QSqlQuery>

#include <limits>
#include <utility>

using namespace Qt::StringLiterals;

namespace storage {

QStringList openFamilies()
{
    const auto open = SaveToFileLogic::loadOpenReceipt();
    return open ? QStringList{open->getIdentifier(), open->getSaleDocumentId().toString()} : QStringList();
}

namespace {

/// Calls it with each row that the query finds behind the row number that it is given; each row begins with
/// its own number. A hundred rows are read at a time.
template <class Take>
void forEachRow(const Database& store, const QString& sql, Take take)
{
    QSqlQuery page = store.prepared(sql + u" LIMIT 100"_s);
    qint64 last = std::numeric_limits<qint64>::min();
    for (auto rows = store.rows(page, {last}); !rows.isEmpty(); rows = store.rows(page, {last})) {
        for (const QVariantList& row : rows) {
            last = row[0].toLongLong();
            take(row);
        }
    }
}

/// What the pragma answers.
int asked(const Database& store, const QString& pragma)
{
    QSqlQuery query = store.prepared(u"PRAGMA "_s + pragma);
    return store.rows(query).value(0).value(0).toInt();
}

/// While it lives, other programs' locks are waited for that long.
class Patience
{
public:
    Patience(const Database& store, int milliseconds)
        : m_store(store)
        , m_usual(asked(store, u"busy_timeout"_s))
    {
        set(milliseconds);
    }
    ~Patience()
    {
        try {
            set(m_usual);
        } catch (const BasicException&) {
            // Only a connection that is of no use any more refuses that.
        }
    }
    Patience(const Patience&) = delete;
    Patience& operator=(const Patience&) = delete;

private:
    void set(int milliseconds) { static_cast<void>(asked(m_store, u"busy_timeout=%1"_s.arg(milliseconds))); }

    const Database& m_store;
    int m_usual;
};

} // namespace

Removal::Removal(const std::shared_ptr<Database>& store)
    : Removal([store](const QString& sql, const QVariantList& values) { return store->rows(sql, values); })
{
    m_open = openFamilies();
}

Removal::Removal(Execute execute)
    : m_execute(std::move(execute))
{}

QString Removal::familyOf(const QString& receipt) const
{
    const QString sale =
        m_execute(u"SELECT sale FROM documents WHERE identifier = ? AND sale <> ''"_s, {receipt})
            .value(0)
            .value(0)
            .toString();
    return sale.isEmpty() ? receipt : sale;
}

std::optional<Need> Removal::needOf(const QString& family) const
{
    if (m_open.contains(family))
        return Need::Open;
    if (finds(u"SELECT 1 FROM queued WHERE receipt = ? AND receipt <> '' AND parked LIMIT 1"_s, family))
        return Need::Parked;
    if (finds(u"SELECT 1 FROM queued WHERE receipt = ? AND receipt <> '' LIMIT 1"_s, family))
        return Need::Waiting;
    // A receipt is closed only when it is known what was spent on it, and abandoning one settles it.
    if (finds(u"SELECT 1 FROM journal WHERE receipt = ? AND event = 'unknown' LIMIT 1"_s, family) &&
        !finds(u"SELECT 1 FROM journal WHERE receipt = ? AND event IN ('closed', 'abandoned') LIMIT 1"_s,
               family))
        return Need::Unknown;
    return std::nullopt;
}

std::optional<qint64> Removal::youngestOf(const QString& family) const
{
    const QList<QVariantList> members = membersOf(family);
    return members.isEmpty() ? std::nullopt : std::optional(members.last().value(1).toLongLong());
}

QList<RemovedReceipt> Removal::remove(const QString& family) const
{
    QList<RemovedReceipt> removed;
    QStringList names{family};
    for (const QVariantList& row : membersOf(family)) {
        removed.append({row[0].toString(), utils::utcFromMilliseconds(row[1].toLongLong())});
        names.append(row[0].toString());
    }
    names.removeDuplicates();
    for (const QString& sql :
         {u"DELETE FROM card_records WHERE document = ?"_s, u"DELETE FROM documents WHERE identifier = ?"_s,
          u"DELETE FROM journal WHERE receipt = ?"_s,
          u"DELETE FROM history WHERE receipt = ? AND receipt <> ''"_s}) {
        for (const QString& name : names)
            m_execute(sql, {name});
    }
    return removed;
}

bool Removal::finds(const QString& sql, const QString& family) const
{
    return !m_execute(sql, {family}).isEmpty();
}

QList<QVariantList> Removal::membersOf(const QString& family) const
{
    return m_execute(
        u"SELECT identifier, stored FROM documents WHERE identifier = ? UNION ALL "
        "SELECT identifier, stored FROM documents WHERE sale = ? AND sale <> '' ORDER BY stored"_s,
        {family, family});
}

CardTraces tracesOf(const QString& card)
{
    const auto store = storage::store();
    CardSearch search(card, store->path());
    forEachRow(*store,
               u"SELECT rowid, identifier, sale, content FROM documents WHERE rowid > ? ORDER BY rowid"_s,
               [&](const QVariantList& row) {
                   search.lookAtReceipt(row[1].toString(), row[2].toString(), row[3].toByteArray());
               });
    forEachRow(*store,
               u"SELECT r.rowid, document, sale, r.content FROM card_records r LEFT JOIN documents "
               "ON identifier = document WHERE r.rowid > ? ORDER BY r.rowid"_s,
               [&](const QVariantList& row) {
                   search.lookAtCard(row[1].toString(), row[2].toString(), row[3].toByteArray());
               });
    for (const QString& table : {u"queued"_s, u"history"_s}) {
        QSqlQuery query = store->prepared(
            u"SELECT DISTINCT receipt FROM %1 WHERE receipt <> '' AND instr(message, ?) > 0"_s.arg(table));
        for (const QVariantList& row : store->rows(query, {search.inMessages()}))
            search.note(row[0].toString());
    }
    if (const auto open = SaveToFileLogic::loadOpenReceipt())
        search.lookAtOpen(*open);
    return search.traces();
}

bool foldLog(const Database& store, int patience)
{
    const Patience meanwhile(store, patience);
    return asked(store, u"wal_checkpoint(TRUNCATE)"_s) == 0;
}

} // namespace storage

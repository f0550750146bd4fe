#include "host/storage/removal.h"

#include "host/core/document.h"
#include "host/storage/documentcodec.h"
#include "host/storage/documents.h"
#include "host/storage/storageerror.h"
#include "host/storage/store.h"
#include "host/utils/basicexception.h"
#include "host/utils/utc.h"

#include <limits>

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

bool carries(const DocumentCardRecord& record, const QString& card)
{
    return record.getNumber().toString() == card;
}

bool carries(const Document& document, const QString& card)
{
    const auto records = document.cardRecords();
    return std::any_of(records.cbegin(), records.cend(),
                       [&card](const auto& record) { return carries(*record, card); });
}

/// Whether what can be read does; a damaged content is noted.
template <class Look>
bool found(Look look, const QString& receipt, QStringList& damaged)
{
    try {
        return look();
    } catch (const BasicException& failure) {
        if (!isFault(failure, StorageFault::Damaged))
            throw;
        damaged.append(receipt);
        return false;
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

Removal::Removal(std::shared_ptr<Database> store)
    : m_store(std::move(store))
    , m_open(openFamilies())
    , m_sale(m_store->prepared(u"SELECT sale FROM documents WHERE identifier = ? AND sale <> ''"_s))
    , m_members(m_store->prepared(
          u"SELECT identifier, stored FROM documents WHERE identifier = ? UNION ALL "
          "SELECT identifier, stored FROM documents WHERE sale = ? AND sale <> '' ORDER BY stored"_s))
    , m_parked(m_store->prepared(
          u"SELECT 1 FROM queued WHERE receipt = ? AND receipt <> '' AND parked = 1 LIMIT 1"_s))
    , m_waiting(m_store->prepared(u"SELECT 1 FROM queued WHERE receipt = ? AND receipt <> '' LIMIT 1"_s))
    , m_unknown(m_store->prepared(u"SELECT 1 FROM journal WHERE receipt = ? AND event = 'unknown' LIMIT 1"_s))
    , m_ended(m_store->prepared(
          u"SELECT 1 FROM journal WHERE receipt = ? AND event IN ('closed', 'abandoned') LIMIT 1"_s))
{}

QString Removal::familyOf(const QString& receipt)
{
    const QString sale = m_store->rows(m_sale, {receipt}).value(0).value(0).toString();
    return sale.isEmpty() ? receipt : sale;
}

std::optional<Need> Removal::needOf(const QString& family)
{
    if (m_open.contains(family))
        return Need::Open;
    if (finds(m_parked, family))
        return Need::Parked;
    if (finds(m_waiting, family))
        return Need::Waiting;
    // A receipt is closed only when it is known what was spent on it, and abandoning one settles it.
    if (finds(m_unknown, family) && !finds(m_ended, family))
        return Need::Unknown;
    return std::nullopt;
}

std::optional<qint64> Removal::youngestOf(const QString& family)
{
    const QList<QVariantList> members = m_store->rows(m_members, {family, family});
    return members.isEmpty() ? std::nullopt : std::optional(members.last().value(1).toLongLong());
}

QList<RemovedReceipt> Removal::remove(const QString& family)
{
    QList<RemovedReceipt> removed;
    QStringList names{family};
    for (const QVariantList& row : m_store->rows(m_members, {family, family})) {
        removed.append({row[0].toString(), utils::utcFromMilliseconds(row[1].toLongLong())});
        names.append(row[0].toString());
    }
    names.removeDuplicates();
    for (const QString& sql :
         {u"DELETE FROM card_records WHERE document = ?"_s, u"DELETE FROM documents WHERE identifier = ?"_s,
          u"DELETE FROM journal WHERE receipt = ?"_s,
          u"DELETE FROM history WHERE receipt = ? AND receipt <> ''"_s}) {
        QSqlQuery statement = m_store->prepared(sql);
        for (const QString& name : names)
            m_store->change(statement, {name});
    }
    return removed;
}

bool Removal::finds(QSqlQuery& query, const QString& family)
{
    return !m_store->rows(query, {family}).isEmpty();
}

CardTraces tracesOf(const QString& card)
{
    const auto store = storage::store();
    CardTraces traces;
    const auto note = [&traces](const QString& receipt, const QString& sale) {
        traces.families.append(sale.isEmpty() ? receipt : sale);
    };
    forEachRow(
        *store, u"SELECT rowid, identifier, sale, content FROM documents WHERE rowid > ? ORDER BY rowid"_s,
        [&](const QVariantList& row) {
            const QString receipt = row[1].toString();
            const auto look = [&] {
                return carries(*documentcodec::readDocument(row[3].toByteArray(), store->path()), card);
            };
            if (found(look, receipt, traces.damaged))
                note(receipt, row[2].toString());
        });
    forEachRow(*store,
               u"SELECT r.rowid, document, sale, r.content FROM card_records r LEFT JOIN documents "
               "ON identifier = document WHERE r.rowid > ? ORDER BY r.rowid"_s,
               [&](const QVariantList& row) {
                   const QString receipt = row[1].toString();
                   const auto look = [&] {
                       return carries(*documentcodec::readCardRecord(row[3].toByteArray(), store->path()),
                                      card);
                   };
                   if (found(look, receipt, traces.damaged))
                       note(receipt, row[2].toString());
               });
    // The service's requests hold it as a JSON text.
    const QByteArray inMessages = '"' + card.toUtf8() + '"';
    for (const QString& table : {u"queued"_s, u"history"_s}) {
        QSqlQuery query = store->prepared(
            u"SELECT DISTINCT receipt FROM %1 WHERE receipt <> '' AND instr(message, ?) > 0"_s.arg(table));
        for (const QVariantList& row : store->rows(query, {inMessages}))
            note(row[0].toString(), {});
    }
    if (const auto open = SaveToFileLogic::loadOpenReceipt(); open && carries(*open, card))
        note(open->getIdentifier(), open->getSaleDocumentId().toString());
    traces.families.removeDuplicates();
    traces.damaged.removeDuplicates();
    return traces;
}

bool foldLog(const Database& store, int patience)
{
    const Patience meanwhile(store, patience);
    return asked(store, u"wal_checkpoint(TRUNCATE)"_s) == 0;
}

} // namespace storage

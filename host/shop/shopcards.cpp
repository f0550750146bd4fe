#include "host/shop/shopcards.h"

#include "host/shop/familylock.h"
#include "host/utils/utc.h"

using namespace Qt::StringLiterals;

namespace shop {

namespace {

const QString beforeAll = u"-infinity"_s; // months

/// Calls it with each row that the query finds behind a key, the first columns of each row; some hundred are
/// read at a time. `first` is before all keys.
template <class Take>
void forEachRow(Connection& database, const QString& query, const QVariantList& first, Take take)
{
    constexpr int pageSize = 500;
    QVariantList last = first;
    for (;;) {
        const auto rows = database.run(query + u" LIMIT %1"_s.arg(pageSize), last).rows;
        for (const QVariantList& row : rows)
            take(row);
        if (rows.size() < pageSize)
            return;
        last = rows.last().first(first.size());
    }
}

/// As this database wants it: "$1", "$2", … in the place of each "?".
QString numbered(QString sql)
{
    qsizetype place = 0;
    for (int number = 1; (place = sql.indexOf(u'?', place)) >= 0; ++number)
        sql.replace(place, 1, u"$%1"_s.arg(number));
    return sql;
}

} // namespace

storage::CardTraces tracesOf(Connection& database, const QString& card)
{
    storage::CardSearch search(card, database.where());
    forEachRow(database,
               u"SELECT identifier, month, sale, content FROM documents WHERE (identifier, month) > ($1, $2) "
               "ORDER BY identifier, month"_s,
               {u""_s, beforeAll}, [&](const QVariantList& row) {
                   search.lookAtReceipt(row[0].toString(), row[2].toString(), row[3].toByteArray());
               });
    forEachRow(database,
               u"SELECT document, kind, r.month, coalesce(sale, ''), r.content FROM card_records r "
               "LEFT JOIN documents d ON d.month = r.month AND identifier = document "
               "WHERE (document, kind, r.month) > ($1, $2, $3) ORDER BY document, kind, r.month"_s,
               {u""_s, -1, beforeAll}, [&](const QVariantList& row) {
                   search.lookAtCard(row[0].toString(), row[3].toString(), row[4].toByteArray());
               });
    for (const QString& table : {u"queued"_s, u"history"_s}) {
        const QString sql =
            u"SELECT DISTINCT receipt FROM %1 WHERE receipt <> '' AND position($1::bytea IN message) > 0"_s;
        for (const QVariantList& row : database.run(sql.arg(table), {search.inMessages()}).rows)
            search.note(row[0].toString());
    }
    return search.traces();
}

std::variant<storage::Need, QList<storage::RemovedReceipt>> removeFamily(Connection& database,
                                                                         const QString& family)
{
    database.begin();
    try {
        lockFamily(database, family);
        const storage::Removal removal([&database](const QString& sql, const QVariantList& values) {
            return database.run(numbered(sql), values).rows;
        });
        if (const auto need = removal.needOf(family)) {
            database.rollback();
            return *need;
        }
        const auto removed = removal.remove(family);
        database.write();
        database.commit();
        return removed;
    } catch (...) {
        database.rollback();
        throw;
    }
}

} // namespace shop

#include "stand/pages/overview.h"

#include "stand/books/clock.h"
#include "stand/books/database.h"
#include "stand/books/money.h"
#include "stand/pages/exchanges.h"

using namespace Qt::StringLiterals;

namespace stand {

namespace {

constexpr int rows = 40;

double points(const QSqlQuery& row, int column) { return inUnits(row.value(column).toLongLong()); }

QJsonArray accounts(Database& database)
{
    auto query = database.run(uR"(SELECT kind, cards.number, concat_name, mobile, coalesce(
                                         (SELECT balance FROM entries WHERE entries.account = accounts.id
                                          ORDER BY n DESC LIMIT 1), 0)
                                  FROM accounts
                                  LEFT JOIN cards ON cards.account = coalesce(owner, accounts.id)
                                  LEFT JOIN (SELECT id, mobile, trim(coalesce(last_name, '') || ' ' ||
                                                    coalesce(first_name, '')) AS concat_name
                                             FROM customers) holders ON holders.id = cards.customer
                                  ORDER BY cards.number IS NULL, cards.number, accounts.id)"_s);
    QJsonArray list;
    while (query.next()) {
        QJsonObject account{{u"kind"_s, query.value(0).toString()}, {u"balance"_s, points(query, 4)}};
        const auto put = [&](const QString& name, int column) {
            if (!query.isNull(column))
                account.insert(name, query.value(column).toString());
        };
        put(u"card"_s, 1);
        put(u"holder"_s, 2);
        put(u"phone"_s, 3);
        list.append(account);
    }
    return list;
}

QJsonArray entriesOf(Database& database, qint64 operation)
{
    auto query = database.run(uR"(SELECT kind, cards.number, amount, balance FROM entries
                                  JOIN accounts ON accounts.id = entries.account
                                  LEFT JOIN cards ON cards.account = accounts.id
                                  WHERE operation = ? ORDER BY entries.n)"_s,
                              {operation});
    QJsonArray list;
    while (query.next()) {
        QJsonObject entry{{u"kind"_s, query.value(0).toString()},
                          {u"amount"_s, points(query, 2)},
                          {u"balance"_s, points(query, 3)}};
        if (!query.isNull(1))
            entry.insert(u"card"_s, query.value(1).toString());
        list.append(entry);
    }
    return list;
}

QJsonArray operations(Database& database)
{
    auto query = database.run(uR"(SELECT n, time, operation, receipt_number, names FROM operations
                                  ORDER BY n DESC LIMIT ?)"_s,
                              {rows});
    QJsonArray list;
    while (query.next()) {
        list.append(QJsonObject{{u"n"_s, query.value(0).toLongLong()},
                                {u"time"_s, query.value(1).toString()},
                                {u"operation"_s, query.value(2).toString()},
                                {u"receipt_number"_s, query.value(3).toString()},
                                {u"refers_to"_s, query.value(4).toString()},
                                {u"entries"_s, entriesOf(database, query.value(0).toLongLong())}});
    }
    return list;
}

qint64 newest(Database& database, const QString& table, const QString& column)
{
    auto query = database.run(u"SELECT coalesce(max(%1), 0) FROM %2"_s.arg(column, table));
    query.next();
    return query.value(0).toLongLong();
}

QJsonArray reversed(const QJsonArray& list)
{
    QJsonArray result;
    for (const auto& value : list)
        result.prepend(value);
    return result;
}

} // namespace

QJsonObject booksOverview(Database& database)
{
    const auto exchanges = newest(database, u"exchanges"_s, u"n"_s);
    return {{u"time"_s, now().toString(Qt::ISODateWithMs)},
            {u"accounts"_s, accounts(database)},
            {u"operations"_s, operations(database)},
            {u"operations_in_all"_s, newest(database, u"operations"_s, u"n"_s)},
            {u"exchanges"_s, reversed(Exchanges(database).after(exchanges - rows))},
            {u"exchanges_in_all"_s, exchanges},
            {u"codes_in_all"_s, newest(database, u"approvals"_s, u"id"_s)}};
}

} // namespace stand

#include "stand/pages/inspection.h"

#include "stand/books/database.h"
#include "stand/books/invariants.h"
#include "stand/books/money.h"
#include "stand/books/thresholds.h"

using namespace Qt::StringLiterals;

namespace stand {

namespace {

double points(const QSqlQuery& row, int column) { return inUnits(row.value(column).toLongLong()); }

QJsonArray operations(Database& database)
{
    auto query = database.run(uR"(SELECT n, time, operation, receipt_number, card, check_identifier, points,
                                         names, root
                                  FROM operations ORDER BY n)"_s);
    QJsonArray list;
    while (query.next()) {
        QJsonObject operation{
            {u"n"_s, query.value(0).toLongLong()},
            {u"time"_s, query.value(1).toString()},
            {u"operation"_s, query.value(2).toString()},
            {u"receipt_number"_s, query.value(3).toString()},
            {u"card"_s, query.value(4).toString()},
            {u"check_identifier"_s, query.value(5).toString()},
            {u"points"_s, points(query, 6)},
        };
        const auto kind = query.value(2).toString();
        if (kind == u"refusal" || kind == u"cancellation") {
            operation.insert(u"refers_to"_s, query.value(7).toString());
            operation.insert(u"root"_s, query.isNull(8) ? QJsonValue() : query.value(8).toLongLong());
        }
        list.append(operation);
    }
    return list;
}

QJsonArray entries(Database& database)
{
    auto query = database.run(u"SELECT n, operation, account, amount, balance FROM entries ORDER BY n"_s);
    QJsonArray list;
    while (query.next()) {
        list.append(QJsonObject{{u"n"_s, query.value(0).toLongLong()},
                                {u"operation"_s, query.value(1).toLongLong()},
                                {u"account"_s, query.value(2).toLongLong()},
                                {u"amount"_s, points(query, 3)},
                                {u"balance"_s, points(query, 4)}});
    }
    return list;
}

QJsonArray accounts(Database& database)
{
    auto query = database.run(uR"(SELECT accounts.id, kind, cards.number,
                                         coalesce((SELECT balance FROM entries
                                                   WHERE entries.account = accounts.id
                                                   ORDER BY n DESC LIMIT 1), 0)
                                  FROM accounts LEFT JOIN cards ON cards.account = coalesce(owner, accounts.id)
                                  ORDER BY accounts.id)"_s);
    QJsonArray list;
    while (query.next()) {
        QJsonObject account{{u"account"_s, query.value(0).toLongLong()},
                            {u"kind"_s, query.value(1).toString()},
                            {u"balance"_s, points(query, 3)}};
        if (!query.isNull(2))
            account.insert(u"card"_s, query.value(2).toString());
        list.append(account);
    }
    return list;
}

} // namespace

QJsonObject ledgerPage(Database& database, const QJsonArray& anonymous)
{
    return {{u"operations"_s, operations(database)},
            {u"entries"_s, entries(database)},
            {u"accounts"_s, accounts(database)},
            {u"anonymous"_s, anonymous}};
}

QJsonObject invariantsPage(Database& database, const Tariff& tariff)
{
    const auto found = violations(database);
    return {{u"ok"_s, found.isEmpty()},
            {u"violations"_s, QJsonArray::fromStringList(found)},
            {u"left_by_thresholds"_s, QJsonArray::fromStringList(leftByThresholds(database, tariff))}};
}

} // namespace stand

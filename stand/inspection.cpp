#include "stand/inspection.h"

#include "stand/database.h"
#include "stand/money.h"

#include <array>

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
    auto query = database.run(u"SELECT operation, account, amount FROM entries ORDER BY n"_s);
    QJsonArray list;
    while (query.next()) {
        list.append(QJsonObject{{u"operation"_s, query.value(0).toLongLong()},
                                {u"account"_s, query.value(1).toLongLong()},
                                {u"amount"_s, points(query, 2)}});
    }
    return list;
}

QJsonArray accounts(Database& database)
{
    auto query = database.run(uR"(SELECT accounts.id, kind, cards.number,
                                         (SELECT coalesce(sum(amount), 0) FROM entries
                                          WHERE entries.account = accounts.id)
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

struct Rule
{
    const char* broken; ///< What to say of each row that the query finds.
    const char* query;  ///< Its first column tells where.
};

constexpr std::array rules = {
    Rule{"the entries of operation %1 do not add up to 0",
         "SELECT operation FROM entries GROUP BY operation HAVING sum(amount) <> 0"},
    Rule{"operation %1 does not move its points",
         "SELECT n FROM operations WHERE points <> "
         "(SELECT coalesce(sum(amount), 0) FROM entries WHERE operation = operations.n AND amount > 0)"},
    Rule{"the balance of account %1 is negative",
         "SELECT account FROM entries JOIN accounts ON accounts.id = account "
         "WHERE kind = 'customer' GROUP BY account HAVING sum(amount) < 0"},
    Rule{"the debt of account %1 is a credit",
         "SELECT account FROM entries JOIN accounts ON accounts.id = account "
         "WHERE kind = 'debt' GROUP BY account HAVING sum(amount) > 0"},
    Rule{"more is taken back of operation %1 than it moved",
         "SELECT root.n FROM operations root JOIN operations back ON back.root = root.n "
         "GROUP BY root.n HAVING sum(back.points) > root.points"},
    Rule{"the positions of operation %1 do not add up to its points",
         "SELECT n FROM operations WHERE operation IN ('spending', 'refusal', 'cancellation') AND points <> "
         "(SELECT coalesce(sum(shares.points), 0) FROM shares WHERE shares.operation = operations.n)"},
    Rule{
        "more than one operation has the receipt number %1",
        "SELECT receipt_number FROM operations GROUP BY operation, receipt_number, card HAVING count(*) > 1"},
    Rule{"more than one anonymous receipt has the number %1",
         "SELECT receipt_number FROM anonymous GROUP BY method, receipt_number HAVING count(*) > 1"},
};

} // namespace

QJsonObject ledgerPage(Database& database, const QJsonArray& anonymous)
{
    return {{u"operations"_s, operations(database)},
            {u"entries"_s, entries(database)},
            {u"accounts"_s, accounts(database)},
            {u"anonymous"_s, anonymous}};
}

QJsonObject invariantsPage(Database& database)
{
    QJsonArray violations;
    for (const auto& rule : rules) {
        auto query = database.run(QString::fromLatin1(rule.query));
        while (query.next())
            violations.append(QString::fromLatin1(rule.broken).arg(query.value(0).toString()));
    }
    return {{u"ok"_s, violations.isEmpty()}, {u"violations"_s, violations}};
}

} // namespace stand

#include "stand/books/invariants.h"

#include "stand/books/database.h"

#include <array>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

struct Rule
{
    const char* broken; ///< What to say of each row that the query finds.
    const char* query;  ///< Its first column tells where; the value is the first operation to look at.
};

// Nothing is created or gone, and nobody owes what he does not. A plus keeps an index from being used that
// would lead through the whole history where a single operation is checked.
constexpr std::array sums = {
    Rule{"the entries of operation %1 do not add up to 0",
         "SELECT operation FROM entries WHERE operation >= ? GROUP BY operation HAVING sum(amount) <> 0"},
    Rule{"operation %1 does not move its points",
         "SELECT n FROM operations WHERE n >= ? AND points <> "
         "(SELECT coalesce(sum(amount), 0) FROM entries WHERE operation = operations.n AND amount > 0)"},
    Rule{"the balance of account %1 is negative",
         "SELECT account FROM entries WHERE operation >= ? AND balance < 0 "
         "AND (SELECT kind FROM accounts WHERE id = account) = 'customer' GROUP BY +account"},
    Rule{"the debt of account %1 is a credit",
         "SELECT account FROM entries WHERE operation >= ? AND balance > 0 "
         "AND (SELECT kind FROM accounts WHERE id = account) = 'debt' GROUP BY +account"},
    Rule{"more is taken back of operation %1 than it moved",
         "SELECT root.n FROM operations root JOIN operations back ON back.root = root.n "
         "WHERE root.n IN (SELECT root FROM operations WHERE n >= ?) "
         "GROUP BY root.n HAVING sum(back.points) > root.points"},
    Rule{"more is taken back of a position of operation %1 than it had",
         "SELECT DISTINCT root.n FROM operations root "
         "JOIN operations back ON back.root = root.n "
         "JOIN shares taken ON taken.operation = back.n "
         "LEFT JOIN shares moved ON moved.operation = root.n AND moved.position = taken.position "
         "WHERE root.n IN (SELECT root FROM operations WHERE n >= ?) "
         "GROUP BY root.n, taken.position HAVING sum(taken.points) > coalesce(max(moved.points), 0)"},
    Rule{"the positions of operation %1 do not add up to its points",
         "SELECT n FROM operations WHERE n >= ? AND +operation IN ('spending', 'refusal', 'cancellation') "
         "AND points <> "
         "(SELECT coalesce(sum(shares.points), 0) FROM shares WHERE shares.operation = operations.n)"},
};

// Each entry carries the balance after it, so one that is lost, doubled or out of place breaks the chain.
constexpr std::array order = {
    Rule{"entry %1 does not follow from the one before it",
         "SELECT n FROM entries WHERE operation >= ? AND balance <> amount + coalesce("
         "(SELECT before.balance FROM entries before WHERE before.account = entries.account "
         "AND before.n < entries.n ORDER BY before.n DESC LIMIT 1), 0)"},
    Rule{"entry %1 belongs to an earlier operation than the one before it",
         "SELECT n FROM entries WHERE operation >= ? AND operation < "
         "(SELECT before.operation FROM entries before WHERE before.account = entries.account "
         "AND before.n < entries.n ORDER BY before.n DESC LIMIT 1)"},
    Rule{"entry %1 is missing",
         "SELECT entries.n - 1 FROM entries LEFT JOIN entries before ON before.n = entries.n - 1 "
         "WHERE entries.operation >= ? AND entries.n > 1 AND before.n IS NULL"},
    Rule{"operation %1 is missing",
         "SELECT operations.n - 1 FROM operations LEFT JOIN operations before ON before.n = operations.n - 1 "
         "WHERE operations.n >= ? AND operations.n > 1 AND before.n IS NULL "
         "UNION ALL SELECT seq FROM sqlite_sequence "
         "WHERE name = 'operations' AND seq > (SELECT coalesce(max(n), 0) FROM operations)"},
    Rule{"operation %1 is dated before the one before it",
         "SELECT operations.n FROM operations JOIN operations before ON before.n = operations.n - 1 "
         "WHERE operations.n >= ? AND operations.time < before.time"},
};

// These the tables themselves do not allow; a file can be made elsewhere.
constexpr std::array doubles = {
    Rule{"more than one operation has the receipt number %1",
         "SELECT receipt_number FROM operations WHERE receipt_number IN "
         "(SELECT receipt_number FROM operations WHERE n >= ?) "
         "GROUP BY operation, receipt_number, card HAVING count(*) > 1"},
    Rule{"more than one anonymous receipt has the number %1",
         "SELECT receipt_number FROM anonymous WHERE ? >= 0 GROUP BY method, receipt_number "
         "HAVING count(*) > 1"},
};

template <size_t size>
void check(Database& database, const std::array<Rule, size>& rules, qint64 from, QStringList& found)
{
    for (const auto& rule : rules) {
        auto query = database.run(QString::fromLatin1(rule.query), {from});
        while (query.next())
            found.append(QString::fromLatin1(rule.broken).arg(query.value(0).toString()));
    }
}

} // namespace

QStringList violations(Database& database, qint64 from)
{
    QStringList found;
    check(database, sums, from, found);
    check(database, order, from, found);
    // One operation more cannot double another: its table refuses it.
    if (from == 0)
        check(database, doubles, from, found);
    return found;
}

} // namespace stand

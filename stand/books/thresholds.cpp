#include "stand/books/thresholds.h"

#include "stand/books/database.h"

using namespace Qt::StringLiterals;

namespace stand {

namespace {

// What a receipt has earned is taken back at each of its returns, whatever its points come to; so the earning
// tells how much of a position came back, by its quantity or, when a part that cost nothing was not listed,
// by its sum. Of all the returns that make a receipt whole one at least is worth telling.
const auto query = uR"(
    WITH taken AS (
        SELECT root, position, sum(sum_in_money) AS sum_in_money, sum(thousandths) AS thousandths,
               sum(shares.points) AS points
        FROM operations JOIN shares ON shares.operation = operations.n
        WHERE root IS NOT NULL GROUP BY root, position),
    returns AS (SELECT root, count(*) AS times FROM operations WHERE root IS NOT NULL GROUP BY root),
    earnings AS (
        SELECT max(n) AS n, card, check_identifier FROM operations WHERE operation = 'earning'
        GROUP BY card, check_identifier)
    SELECT spent.points - coalesce(restored.points, 0), spent.position, spending.check_identifier
    FROM operations spending
    JOIN shares spent ON spent.operation = spending.n
    JOIN earnings earning ON earning.card = spending.card
         AND earning.check_identifier = spending.check_identifier
    JOIN shares earned ON earned.operation = earning.n AND earned.position = spent.position
    JOIN taken back ON back.root = earning.n AND back.position = spent.position
    JOIN returns ON returns.root = earning.n
    JOIN returns told ON told.root = spending.n
    LEFT JOIN taken restored ON restored.root = spending.n AND restored.position = spent.position
    WHERE spending.operation = 'spending'
      AND (back.thousandths >= earned.thousandths
           OR (earned.sum_in_money > 0 AND back.sum_in_money >= earned.sum_in_money))
      AND spent.points - coalesce(restored.points, 0) BETWEEN 1 AND returns.times * ?
    ORDER BY spending.n, spent.rowid)"_s;

} // namespace

QStringList leftByThresholds(Database& database, const Tariff& tariff)
{
    // Each return may keep less than a hundredth of money, which is so many hundredths of a point at most.
    const auto most = (tariff.points + tariff.money - 1) / tariff.money;
    QStringList found;
    auto rows = database.run(query, {most});
    while (rows.next()) {
        found.append(u"%1 points of position %2 of receipt %3"_s.arg(
            QString::number(inUnits(rows.value(0).toLongLong()), 'f', 2), rows.value(1).toString(),
            rows.value(2).toString()));
    }
    return found;
}

} // namespace stand

#include "host/queue/queueactivity.h"

#include "host/storage/store.h"

using namespace Qt::StringLiterals;

namespace network {

QMap<ExchangeOutcome, int> attemptsSince(const QDateTime& time)
{
    const auto store = storage::store();
    // Walks back from the end: what is old is much.
    QSqlQuery query = store->prepared(
        u"SELECT event, code, count(*) FROM journal WHERE message <> 0 "
        "AND event IN ('delivered', 'attempt', 'parked') "
        "AND id > coalesce((SELECT id FROM journal WHERE time < ? ORDER BY id DESC LIMIT 1), 0) "
        "GROUP BY event, code"_s);
    return attemptsIn(store->rows(query, {time.toMSecsSinceEpoch()}));
}

QMap<ExchangeOutcome, int> attemptsIn(const QList<QVariantList>& rows)
{
    QMap<ExchangeOutcome, int> attempts;
    for (const QVariantList& row : rows) {
        const ExchangeOutcome outcome = outcomeOf(row[1].toInt());
        // What was parked without a code was never sent.
        const bool isUnsendable = outcome == ExchangeOutcome::Accepted && row[0] != u"delivered"_s;
        attempts[isUnsendable ? ExchangeOutcome::Unsendable : outcome] += row[2].toInt();
    }
    return attempts;
}

} // namespace network

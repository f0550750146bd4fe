#include "host/shop/shopjournal.h"

#include "host/queue/queueactivity.h"
#include "host/utils/utc.h"

#include <limits>
#include <utility>

using namespace Qt::StringLiterals;

namespace shop {

ShopJournal::ShopJournal(Connection& database, QString till)
    : m_database(database)
    , m_till(std::move(till))
{}

// What a delivery did is of the same time as what a till did, or after it.
QList<storage::JournalEntry> ShopJournal::of(const QString& receipt) const
{
    QList<storage::JournalEntry> entries;
    const auto rows = m_database
                          .run(u"SELECT time, receipt, event, operation, message, code, detail, milliseconds "
                               "FROM journal WHERE receipt = $1 ORDER BY time, till = '', id"_s,
                               {receipt})
                          .rows;
    for (const QVariantList& row : rows)
        entries.append(storage::entryFromRow(row));
    return entries;
}

// Walks back from the end instead of grouping all that ever happened.
QStringList ShopJournal::receipts(int limit) const
{
    constexpr int pageSize = 1000;
    QStringList found;
    QVariantList last{std::numeric_limits<qint64>::max(), u""_s, qint64{0}};
    for (;;) {
        const auto page =
            m_database
                .run(u"SELECT time, till, id, receipt FROM journal WHERE (time, till, id) < ($1, $2, $3) "
                     "AND time <= $1 AND ($4 = '' OR till = $4) ORDER BY time DESC, till DESC, id DESC "
                     "LIMIT $5"_s,
                     last + QVariantList{m_till, pageSize})
                .rows;
        for (const QVariantList& row : page) {
            if (found.size() >= limit)
                return found;
            const QString receipt = row[3].toString();
            if (!found.contains(receipt))
                found.append(receipt);
        }
        if (page.size() < pageSize)
            return found;
        last = page.last().first(3);
    }
}

QStringList ShopJournal::receiptsBetween(const QDateTime& from, const QDateTime& until) const
{
    QStringList found;
    const auto rows = m_database
                          .run(u"SELECT receipt FROM journal WHERE time >= $1 AND time < $2 "
                               "AND ($3 = '' OR till = $3) GROUP BY receipt ORDER BY min(time), receipt"_s,
                               {from.toMSecsSinceEpoch(), until.toMSecsSinceEpoch(), m_till})
                          .rows;
    for (const QVariantList& row : rows)
        found.append(row[0].toString());
    return found;
}

bool ShopJournal::knows(const QString& receipt) const
{
    return !m_database
                .run(u"SELECT FROM journal WHERE receipt = $1 AND ($2 = '' OR till = $2) LIMIT 1"_s,
                     {receipt, m_till})
                .rows.isEmpty();
}

// What a delivery tried is told of no till, but of a message, which is in the month of its entries.
QMap<network::ExchangeOutcome, int> ShopJournal::attemptsSince(const QDateTime& time) const
{
    return network::attemptsIn(
        m_database
            .run(u"SELECT event, code, count(*) FROM journal j WHERE time >= $1 AND message <> 0 "
                 "AND event IN ('delivered', 'attempt', 'parked') AND ($2 = '' OR till = $2 OR (till = '' "
                 "AND (EXISTS (SELECT FROM queued q WHERE q.id = j.message AND q.till = $2) OR EXISTS "
                 "(SELECT FROM history h WHERE h.month = j.month AND h.id = j.message AND h.till = $2)))) "
                 "GROUP BY event, code"_s,
                 {time.toMSecsSinceEpoch(), m_till})
            .rows);
}

} // namespace shop

#include "host/storage/rescuedmessages.h"

#include "host/storage/storedmessages.h"
#include "host/storage/storedtables.h"

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace storage {

namespace {

const QString waitingRows = u"queued"_s;
const QString goneRows = u"history"_s;

} // namespace

RescuedMessages::RescuedMessages(DamagedStore& from, const Database& to)
    : m_from(from)
    , m_to(to)
{
    for (const bool inQueue : {true, false}) {
        forEachMessage(to, inQueue, [&](const StoredMessage& message) {
            m_alike[message.identity].append(message.id);
            if (inQueue)
                m_sameContent[message.content].append(message.id);
        });
    }
    QSqlQuery highest = to.prepared(
        u"SELECT max(n) FROM (SELECT max(id) AS n FROM queued UNION ALL SELECT max(id) FROM history UNION "
        u"ALL "
        "SELECT max(message) FROM journal UNION ALL SELECT max(seq) FROM sqlite_sequence WHERE name = 'queued')"_s);
    m_last = to.rows(highest).value(0).value(0).toLongLong();
}

/// The one of the store that is the same, each of them once.
std::optional<qint64> RescuedMessages::known(const QVariantList& row, bool isQueued)
{
    QList<qint64> candidates = m_alike.value(identityOfRow(waitingRows, row));
    if (isQueued)
        candidates += m_sameContent.value(contentDigest(row[4]));
    for (const qint64 candidate : candidates) {
        if (!m_matched.contains(candidate)) {
            m_matched.insert(candidate);
            return candidate;
        }
    }
    return std::nullopt;
}

/// Which are there already, and what numbers the others get: their own where the store's go on from the same
/// ones, else such as keep their order behind the store's.
void RescuedMessages::compare()
{
    bool isSameLine = m_last == 0;
    qint64 leastNew = std::numeric_limits<qint64>::max();
    const auto look = [&](qint64 id, const QVariantList& row, bool isQueued) {
        if (const auto number = known(row, isQueued)) {
            m_numbers.insert(id, *number);
            isSameLine = isSameLine || *number == id;
        } else {
            leastNew = std::min(leastNew, id);
        }
    };
    m_from.forEachRow(goneRows, [&](qint64 id, const QVariantList& row) {
        m_gone.insert(id, identityOfRow(goneRows, row));
        look(id, row, false);
    });
    m_from.forEachRow(waitingRows, [&](qint64 id, const QVariantList& row) {
        if (m_gone.value(id) != identityOfRow(waitingRows, row))
            look(id, row, true);
    });
    m_shift = isSameLine && leastNew > m_last ? 0 : m_last;
}

void RescuedMessages::take(RescueTally& tally)
{
    compare();
    m_from.forEachRow(goneRows, [&](qint64 id, QVariantList row) {
        const bool isThere = m_numbers.contains(id);
        tally.count(goneRows, isThere ? RescueTally::Fate::There : RescueTally::Fate::Taken);
        if (isThere)
            return;
        row[0] = numberOf(id);
        put(goneRows, row);
    });
    m_from.forEachRow(waitingRows, [&](qint64 id, QVariantList row) {
        if (m_gone.value(id) == identityOfRow(waitingRows, row))
            return; // a page of before it left the queue
        const bool isThere = m_numbers.contains(id);
        const bool isMended = isThere && mend(m_numbers[id], row);
        tally.count(waitingRows, isThere && !isMended ? RescueTally::Fate::There : RescueTally::Fate::Taken);
        if (isThere)
            return;
        constexpr qsizetype due = 9;
        constexpr qsizetype head = 10;
        row[0] = numberOf(id);
        row[due] = 0;
        row[head] = 1; // unless another of its group is before it, which the store sees to
        put(waitingRows, row);
    });
}

/// Gives the store's message its content back if that is damaged. False when there is nothing to mend.
bool RescuedMessages::mend(qint64 number, const QVariantList& row)
{
    QSqlQuery find = m_to.prepared(u"SELECT * FROM queued WHERE id = ?"_s);
    const QList<QVariantList> there = m_to.rows(find, {number});
    if (there.isEmpty() || faultOfRow(waitingRows, there[0]).isEmpty())
        return false;
    QSqlQuery change = m_to.prepared(u"UPDATE queued SET message = ? WHERE id = ?"_s);
    return m_to.change(change, {row[4], number}) > 0;
}

void RescuedMessages::put(const QString& table, const QVariantList& row)
{
    QSqlQuery insert = m_to.prepared(u"INSERT INTO %1 VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"_s.arg(table));
    m_to.change(insert, row);
}

qint64 RescuedMessages::numberOf(qint64 former)
{
    if (former == 0)
        return 0;
    const auto found = m_numbers.constFind(former);
    const qint64 number = found == m_numbers.cend() ? former + m_shift : *found;
    m_highest = std::max(m_highest, number);
    return number;
}

bool RescuedMessages::has(qint64 former, const QString& receipt)
{
    const qint64 number = m_numbers.value(former, former + m_shift);
    QSqlQuery query = m_to.prepared(u"SELECT 1 FROM queued WHERE id = ? AND receipt = ? UNION ALL "
                                    "SELECT 1 FROM history WHERE id = ? AND receipt = ?"_s);
    return !m_to.rows(query, {number, receipt, number, receipt}).isEmpty();
}

void RescuedMessages::keepNumbers()
{
    if (m_highest <= m_last)
        return;
    QSqlQuery forget = m_to.prepared(u"DELETE FROM sqlite_sequence WHERE name = 'queued'"_s);
    m_to.change(forget, {});
    QSqlQuery keep = m_to.prepared(u"INSERT INTO sqlite_sequence (name, seq) VALUES ('queued', ?)"_s);
    m_to.change(keep, {m_highest});
}

} // namespace storage

#include "host/storage/rescuedmessages.h"

#include "host/storage/storedtables.h"

#include <QCryptographicHash>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace storage {

namespace {

const QString waitingRows = u"queued"_s;
const QString goneRows = u"history"_s;

QByteArray digest(const QVariant& content)
{
    return QCryptographicHash::hash(content.toByteArray(), QCryptographicHash::Sha1);
}

} // namespace

RescuedMessages::RescuedMessages(DamagedStore& from, const Database& to)
    : m_from(from)
    , m_to(to)
{
    constexpr int atOnce = 1000;
    for (const bool isQueued : {true, false}) {
        QSqlQuery page =
            to.prepared(u"SELECT id, queue, receipt, enqueued, text, %1 FROM %2 WHERE id > ? "
                        "ORDER BY id LIMIT %3"_s
                            .arg(isQueued ? u"message"_s : u"NULL"_s, isQueued ? waitingRows : goneRows)
                            .arg(atOnce));
        qint64 last = std::numeric_limits<qint64>::min();
        for (auto rows = to.rows(page, {last}); !rows.isEmpty(); rows = to.rows(page, {last})) {
            for (const QVariantList& row : rows) {
                last = row[0].toLongLong();
                m_alike[messageIdentity(row[1], row[2], row[3], row[4])].append(last);
                if (isQueued)
                    m_sameContent[digest(row[5])].append(last);
            }
        }
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
        candidates += m_sameContent.value(digest(row[4]));
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
        tally.count(waitingRows, isThere ? RescueTally::Fate::There : RescueTally::Fate::Taken);
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

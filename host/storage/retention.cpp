#include "host/storage/retention.h"

#include "host/storage/removal.h"
#include "host/storage/store.h"
#include "host/utils/basicexception.h"
#include "host/utils/currenttime.h"
#include "host/utils/logging.h"
#include "host/utils/utc.h"

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace storage {

namespace {

constexpr qint64 minute = 60'000;
constexpr qint64 day = 24 * 60 * minute;
constexpr int shortestDoubt = 3; // days: a till is closed at weekends
constexpr int longestDoubt = 30;

constexpr int receiptsAtOnce = 10; // a receipt has some twenty rows in all tables
constexpr int eventsAtOnce = 500;
constexpr int pagesAtOnce = 100;
constexpr int sparePages = 512; // the next day's, so that the file does not shrink and grow by turns

qint64 number(const Database& store, const QString& sql, const QVariantList& values = {})
{
    QSqlQuery query = store.prepared(sql);
    return store.rows(query, values).value(0).value(0).toLongLong();
}

bool hasSpareRoom(const Database& store)
{
    constexpr int incremental = 2; // a file that was made without it reuses its pages, and never shrinks
    return number(store, u"PRAGMA freelist_count"_s) > sparePages &&
           number(store, u"PRAGMA auto_vacuum"_s) == incremental;
}

QString text(qint64 time) { return utils::utcFromMilliseconds(time).toString(Qt::ISODate); }

/// What was over before then is kept no longer; for ever: nothing was.
qint64 limit(qint64 now, int days)
{
    return days > 0 ? now - days * day : std::numeric_limits<qint64>::min();
}

qint64 presentTime() { return MockFactory<CurrentTime>::create()->currentDateTime().toMSecsSinceEpoch(); }

} // namespace

Retention::Retention(const KeepingTimes& times)
    : m_times(times)
{}

bool Retention::step()
{
    try {
        advance();
    } catch (const std::exception& failure) {
        utils::logger(u"storage"_s)
            ->warn(u"What is kept too long cannot be removed for now: "_s +
                   QString::fromUtf8(failure.what()));
        rest(10 * minute);
    }
    return m_stage != Stage::Resting;
}

void Retention::advance()
{
    switch (m_stage) {
    case Stage::Resting:
        return begin();
    case Stage::Receipts:
        return removeReceipts();
    case Stage::Journal:
        return removeEvents(u"journal"_s, u"time"_s, Stage::History);
    case Stage::History:
        return removeEvents(u"history"_s, u"finished"_s, Stage::Folding);
    case Stage::Folding:
        return fold();
    case Stage::Shrinking:
        return shrink();
    }
}

void Retention::begin()
{
    const qint64 now = presentTime();
    const bool isResting = now >= m_restsFrom && now < m_restsUntil;
    if (isResting || (m_times.receipts == 0 && m_times.journal == 0))
        return;
    m_now = now;
    if (!isBelieved())
        return rest(day);
    m_lastTime = limit(now, 0);
    m_lastRow = 0;
    m_receipts = 0;
    m_events = 0;
    m_stage = Stage::Receipts;
}

void Retention::rest(qint64 milliseconds)
{
    m_restsFrom = presentTime();
    m_restsUntil = m_restsFrom + milliseconds;
    m_stage = Stage::Resting;
}

bool Retention::isBelieved() const
{
    int days = longestDoubt;
    for (const int kept : {m_times.receipts, m_times.journal})
        days = kept > 0 ? std::min(days, kept) : days;
    const qint64 doubt = std::max(days, shortestDoubt) * day;
    const auto store = storage::store();
    qint64 doubted = 0;
    store->atomically([&] {
        const qint64 seen = number(*store, u"SELECT seen FROM clock"_s);
        doubted = number(*store, u"SELECT doubted FROM clock"_s);
        if (m_now > seen + doubt) {
            doubted = m_now + doubt;
            if (seen != 0)
                utils::logger(u"storage"_s)
                    ->warn(
                        u"The clock went ahead from %1 to %2: until %3 nothing is removed for its age"_s.arg(
                            text(seen), text(m_now), text(doubted)));
        } else if (m_now < doubted - doubt) {
            doubted = 0; // it was put right
        }
        QSqlQuery note = store->prepared(u"UPDATE clock SET seen = ?, doubted = ?"_s);
        store->change(note, {m_now, doubted});
    });
    return m_now >= doubted;
}

void Retention::removeReceipts()
{
    const auto store = storage::store();
    const qint64 closedBefore = limit(m_now, m_times.receipts);
    qsizetype seen = 0;
    store->atomically([&] {
        Removal removal(store);
        QSqlQuery old = store->prepared(u"SELECT stored, rowid, identifier FROM documents "
                                        "WHERE (stored, rowid) > (?, ?) AND stored < ? "
                                        "ORDER BY stored, rowid LIMIT ?"_s);
        const auto receipts = store->rows(old, {m_lastTime, m_lastRow, closedBefore, receiptsAtOnce});
        seen = receipts.size();
        for (const QVariantList& row : receipts) {
            m_lastTime = row[0].toLongLong();
            m_lastRow = row[1].toLongLong();
            const QString family = removal.familyOf(row[2].toString());
            if (removal.youngestOf(family) < closedBefore && !removal.needOf(family))
                m_receipts += static_cast<int>(removal.remove(family).size());
        }
    });
    if (seen == receiptsAtOnce)
        return;
    m_lastRow = 0;
    m_stage = Stage::Journal;
}

void Retention::removeEvents(const QString& table, const QString& time, Stage next)
{
    const auto store = storage::store();
    const qint64 first =
        number(*store, u"SELECT id FROM %1 WHERE id > ? ORDER BY id LIMIT 1"_s.arg(table), {m_lastRow});
    if (first == 0 || m_times.journal == 0) {
        m_lastRow = 0;
        m_stage = next;
        return;
    }
    m_lastRow = first + eventsAtOnce - 1;
    const QVariantList old{first, m_lastRow, limit(m_now, m_times.journal)};
    const QString which = u"FROM %1 WHERE id BETWEEN ? AND ? AND %2 < ?"_s.arg(table, time);
    store->atomically([&] {
        Removal removal(store);
        QSqlQuery receipts = store->prepared(u"SELECT DISTINCT receipt "_s + which);
        QSqlQuery remove = store->prepared(u"DELETE "_s + which + u" AND receipt = ?"_s);
        for (const QVariantList& row : store->rows(receipts, old)) {
            if (!removal.needOf(removal.familyOf(row[0].toString())))
                m_events += store->change(remove, old + row);
        }
    });
}

void Retention::fold()
{
    const auto store = storage::store();
    if (m_receipts + m_events > 0) {
        utils::logger(u"storage"_s)
            ->info(u"Kept long enough, and removed: %1 receipts, %2 entries of journal and queue"_s
                       .arg(m_receipts)
                       .arg(m_events));
        m_isLogFull = true;
        m_receipts = 0;
        m_events = 0;
    }
    if (m_isLogFull && !foldLog(*store))
        return rest(10 * minute); // and go through all of it again, which costs little
    m_isLogFull = false;
    if (hasSpareRoom(*store))
        m_stage = Stage::Shrinking;
    else
        rest(day);
}

// Only once the log is folded: what is given back to the disk is overwritten by then.
void Retention::shrink()
{
    const auto store = storage::store();
    store->atomically([&] {
        QSqlQuery onePage = store->prepared(u"PRAGMA incremental_vacuum(1)"_s);
        for (int page = 0; page < pagesAtOnce && hasSpareRoom(*store); ++page)
            store->change(onePage, {});
    });
    m_isLogFull = true;
    if (!hasSpareRoom(*store))
        m_stage = Stage::Folding;
}

} // namespace storage

#include "host/shop/shopqueue.h"

#include "host/network/exchangeoutcome.h"
#include "host/queue/queuedform.h"
#include "host/queue/retrybackoff.h"
#include "host/shop/schema.h"
#include "host/utils/currenttime.h"
#include "host/utils/masking.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace shop {

namespace {

// In the order in which queuedFromRow() takes them, the till and the month.
const QString columns =
    u"SELECT id, queue, receipt, enqueued, message, text, attempts, error, parked, due, till, month FROM queued q "_s;
constexpr qsizetype monthColumn = 11;
const QString nothingBefore =
    u"NOT parked AND NOT EXISTS (SELECT FROM queued b WHERE b.receipt = q.receipt AND "
    "b.receipt <> '' AND b.id < q.id) "_s;
const QString takeFirst = u" ORDER BY due, id LIMIT 1 FOR UPDATE SKIP LOCKED"_s;

qint64 now() { return network::writtenTime(MockFactory<CurrentTime>::create()->currentDateTime()); }

QueuedMessage messageFrom(const QVariantList& row)
{
    QueuedMessage message = network::queuedFromRow(row);
    message.till = row[10].toString();
    return message;
}

std::optional<QueuedMessage> first(Connection& database, const QString& sql, const QVariantList& values)
{
    const auto found = database.run(sql, values).rows;
    return found.isEmpty() ? std::nullopt : std::optional(messageFrom(found.first()));
}

QList<QueuedMessage> allOf(Connection& database, const QString& which, const QVariantList& values)
{
    QList<QueuedMessage> messages;
    for (const QVariantList& row : database.run(columns + which, values).rows)
        messages.append(messageFrom(row));
    return messages;
}

bool change(Connection& database, const QString& sql, const QVariantList& values)
{
    return database.run(sql, values).changed > 0;
}

// All deliveries share that row: it is written only where it says something else.

/// The service gave another answer than that it refuses the credentials; the error is empty when it took the
/// message.
void noteAnswer(Connection& database, const QString& error)
{
    change(database,
           u"UPDATE delivery SET error = $1, refused = 0, probes = 0, probe = 0 "
           "WHERE error <> $1 OR refused <> 0"_s,
           {error});
}

void noteFailure(Connection& database, const QueueAttempt& attempt)
{
    if (network::isErrorStatus(attempt.code))
        noteAnswer(database, attempt.error);
    else
        change(database, u"UPDATE delivery SET error = $1 WHERE error <> $1"_s, {attempt.error});
}

/// Out of the queue, into the history.
bool finish(Connection& database, qint64 id, const QString& outcome, const QVariant& answer,
            const QVariant& kept)
{
    return change(
        database,
        u"WITH gone AS (DELETE FROM queued WHERE id = $1 RETURNING *) "
        "INSERT INTO history (month, id, identity, till, queue, receipt, enqueued, finished, text, "
        "attempts, error, outcome, answer, message) "
        "SELECT month, id, identity, till, queue, receipt, enqueued, $2::bigint, text, attempts, error, "
        "$3::text, $4::integer, $5::bytea FROM gone"_s,
        {id, now(), outcome, answer, kept});
}

} // namespace

ShopQueue::Claim::Claim(const QString& address)
    : database(address)
{}

ShopQueue::ShopQueue(const QString& address)
    : m_address(address)
    , m_database(address)
{
    requirePrepared(m_database);
}

ShopQueue::~ShopQueue() = default;

void ShopQueue::wait(std::chrono::milliseconds longest, const std::stop_token& stop)
{
    m_database.waitForNotice(u"kyr_queue"_s, longest, stop);
}

QList<QueuedMessage> ShopQueue::messages(int limit, qint64 after) const
{
    return allOf(m_database, u"WHERE id > $1 AND ($2 = '' OR till = $2) ORDER BY id LIMIT $3"_s,
                 {after, m_till, limit});
}

QList<QueuedMessage> ShopQueue::messagesOf(const QString& receipt) const
{
    return allOf(m_database, u"WHERE receipt = $1 AND receipt <> '' ORDER BY id"_s, {receipt});
}

std::optional<QueuedMessage> ShopQueue::find(qint64 id) const
{
    return first(m_database, columns + u"WHERE id = $1 AND ($2 = '' OR till = $2)"_s, {id, m_till});
}

qint64 ShopQueue::number(const QString& sql) const
{
    return m_database.run(sql + u" AND ($1 = '' OR till = $1)"_s, {m_till})
        .rows.value(0)
        .value(0)
        .toLongLong();
}

qint64 ShopQueue::lastId() const { return number(u"SELECT max(id) FROM queued WHERE true"_s); }

int ShopQueue::waitingCount() const
{
    return static_cast<int>(number(u"SELECT count(*) FROM queued WHERE NOT parked"_s));
}

int ShopQueue::parkedCount() const
{
    return static_cast<int>(number(u"SELECT count(*) FROM queued WHERE parked"_s));
}

QueueHealth ShopQueue::health() const
{
    QueueHealth health;
    health.waiting = waitingCount();
    health.parked = parkedCount();
    health.oldestWaiting =
        network::storedTime(number(u"SELECT min(enqueued) FROM queued WHERE NOT parked"_s));
    health.lastDelivered =
        network::storedTime(number(u"SELECT max(finished) FROM history WHERE outcome = 'delivered'"_s));
    if (const auto suspended = suspension())
        health.credentialsSuspended = suspended->since;
    const auto error = m_till.isEmpty()
                           ? m_database.run(u"SELECT error FROM delivery"_s)
                           : m_database.run(u"SELECT error FROM queued WHERE attempts > 0 AND till = $1 "
                                            "ORDER BY due DESC, id DESC LIMIT 1"_s,
                                            {m_till});
    health.lastError = error.rows.value(0).value(0).toString();
    return health;
}

std::optional<CredentialsSuspension> ShopQueue::suspension() const
{
    const QVariantList row =
        m_database.run(u"SELECT refused, probes, probe FROM delivery WHERE refused <> 0"_s).rows.value(0);
    if (row.isEmpty())
        return {};
    return CredentialsSuspension{network::storedTime(row[0]), row[1].toInt(), network::storedTime(row[2])};
}

// While the credentials are refused, one delivery of all tries them again: whoever sets the next time first.
bool ShopQueue::mayProbe(const QDateTime& now) const
{
    if (!suspension())
        return true;
    const qint64 present = network::writtenTime(now);
    const qint64 later = network::writtenTime(now + network::longestPause);
    return change(m_database,
                  u"UPDATE delivery SET probe = $2 WHERE refused <> 0 AND "
                  "(probe = 0 OR probe <= $1 OR probe > $2)"_s,
                  {present, later});
}

ShopQueue::Claim& ShopQueue::freeClaim()
{
    const auto free = std::find_if(m_claims.begin(), m_claims.end(),
                                   [](const auto& claim) { return !claim->message.has_value(); });
    if (free != m_claims.end())
        return **free;
    return *m_claims.emplace_back(std::make_unique<Claim>(m_address));
}

void ShopQueue::release(const QList<QueuedMessage>& underWay)
{
    for (const auto& claim : m_claims) {
        const bool stays =
            claim->message && std::any_of(underWay.cbegin(), underWay.cend(),
                                          [&](const auto& one) { return one.id == claim->message->id; });
        if (!stays) {
            claim->database.rollback();
            claim->message.reset();
        }
    }
}

std::optional<QueuedMessage> ShopQueue::nextDue(const QDateTime& until, const QDateTime& now,
                                                const QList<QueuedMessage>& underWay)
{
    release(underWay);
    Claim& claim = freeClaim();
    const qint64 misdated = (now + network::longestPause).toMSecsSinceEpoch();
    claim.database.begin();
    // What is due at once is kept as 0, which to a clock before 1970 lies ahead.
    claim.message =
        first(claim.database,
              columns + u"WHERE "_s + nothingBefore + u"AND (due = 0 OR due <= $1 OR due > $2)"_s + takeFirst,
              {until.toMSecsSinceEpoch(), misdated});
    if (!claim.message || !mayProbe(now))
        release(underWay);
    return claim.message;
}

bool ShopQueue::settle(qint64 id, const QString& event, const QueueAttempt& attempt,
                       const std::function<bool(Connection&)>& step)
{
    const auto own = std::find_if(m_claims.begin(), m_claims.end(), [id](const auto& claim) {
        return claim->message && claim->message->id == id;
    });
    Connection& database = own == m_claims.end() ? m_database : (*own)->database;
    bool done = false;
    try {
        if (own == m_claims.end())
            database.begin();
        const QVariantList row = database.run(columns + u"WHERE id = $1"_s, {id}).rows.value(0);
        done = !row.isEmpty() && step(database);
        if (done)
            tell(database, event, row, attempt);
        database.commit();
    } catch (...) {
        database.rollback();
        if (own != m_claims.end())
            (*own)->message.reset();
        throw;
    }
    if (own != m_claims.end())
        (*own)->message.reset();
    return done;
}

void ShopQueue::tell(Connection& database, const QString& event, const QVariantList& row,
                     const QueueAttempt& attempt) const
{
    const QueuedMessage message = messageFrom(row);
    if (message.group.isEmpty())
        return; // the journal is the receipts'
    database.run(
        u"INSERT INTO journal (month, till, id, time, receipt, event, operation, message, code, detail, "
        "milliseconds) VALUES ($1, '', nextval('entries'), $2, $3, $4, $5, $6, $7, $8, $9)"_s,
        {row[monthColumn], now(), message.group, event, utils::maskNumbers(message.operation()), message.id,
         attempt.code, utils::maskNumbers(attempt.error.isEmpty() ? attempt.account : attempt.error),
         attempt.milliseconds});
}

bool ShopQueue::delivered(qint64 id, const QueueAttempt& attempt)
{
    return settle(id, u"delivered"_s, attempt, [&](Connection& database) {
        noteAnswer(database, {});
        return finish(database, id, u"delivered"_s, attempt.code, {});
    });
}

bool ShopQueue::failed(qint64 id, const QueueAttempt& attempt, const QDateTime& due)
{
    return settle(id, u"attempt"_s, attempt, [&](Connection& database) {
        noteFailure(database, attempt);
        return change(database,
                      u"UPDATE queued SET attempts = attempts + 1, error = $2, due = $3 WHERE id = $1"_s,
                      {id, attempt.error, network::writtenTime(due)});
    });
}

bool ShopQueue::park(qint64 id, const QueueAttempt& attempt)
{
    return settle(id, u"parked"_s, attempt, [&](Connection& database) {
        noteFailure(database, attempt);
        return change(database,
                      u"UPDATE queued SET attempts = attempts + 1, error = $2, parked = true WHERE id = $1"_s,
                      {id, attempt.error});
    });
}

bool ShopQueue::refused(qint64 id, const QueueAttempt& attempt, const QDateTime& due,
                        const QDateTime& nextProbe)
{
    return settle(id, u"attempt"_s, attempt, [&](Connection& database) {
        change(database,
               u"UPDATE delivery SET error = $3, refused = CASE refused WHEN 0 THEN $1 ELSE refused END, "
               "probes = probes + 1, probe = $2"_s,
               {now(), network::writtenTime(nextProbe), attempt.error});
        return change(database,
                      u"UPDATE queued SET attempts = attempts + 1, error = $2, due = $3 WHERE id = $1"_s,
                      {id, attempt.error, network::writtenTime(due)});
    });
}

bool ShopQueue::retry(qint64 id)
{
    return settle(id, u"retried"_s, {}, [&](Connection& database) {
        const bool done = change(
            database, u"UPDATE queued SET parked = false, due = 0 WHERE id = $1 AND (parked OR due <> 0)"_s,
            {id});
        database.run(u"NOTIFY kyr_queue"_s);
        return done;
    });
}

// What is damaged is kept as it lies.
bool ShopQueue::drop(qint64 id)
{
    return settle(id, u"dropped"_s, {}, [&](Connection& database) {
        const auto row =
            database.run(u"SELECT message FROM queued WHERE id = $1 FOR UPDATE"_s, {id}).rows.value(0);
        const auto message = find(id);
        const QVariant kept = message && !message->damaged
                                  ? QVariant(network::writtenWithoutAuthorization(message->message))
                                  : row.value(0);
        database.run(u"NOTIFY kyr_queue"_s);
        return finish(database, id, u"dropped"_s, QVariant(QMetaType::fromType<int>()), kept);
    });
}

// What is under way is settled by who has it.
void ShopQueue::expedite()
{
    m_database.run(
        u"UPDATE queued SET due = 0 WHERE id IN (SELECT id FROM queued WHERE NOT parked AND due <> 0 "
        "AND ($1 = '' OR till = $1) FOR UPDATE SKIP LOCKED)"_s,
        {m_till});
    m_database.run(u"UPDATE delivery SET probe = 0 WHERE probe <> 0"_s);
    m_database.run(u"NOTIFY kyr_queue"_s);
}

} // namespace shop

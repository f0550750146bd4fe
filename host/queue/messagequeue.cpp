#include "host/queue/messagequeue.h"

#include "host/network/exchangeoutcome.h"
#include "host/queue/queuedform.h"
#include "host/queue/queuewakeup.h"
#include "host/queue/retrybackoff.h"
#include "host/storage/journal.h"
#include "host/storage/store.h"
#include "host/utils/currenttime.h"

#include <algorithm>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

const QString columns = network::queuedColumns();
const QString sendable = u"WHERE head = 1 AND parked = 0 AND "_s;
const QString firstDue = u" ORDER BY due, id LIMIT ?"_s;

qint64 now() { return network::writtenTime(MockFactory<CurrentTime>::create()->currentDateTime()); }

} // namespace

struct MessageQueue::Statements
{
    std::shared_ptr<storage::Database> database = storage::store();
    storage::Journal journal;
    QSqlQuery insert = database->prepared(
        u"INSERT INTO queued (queue, receipt, enqueued, message, text) VALUES (?, ?, ?, ?, ?)"_s);
    QSqlQuery list = database->prepared(columns + u"WHERE id > ? ORDER BY id LIMIT ?"_s);
    QSqlQuery one = database->prepared(columns + u"WHERE id = ?"_s);
    QSqlQuery atOnce = database->prepared(columns + sendable + u"due = 0"_s + firstDue);
    QSqlQuery due = database->prepared(columns + sendable + u"due <= ?"_s + firstDue);
    QSqlQuery misdated = database->prepared(columns + sendable + u"due > ?"_s + firstDue);
    QSqlQuery last = database->prepared(u"SELECT max(id) FROM queued"_s);
    QSqlQuery oldest =
        database->prepared(u"SELECT enqueued FROM queued WHERE parked = 0 ORDER BY enqueued LIMIT 1"_s);
    QSqlQuery tally =
        database->prepared(u"SELECT waiting, parked, delivered, error, refused, probes, probe FROM tally"_s);
    QSqlQuery record = database->prepared(
        u"INSERT INTO history SELECT id, queue, receipt, enqueued, ?, text, attempts, error, ?, ?, "
        "CASE WHEN ? THEN coalesce(?, message) END FROM queued WHERE id = ?"_s);
    QSqlQuery remove = database->prepared(u"DELETE FROM queued WHERE id = ?"_s);
    QSqlQuery fail =
        database->prepared(u"UPDATE queued SET attempts = attempts + 1, error = ?, due = ? WHERE id = ?"_s);
    QSqlQuery park = database->prepared(
        u"UPDATE queued SET attempts = attempts + 1, error = ?, parked = 1 WHERE id = ?"_s);
    QSqlQuery retry = database->prepared(
        u"UPDATE queued SET parked = 0, due = 0 WHERE id = ? AND (parked = 1 OR due <> 0)"_s);
    QSqlQuery hasten = database->prepared(u"UPDATE queued SET due = 0 "_s + sendable + u"due <> 0"_s);
    QSqlQuery probeNow = database->prepared(u"UPDATE tally SET probe = 0 WHERE probe <> 0"_s);
    QSqlQuery noteDelivery = database->prepared(
        u"UPDATE tally SET delivered = ?, error = '', refused = 0, probes = 0, probe = 0"_s);
    QSqlQuery noteFailure = database->prepared(u"UPDATE tally SET error = ?"_s);
    QSqlQuery noteAnswer =
        database->prepared(u"UPDATE tally SET error = ?, refused = 0, probes = 0, probe = 0"_s);
    QSqlQuery noteSuspension = database->prepared(
        u"UPDATE tally SET error = ?, refused = CASE refused WHEN 0 THEN ? ELSE refused END, "
        "probes = probes + 1, probe = ?"_s);

    [[nodiscard]] QVariantList counts()
    {
        database->requireInPlace(); // who looks how the queue is doing is told that it is gone
        return database->rows(tally).value(0);
    }

    [[nodiscard]] std::optional<QueuedMessage> first(QSqlQuery& query, const QVariantList& values)
    {
        const QList<QVariantList> found = database->rows(query, values);
        return found.isEmpty() ? std::nullopt : std::optional(network::queuedFromRow(found.first()));
    }

    /// The first that the query finds beside those: one of each of their groups at most is found before it.
    [[nodiscard]] std::optional<QueuedMessage> firstBeside(const QList<QueuedMessage>& underWay,
                                                           QSqlQuery& query, QVariantList values)
    {
        values.append(underWay.size() + 1);
        const QList<QVariantList> found = database->rows(query, values);
        for (const QVariantList& row : found) {
            QueuedMessage message = network::queuedFromRow(row);
            const bool waits =
                std::any_of(underWay.cbegin(), underWay.cend(), [&message](const QueuedMessage& other) {
                    return other.id == message.id || (!other.group.isEmpty() && other.group == message.group);
                });
            if (!waits)
                return message;
        }
        return std::nullopt;
    }

    void tell(const QString& event, const QueuedMessage& message, const QueueAttempt& attempt)
    {
        if (message.group.isEmpty())
            return; // the journal is the receipts'
        journal.add({.time = {},
                     .receipt = message.group,
                     .event = event,
                     .operation = message.operation(),
                     .message = message.id,
                     .code = attempt.code,
                     .detail = attempt.error.isEmpty() ? attempt.account : attempt.error,
                     .milliseconds = attempt.milliseconds});
    }

    /// The step and what the journal tells of it as one commit. False when the queue does not hold the
    /// message or the step does nothing to it.
    bool change(qint64 id, const QString& event, const QueueAttempt& attempt,
                const std::function<bool()>& step)
    {
        bool done = false;
        database->atomically([&] {
            const auto message = first(one, {id});
            done = message && step();
            if (done)
                tell(event, *message, attempt);
        });
        return done;
    }

    // change() has found each message that these are about.

    void deliver(qint64 id, int answer)
    {
        database->change(record, {now(), u"delivered"_s, answer, false, {}, id});
        database->change(remove, {id});
    }

    // What is damaged is kept as it lies.
    void drop(qint64 id)
    {
        const auto dropped = first(one, {id}).value();
        const QVariant kept =
            dropped.damaged ? QVariant() : network::writtenWithoutAuthorization(dropped.message);
        const QVariant noAnswer(QMetaType::fromType<int>());
        database->change(record, {now(), u"dropped"_s, noAnswer, true, kept, id});
        database->change(remove, {id});
    }

    void noteAttempt(QSqlQuery& statement, const QVariantList& values, const QueueAttempt& attempt)
    {
        database->change(network::isErrorStatus(attempt.code) ? noteAnswer : noteFailure, {attempt.error});
        database->change(statement, values);
    }
};

MessageQueue::MessageQueue()
    : m(std::make_unique<Statements>())
{}

MessageQueue::~MessageQueue() = default;

qint64 MessageQueue::enqueue(const QString& queueName, const QString& group, const QVariantMap& message,
                             const QString& text)
{
    const QByteArray bytes = network::writtenMessage(message);
    QueuedMessage queued;
    queued.group = group;
    queued.message = message;
    m->database->atomically([&] {
        queued.id = m->database->insert(m->insert, {queueName, group, now(), bytes, text});
        m->tell(u"queued"_s, queued, {});
    });
    m->database->onceKept(network::queuewakeup::raise);
    return queued.id;
}

QList<QueuedMessage> MessageQueue::messages(int limit, qint64 after) const
{
    QList<QueuedMessage> result;
    for (const QVariantList& row : m->database->rows(m->list, {after, limit}))
        result.append(network::queuedFromRow(row));
    return result;
}

std::optional<QueuedMessage> MessageQueue::find(qint64 id) const { return m->first(m->one, {id}); }

qint64 MessageQueue::lastId() const { return m->database->rows(m->last).value(0).value(0).toLongLong(); }

int MessageQueue::waitingCount() const { return m->counts().value(0).toInt(); }

int MessageQueue::parkedCount() const { return m->counts().value(1).toInt(); }

QueueHealth MessageQueue::health() const
{
    const QVariantList tally = m->counts();
    const QVariantList oldest = m->database->rows(m->oldest).value(0);
    return {.waiting = tally.value(0).toInt(),
            .parked = tally.value(1).toInt(),
            .oldestWaiting = network::storedTime(oldest.value(0)),
            .credentialsSuspended = network::storedTime(tally.value(4)),
            .lastDelivered = network::storedTime(tally.value(2)),
            .lastError = tally.value(3).toString()};
}

std::optional<QueuedMessage> MessageQueue::nextDue(const QDateTime& until, const QDateTime& now,
                                                   const QList<QueuedMessage>& underWay)
{
    m->database->requireInPlace();
    // What is due at once is kept as 0, which to a clock before 1970 lies ahead.
    if (auto atOnce = m->firstBeside(underWay, m->atOnce, {}))
        return atOnce;
    if (auto due = m->firstBeside(underWay, m->due, {until.toMSecsSinceEpoch()}))
        return due;
    return m->firstBeside(underWay, m->misdated, {(now + network::longestPause).toMSecsSinceEpoch()});
}

std::optional<CredentialsSuspension> MessageQueue::suspension() const
{
    const QVariantList tally = m->counts();
    const QDateTime since = network::storedTime(tally.value(4));
    if (!since.isValid())
        return {};
    return CredentialsSuspension{since, tally.value(5).toInt(), network::storedTime(tally.value(6))};
}

bool MessageQueue::delivered(qint64 id, const QueueAttempt& attempt)
{
    return m->change(id, u"delivered"_s, attempt, [&] {
        m->database->change(m->noteDelivery, {now()});
        m->deliver(id, attempt.code);
        return true;
    });
}

bool MessageQueue::failed(qint64 id, const QueueAttempt& attempt, const QDateTime& due)
{
    return m->change(id, u"attempt"_s, attempt, [&] {
        m->noteAttempt(m->fail, {attempt.error, network::writtenTime(due), id}, attempt);
        return true;
    });
}

bool MessageQueue::park(qint64 id, const QueueAttempt& attempt)
{
    return m->change(id, u"parked"_s, attempt, [&] {
        m->noteAttempt(m->park, {attempt.error, id}, attempt);
        return true;
    });
}

bool MessageQueue::refused(qint64 id, const QueueAttempt& attempt, const QDateTime& due,
                           const QDateTime& nextProbe)
{
    return m->change(id, u"attempt"_s, attempt, [&] {
        m->database->change(m->noteSuspension, {attempt.error, now(), network::writtenTime(nextProbe)});
        m->database->change(m->fail, {attempt.error, network::writtenTime(due), id});
        return true;
    });
}

bool MessageQueue::retry(qint64 id)
{
    const bool done =
        m->change(id, u"retried"_s, {}, [&] { return m->database->change(m->retry, {id}) > 0; });
    m->database->onceKept(network::queuewakeup::raise);
    return done;
}

bool MessageQueue::drop(qint64 id)
{
    const bool done = m->change(id, u"dropped"_s, {}, [&] {
        m->drop(id);
        return true;
    });
    m->database->onceKept(network::queuewakeup::raise);
    return done;
}

void MessageQueue::expedite()
{
    m->database->atomically([&] {
        m->database->change(m->hasten, {});
        m->database->change(m->probeNow, {});
    });
    m->database->onceKept(network::queuewakeup::raise);
}

// A sync takes longer than many an exchange.
void MessageQueue::together(const std::function<void()>& notes) { m->database->atomically(notes); }

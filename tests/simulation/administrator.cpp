// What the administrator does with messages that the service has refused for good.

#include "tests/simulation/shop.h"

#include "host/queue/queuedform.h"
#include "host/storage/store.h"

#include <QUrl>

using namespace Qt::StringLiterals;

namespace simulation {

namespace {

/// As the queue sends it.
stand::Request requestOf(const QueuedMessage& message)
{
    const QUrl url = message.message.value(u"url"_s).toUrl();
    return {.method = message.message.value(u"method"_s).toString().toLatin1(),
            .path = url.path(QUrl::FullyEncoded).toUtf8(),
            .query = url.query(QUrl::FullyEncoded).toUtf8(),
            .headers = {},
            .body = message.message.value(u"body"_s).toByteArray()};
}

/// What was dropped at this till, in the order in which it was put in, as the queue's history keeps it.
QList<QueuedMessage> droppedOnes()
{
    const auto database = storage::store();
    QSqlQuery query =
        database->prepared(u"SELECT id, queue, receipt, enqueued, message, text, attempts, error, 0, 0 "
                           "FROM history WHERE outcome = 'dropped' ORDER BY id"_s);
    QList<QueuedMessage> dropped;
    for (const QVariantList& row : database->rows(query))
        dropped.append(network::queuedFromRow(row));
    return dropped;
}

} // namespace

QSet<QString> Shop::incomplete() const
{
    QSet<QString> groups = m_incompleteBefore;
    for (const QueuedMessage& dropped : droppedOnes())
        groups.insert(dropped.group);
    return groups;
}

void Shop::administrate(Dice& dice)
{
    checkParked();
    MessageQueue& queue = m_till->queue();
    for (auto message = queue.after(0); message; message = queue.after(message->id)) {
        if (message->state != QueuedMessage::State::Parked || dice.oneIn(3))
            continue;
        if (dice.oneIn(2))
            drop(*message);
        else
            retry(*message);
    }
}

void Shop::retry(const QueuedMessage& message)
{
    const bool isDone = m_till->queue().retry(message.id);
    requireAlive();
    note(u"retry message %1 about %2"_s.arg(message.id).arg(message.group));
    if (!isDone)
        find(u"message %1 is parked and cannot be retried"_s.arg(message.id));
    m_decisions.append({m_at, message, 0, false});
}

void Shop::drop(const QueuedMessage& message)
{
    const bool isDone = m_till->queue().drop(message.id);
    requireAlive();
    note(u"drop message %1 about %2, %3"_s.arg(message.id).arg(message.group, message.operation()));
    if (!isDone)
        find(u"message %1 is parked and cannot be dropped"_s.arg(message.id));
    m_decisions.append({m_at, message, m_network.sent(requestOf(message)), true});
}

void Shop::checkDecisions()
{
    for (const Decision& decision : m_decisions) {
        if (decision.till != m_at)
            continue;
        const auto message = m_till->queue().find(decision.message.id);
        if (decision.isDropped && message)
            find(u"message %1 was dropped, and is there again"_s.arg(decision.message.id));
        if (!decision.isDropped && message && message->state == QueuedMessage::State::Parked &&
            message->attempts == decision.message.attempts)
            find(u"message %1 was to wait again, and is parked"_s.arg(decision.message.id));
    }
}

void Shop::forgetDecisions()
{
    m_incompleteBefore = incomplete(); // what is parked for that stays parked
    m_decisions.removeIf([this](const Decision& decision) { return decision.till == m_at; });
}

void Shop::checkParked()
{
    MessageQueue& queue = m_till->queue();
    const QSet<QString> groups = incomplete();
    for (auto message = queue.after(0); message; message = queue.after(message->id)) {
        if (message->state == QueuedMessage::State::Parked && !groups.contains(message->group) &&
            !m_network.wasRefusedByChance(requestOf(*message)))
            find(u"message %1 about %2, %3, was refused: %4"_s.arg(message->id)
                     .arg(message->group, message->operation(), message->lastError));
    }
}

bool Shop::lookAfterParked(QSet<qint64>& retried)
{
    checkParked();
    MessageQueue& queue = m_till->queue();
    const QSet<QString> groups = incomplete();
    bool isAnythingDone = false;
    for (auto message = queue.after(0); message; message = queue.after(message->id)) {
        if (message->state != QueuedMessage::State::Parked)
            continue;
        if (!retried.contains(message->id))
            retry(*message);
        else if (groups.contains(message->group)) // what it takes back was never done
            drop(*message);
        else
            continue; // sendAll() tells of it
        retried.insert(message->id);
        isAnythingDone = true;
    }
    return isAnythingDone;
}

void Shop::settleDropped()
{
    checkDecisions();
    for (const Decision& decision : m_decisions) {
        const stand::Request request = requestOf(decision.message);
        if (decision.till == m_at && decision.isDropped && m_network.sent(request) != decision.sent)
            find(u"message %1 about %2 was dropped, and was sent"_s.arg(decision.message.id)
                     .arg(decision.message.group));
    }
    for (const QueuedMessage& message : droppedOnes()) {
        stand::Request request = requestOf(message);
        const int status = m_network.settle(request);
        note(
            u"message %1 about %2, %3, is settled"_s.arg(message.id).arg(message.group, message.operation()));
        if (status >= 300)
            find(u"message %1 about %2 cannot be settled: %3"_s.arg(message.id)
                     .arg(message.group)
                     .arg(status));
    }
}

} // namespace simulation

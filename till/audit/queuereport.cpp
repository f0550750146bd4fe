#include "till/audit/queuereport.h"

#include "host/utils/masking.h"

#include <QJsonArray>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till {

QString stateText(const QueuedMessage& message)
{
    if (message.damaged)
        return u"damaged"_s;
    return message.state == QueuedMessage::State::Parked ? u"parked"_s : u"waiting"_s;
}

QJsonObject messageJson(const QueuedMessage& message)
{
    QJsonObject json{
        {u"id"_s, message.id},
        {u"receipt"_s, message.group},
        {u"operation"_s, utils::maskNumbers(message.operation())},
        {u"text"_s, utils::maskNumbers(message.text)},
        {u"enqueued"_s, timeText(message.enqueued)},
        {u"state"_s, stateText(message)},
        {u"due"_s, message.state == QueuedMessage::State::Waiting ? timeText(message.due) : QString()},
        {u"attempts"_s, message.attempts},
        {u"lastError"_s, utils::maskNumbers(message.lastError)},
        {u"damaged"_s, message.damaged}};
    if (!message.till.isEmpty())
        json.insert(u"till"_s, message.till);
    return json;
}

QueueListing queueListing(const OutgoingQueue& queue, int limit, bool parkedOnly)
{
    QueueListing found;
    // One by one, for a queue may hold more than fits into memory.
    for (auto next = queue.after(0); next && !found.more; next = queue.after(next->id)) {
        if (parkedOnly && next->state != QueuedMessage::State::Parked)
            continue;
        found.more = found.messages.size() == limit;
        if (!found.more)
            found.messages.append(*next);
    }
    return found;
}

QJsonDocument listingJson(const OutgoingQueue& queue, const QueueListing& listing)
{
    QJsonArray messages;
    for (const QueuedMessage& message : listing.messages)
        messages.append(messageJson(message));
    return QJsonDocument(QJsonObject{{u"waiting"_s, queue.waitingCount()},
                                     {u"parked"_s, queue.parkedCount()},
                                     {u"messages"_s, messages},
                                     {u"more"_s, listing.more}});
}

QString timeText(const QDateTime& time)
{
    return time.isValid() ? time.toUTC().toString(Qt::ISODate) : QString();
}

QString ageText(const QDateTime& since, const QDateTime& now)
{
    const qint64 minutes = std::max<qint64>(0, since.secsTo(now) / 60);
    const qint64 hours = minutes / 60;
    const qint64 days = hours / 24;
    if (days > 0)
        return u"%1 d %2 h"_s.arg(days).arg(hours % 24);
    return hours > 0 ? u"%1 h %2 min"_s.arg(hours).arg(minutes % 60) : u"%1 min"_s.arg(minutes);
}

} // namespace till

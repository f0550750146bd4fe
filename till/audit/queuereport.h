#pragma once

#include "host/queue/messagequeue.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace till {

/// The number of a message as it is typed; throws UsageError when it is none.
qint64 messageId(const QString& text);

/// "waiting", "parked" or "damaged".
QString stateText(const QueuedMessage& message);

/// What the tools tell of a message: nothing of its headers and body, numbers in texts masked.
QJsonObject messageJson(const QueuedMessage& message);

/// The first messages of the queue.
struct QueueListing
{
    QList<QueuedMessage> messages;
    bool more = false; ///< there are others behind them
};
QueueListing queueListing(const OutgoingQueue& queue, int limit, bool parkedOnly);

/// The same as `till queue list --json` tells it.
QJsonDocument listingJson(const OutgoingQueue& queue, const QueueListing& listing);

/// "2026-11-21T04:05:06Z"; empty when the time is invalid.
QString timeText(const QDateTime& time);

/// "3 min", "2 h 5 min", "4 d 3 h" since then.
QString ageText(const QDateTime& since, const QDateTime& now);

} // namespace till

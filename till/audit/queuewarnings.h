#pragma once

#include "host/queue/messagequeue.h"
#include "host/shop/localmarks.h"
#include "host/utils/config.h"
#include "host/utils/tr.h"

#include <QString>

#include <chrono>

namespace till {

/// Something about the outgoing queue, or what moves on to a shop's database, that does not mend itself.
struct QueueWarning
{
    tr::Tr text;     ///< for the cashier
    QString english; ///< for the administrator
    QString remedy;  ///< for the administrator
};

/// What every front end shows, the gravest first; empty when all is well. In constant time, but for receipts
/// that are stuck. Throws BasicException when the store can't be read.
QList<QueueWarning> tillWarnings(const OutgoingQueue& queue, const Config& config);

// Its parts.

/// Of the queue.
QList<QueueWarning> queueWarnings(const OutgoingQueue& queue, const Config& config);
/// Of closed receipts that can't move on; where there is a shop's database.
QList<QueueWarning> stuckWarnings(const Config& config);

/// The same of a queue that was so at that moment; a message that waits for longer than one's patience is
/// worth a warning.
QList<QueueWarning> queueWarnings(const QueueHealth& health, const QDateTime& now,
                                  std::chrono::minutes patience);
/// The same of those receipts.
QList<QueueWarning> stuckWarnings(const QList<shop::StuckReceipt>& stuck);

} // namespace till

#pragma once

#include "host/queue/messagequeue.h"
#include "host/utils/config.h"
#include "host/utils/tr.h"

#include <QString>

#include <chrono>

namespace till {

/// Something about the outgoing queue that does not mend itself.
struct QueueWarning
{
    tr::Tr text;     ///< for the cashier
    QString english; ///< for the administrator
    QString remedy;  ///< for the administrator
};

/// What every front end shows of the queue, the gravest first; empty when all is well. In constant time.
/// Throws BasicException when the queue can't be read.
QList<QueueWarning> queueWarnings(const OutgoingQueue& queue, const Config& config);

/// The same of a queue that was so at that moment; a message that waits for longer than one's patience is
/// worth a warning.
QList<QueueWarning> queueWarnings(const QueueHealth& health, const QDateTime& now,
                                  std::chrono::minutes patience);

} // namespace till

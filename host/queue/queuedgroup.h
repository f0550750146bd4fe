#pragma once

#include "host/queue/messagequeue.h"

namespace network {

/// What waits or is parked of a receipt, in order; nothing for an empty group. Throws BasicException when the
/// store can't be used.
HOST_EXPORT QList<QueuedMessage> queuedOf(const QString& group);

} // namespace network

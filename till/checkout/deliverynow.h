#pragma once

#include "host/queue/messagequeue.h"
#include "host/queue/queuedelivery.h"
#include "host/utils/config.h"

namespace till {

/// How whoever delivers does it: with the configured credentials, and what was earned goes into the journal.
QueueDelivery::Options deliveryOptions(const Config& config);

/// Sends everything that waits once, without regard to its pauses, and waits for the answers: itself, or by
/// the worker that delivers this queue already, in this or another program. Throws BasicException when the
/// queue can't be used.
QueueDelivery::Summary deliverNow(MessageQueue& queue, const Config& config);

} // namespace till

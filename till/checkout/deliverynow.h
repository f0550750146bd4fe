#pragma once

#include "host/queue/deliveryworker.h"
#include "host/queue/messagequeue.h"
#include "host/utils/config.h"
#include "till/setup/shopsettings.h"

namespace till {

/// How whoever delivers does it: with the configured credentials, and what was earned goes into the journal.
QueueDelivery::Options deliveryOptions(const Config& config);

/// What a till does with its queue all the time: it delivers it, or, where the shop has a database, moves it
/// on to that. Throws UsageError.
DeliveryWorker::Options workerOptions(const Config& config);

/// Moves everything that waits on to the shop's database, once; delivered is what has. For who holds the
/// delivery's lock. Throws BasicException when there is nothing that waits, and it can't be reached.
QueueDelivery::Summary moveOn(const MessageQueue& queue, const ShopSettings& shop);

/// Sends everything that waits once, without regard to its pauses, and waits for the answers: itself, or by
/// the worker that delivers this queue already, in this or another program. Where the shop has a database,
/// delivered is what moved on to that. Throws BasicException when the queue can't be used.
QueueDelivery::Summary deliverNow(MessageQueue& queue, const Config& config);

} // namespace till

#pragma once

#include "host/queue/deliveryworker.h"

/// What a DeliveryWorker does in a shop of many tills.
namespace shop {

/// Moves what lies at this till on to the shop's database; see Moving. It holds the data directory's lock.
/// For `days` it remembers which receipts have moved on; 0: for ever.
DeliveryWorker::Options movingOn(const QString& till, const QString& address, int days);

/// The same once, here and now.
void moveAll(const QString& till, const QString& address);

/// Delivers the shop's queue, beside any number of others; see ShopQueue.
DeliveryWorker::Options shopDelivery(const QString& address, const QueueDelivery::Options& delivery);

} // namespace shop

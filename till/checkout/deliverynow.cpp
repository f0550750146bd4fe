#include "till/checkout/deliverynow.h"

#include "host/network/idlework.h"
#include "host/shop/connection.h"
#include "host/shop/shopjobs.h"
#include "host/storage/filelock.h"
#include "host/utils/currenttime.h"
#include "till/checkout/lateearning.h"
#include "till/setup/keeping.h"
#include "till/setup/settings.h"
#include "till/setup/shopsettings.h"

#include <QDeadlineTimer>
#include <QThread>

namespace till {

namespace {

using namespace std::chrono_literals;

/// Until the worker has tried everything, or a patience that a service which drips its answers would outlast.
QueueDelivery::Summary waitForWorker(MessageQueue& queue)
{
    constexpr unsigned long glance = 20; // milliseconds
    const int before = queue.waitingCount() + queue.parkedCount();
    queue.expedite();
    const QDeadlineTimer patience(60s);
    const auto isDue = [&queue] {
        const QDateTime now = MockFactory<CurrentTime>::create()->currentDateTime();
        // Credentials that were refused are tried once more at once.
        const auto suspension = queue.suspension();
        return queue.nextDue(now, now).has_value() && !(suspension && suspension->nextProbe.isValid());
    };
    while (isDue() && !patience.hasExpired()) { // GCOVR_EXCL_BR_LINE: no test waits for a minute
        QThread::msleep(glance);
        if (const IdleWork* idle = IdleWork::current())
            (*idle)();
    }
    const QueueHealth health = queue.health();
    QueueDelivery::Summary summary;
    summary.delivered = std::max(0, before - health.waiting - health.parked);
    summary.waiting = health.waiting;
    summary.parked = health.parked;
    summary.firstError = health.waiting + health.parked > 0 ? health.lastError : QString();
    return summary;
}

} // namespace

QueueDelivery::Summary moveOn(const MessageQueue& queue, const ShopSettings& shop)
{
    QueueDelivery::Summary summary;
    const int before = queue.waitingCount() + queue.parkedCount();
    try {
        shop::moveAll(shop.till, shop.database);
    } catch (const shop::DatabaseError& failure) {
        if (queue.waitingCount() + queue.parkedCount() == 0)
            throw; // receipts lie here still, which nobody counts
        summary.firstError = failure.tr().ru();
    }
    summary.waiting = queue.waitingCount();
    summary.parked = queue.parkedCount();
    summary.delivered = std::max(0, before - summary.waiting - summary.parked);
    return summary;
}

QueueDelivery::Options deliveryOptions(const Config& config)
{
    QueueDelivery::Options options;
    options.authorization = currentAuthorization(config);
    options.account = accountOfEarning;
    return options;
}

DeliveryWorker::Options workerOptions(const Config& config)
{
    if (const auto shop = shopOf(config))
        return shop::movingOn(shop->till, shop->database, keepingTimesOf(config).receipts);
    return {.delivery = deliveryOptions(config)};
}

QueueDelivery::Summary deliverNow(MessageQueue& queue, const Config& config)
{
    const auto held = QueueDelivery::lock();
    if (!held)
        return waitForWorker(queue);
    if (const auto shop = shopOf(config))
        return moveOn(queue, *shop);
    queue.expedite();
    return QueueDelivery(queue, deliveryOptions(config)).deliverDue(*held);
}

} // namespace till

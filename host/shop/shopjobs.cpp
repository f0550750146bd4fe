#include "host/shop/shopjobs.h"

#include "host/shop/moving.h"
#include "host/shop/schema.h"
#include "host/shop/shopqueue.h"

namespace shop {

namespace {

class MovingJob : public DeliveryWorker::Job
{
public:
    MovingJob(const QString& till, const QString& address)
        : m_database(address)
        , m_moving(till, m_database)
    {
        requirePrepared(m_database);
    }
    void run(const std::stop_token& stop) override
    {
        while (!stop.stop_requested() && m_moving.step()) {
        }
    }

private:
    Connection m_database;
    Moving m_moving;
};

class ShopDelivery : public DeliveryWorker::Job
{
public:
    ShopDelivery(const QString& address, const QueueDelivery::Options& options)
        : m_queue(address)
        , m_delivery(m_queue, options)
    {}
    void run(const std::stop_token& stop) override { m_delivery.deliverDue(stop); }
    bool wait(std::chrono::milliseconds longest, const std::stop_token& stop) override
    {
        m_queue.wait(longest, stop);
        return true;
    }

private:
    ShopQueue m_queue;
    QueueDelivery m_delivery;
};

} // namespace

DeliveryWorker::Options movingOn(const QString& till, const QString& address, int days)
{
    return {.job = [till, address, days](const QueueDelivery::Options&) {
        if (days > 0)
            LocalMarks().forgetBefore(QDateTime::currentDateTimeUtc().addDays(-days).toMSecsSinceEpoch());
        return std::make_unique<MovingJob>(till, address);
    }};
}

void moveAll(const QString& till, const QString& address) { MovingJob(till, address).run({}); }

DeliveryWorker::Options shopDelivery(const QString& address, const QueueDelivery::Options& delivery)
{
    return {.job =
                [address](const QueueDelivery::Options& options) {
                    return std::make_unique<ShopDelivery>(address, options);
                },
            .alone = false,
            .delivery = delivery};
}

} // namespace shop

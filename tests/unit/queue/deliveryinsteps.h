#pragma once

#include "host/queue/messagequeue.h"
#include "host/queue/queuedelivery.h"
#include "tests/support/fakeservice.h"
#include "tests/support/logcapture.h"
#include "tests/support/stillclock.h"
#include "tests/unit/queue/scene.h"
#include "tests/unit/storage/scene.h"

#include <initializer_list>

namespace queuetest {

/// A till's queue whose delivery is made step by step, to a service that answers as it is told. The clock
/// stands still.
class DeliveryInSteps : public test_support::Storage
{
protected:
    DeliveryInSteps()
    {
        options.random = [] { return 0.5; };
    }

    qint64 add(const QString& group, const QString& path)
    {
        return queue.enqueue(QStringLiteral("q"), group,
                             test_support::messageTo(QStringLiteral("http://service/") + path), {});
    }
    QueueDelivery::Summary pass()
    {
        QueueDelivery delivery(queue, options);
        return passOf(delivery);
    }
    static QueueDelivery::Summary passOf(QueueDelivery& delivery)
    {
        const auto lock = QueueDelivery::lock();
        return delivery.deliverDue(*lock);
    }
    /// The paths sent since the last call.
    QStringList sent()
    {
        QStringList result;
        for (; m_seen < service.requests().size(); ++m_seen)
            result.append(service.requests()[m_seen].url.path().mid(1));
        return result;
    }
    void answer(std::initializer_list<int> codes)
    {
        for (const int code : codes)
            service.answer("{}", code);
    }

    test_support::StillClock clock;
    MessageQueue queue;
    test_support::FakeService service;
    QueueDelivery::Options options;
    test_support::LogCapture networkLog{QStringLiteral("network")};

private:
    qsizetype m_seen = 0;
};

} // namespace queuetest

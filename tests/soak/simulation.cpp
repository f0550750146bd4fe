#include "tests/soak/simulation.h"

#include "host/queue/messagequeue.h"
#include "host/queue/queuedelivery.h"
#include "host/queue/retrybackoff.h"

#include <limits>

namespace soaktest {

void Simulation::pass(std::chrono::seconds time)
{
    const auto held = QueueDelivery::lock();
    if (!held)
        throw std::runtime_error("another delivery holds the queue");
    MessageQueue queue;
    QueueDelivery delivery(
        queue, {.authorization = {},
                .random = {},
                .attempted = [this](const QueuedMessage&, const QueueAttempt&) { ++m_attempts; }});
    const QDateTime end = now().addSecs(time.count());
    while (queue.waitingCount() > 0) {
        delivery.deliverDue(*held);
        const QDateTime next = nextMoment(queue);
        if (!next.isValid() || next > end)
            break;
        m_clock.moveTo(std::max(next, now().addMSecs(1)));
    }
    m_clock.moveTo(end);
}

QDateTime Simulation::nextMoment(MessageQueue& queue) const
{
    if (const auto suspension = queue.suspension(); suspension && suspension->nextProbe > now())
        return suspension->nextProbe;
    const auto next = queue.nextDue(now() + network::longestPause, now());
    return next ? next->due : QDateTime();
}

int Simulation::retryParked()
{
    MessageQueue queue;
    int retried = 0;
    const auto messages = queue.messages(std::numeric_limits<int>::max());
    for (const QueuedMessage& message : messages) {
        if (message.state == QueuedMessage::State::Parked)
            retried += queue.retry(message.id) ? 1 : 0;
    }
    return retried;
}

} // namespace soaktest

#include "tests/soak/simulation.h"

#include "host/queue/queuedelivery.h"
#include "host/queue/queuepause.h"
#include "host/utils/standingtime.h"

#include <limits>

namespace soaktest {

Simulation::Simulation(const QDateTime& start)
    : m_now(start)
{
    MockFactory<CurrentTime>::mocked = [this] { return QSharedPointer<StandingTime>::create(m_now); };
}

Simulation::~Simulation() { MockFactory<CurrentTime>::mocked = {}; }

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
    const QDateTime end = m_now.addSecs(time.count());
    while (queue.waitingCount() > 0) {
        delivery.deliverDue(*held);
        const QDateTime next = nextMoment(queue);
        if (!next.isValid() || next > end)
            break;
        m_now = std::max(next, m_now.addMSecs(1));
    }
    m_now = end;
}

QDateTime Simulation::nextMoment(const MessageQueue& queue) const
{
    if (const auto refusal = queue.refusal(); refusal && refusal->nextProbe > m_now)
        return refusal->nextProbe;
    const auto next = queue.nextDue(m_now + network::longestPause, m_now);
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

// The delivery service, which keeps to the pauses between its attempts, and clocks that are set meanwhile.

#include "tests/simulation/shop.h"

#include "host/queue/queuedelivery.h"
#include "host/queue/retrybackoff.h"
#include "till/checkout/deliverynow.h"
#include "till/setup/hostobjects.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace simulation {

void Shop::setClock(Dice& dice)
{
    const std::chrono::minutes ahead(dice.between(1, 60 * 24 * 3));
    const std::chrono::minutes back(dice.oneIn(2) ? dice.between(1, 20) : dice.between(20, 60 * 24));
    const std::chrono::minutes by = dice.oneIn(2) ? ahead : -back;
    note(u"the clock jumps by %1 minutes"_s.arg(by.count()));
    m_clock.move(by);
    m_network.clockWasSet(by);
}

void Shop::waitForUnusedTime()
{
    const QDateTime free = m_used.firstFree(m_clock.now(), 1h);
    if (free > m_clock.now()) {
        m_clock.moveTo(free);
        note(u"nobody works until this clock is where nobody has worked"_s);
    }
}

void Shop::keepDelivering(Dice& dice)
{
    constexpr int longestStep = 400; // seconds
    const auto held = QueueDelivery::lock();
    MessageQueue& queue = m_till->queue();
    // Since the last attempt, or the last time that nothing was to be sent.
    QDateTime since = m_network.serviceTime();
    int jumps = 0;
    QueueDelivery::Options options = till::deliveryOptions(till::hostObject<Config>());
    options.attempting = [&](const QueuedMessage& /*message*/) {
        since = m_network.serviceTime();
        jumps = 0;
    };
    QueueDelivery delivery(queue, options);
    for (int left = dice.between(5, 40); left > 0; --left) {
        const QueueDelivery::Summary summary = delivery.deliverDue(*held);
        requireAlive();
        if (summary.delivered + summary.waiting > 0)
            note(u"delivery service: %1 delivered, %2 wait"_s.arg(summary.delivered).arg(summary.waiting));
        const QDateTime now = m_network.serviceTime();
        if (!queue.nextDue(m_clock.now().addYears(1), m_clock.now()))
            since = now;
        const auto longest = network::longestPause * (1 + jumps) + std::chrono::seconds(longestStep);
        if (since.msecsTo(now) > longest.count())
            find(u"nothing was tried for %1 s, and the clock was set %2 times"_s.arg(since.secsTo(now))
                     .arg(jumps));
        if (dice.oneIn(8)) {
            setClock(dice);
            ++jumps;
        } else {
            m_clock.move(std::chrono::seconds(dice.between(1, longestStep)));
        }
        if (dice.oneIn(10))
            m_network.setDown(false);
    }
}

} // namespace simulation

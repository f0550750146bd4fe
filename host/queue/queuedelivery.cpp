#include "host/queue/queuedelivery.h"

#include "host/queue/queuesending.h"
#include "host/queue/retrybackoff.h"
#include "host/storage/storageerror.h"
#include "host/utils/currenttime.h"
#include "host/utils/logging.h"

#include <QRandomGenerator>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using network::SendingOutcome;

namespace {

const QString lockName = u"queue.lock"_s;

/// The time, which does not go back within one run: what has failed in it would be due again.
QDateTime notBefore(const QDateTime& start)
{
    return std::max(MockFactory<CurrentTime>::create()->currentDateTime(), start);
}

Log4Qt::Logger* log() { return utils::logger(u"network"_s); }

} // namespace

std::unique_ptr<storage::FileLock> QueueDelivery::lock() { return storage::FileLock::ifFree(lockName); }

QueueDelivery::QueueDelivery(MessageQueue& queue)
    : QueueDelivery(queue, Options{})
{}

QueueDelivery::QueueDelivery(MessageQueue& queue, Options options)
    : m_queue(queue)
    , m_options(std::move(options))
{
    if (!m_options.random)
        m_options.random = [] { return QRandomGenerator::global()->generateDouble(); };
}

QueueDelivery::Summary QueueDelivery::run(const std::stop_token& stop)
{
    const storage::FileLock held(lockName);
    m_queue.expedite();
    return deliverDue(held, stop);
}

QueueDelivery::Summary QueueDelivery::deliverDue(const storage::FileLock& held, const std::stop_token& stop)
{
    Summary summary;
    const QDateTime start = MockFactory<CurrentTime>::create()->currentDateTime();
    while (!stop.stop_requested()) {
        held.requireInPlace();
        const QDateTime now = notBefore(start);
        const auto next = isHeldUp(now) ? std::nullopt : m_queue.nextDue(start, now);
        if (!next)
            break;
        deliver(*next, start, summary);
    }
    summary.waiting = m_queue.waitingCount();
    summary.parked = m_queue.parkedCount();
    return summary;
}

bool QueueDelivery::isHeldUp(const QDateTime& now) const
{
    const auto suspension = m_queue.suspension();
    // A probe set for later than any pause was set before the clock jumped back.
    return suspension && suspension->nextProbe.isValid() && suspension->nextProbe > now &&
           suspension->nextProbe <= now + network::longestPause;
}

void QueueDelivery::deliver(const QueuedMessage& message, const QDateTime& start, Summary& summary)
{
    if (m_options.attempting)
        m_options.attempting(message);
    const SendingOutcome outcome = network::sendQueued(message, m_options.authorization);
    const bool held = note(message, outcome, notBefore(start));
    if (outcome.delivered()) {
        ++summary.delivered;
        if (!held)
            log()->warn(u"Queue: message %1 was delivered while being dropped"_s.arg(message.id));
    }
    if (summary.firstError.isEmpty())
        summary.firstError = outcome.attempt.error;
    if (m_options.attempted)
        m_options.attempted(message, outcome.attempt);
}

bool QueueDelivery::note(const QueuedMessage& message, const SendingOutcome& outcome, const QDateTime& now)
{
    const QueueAttempt& attempt = outcome.attempt;
    const auto suspension = m_queue.suspension();
    if (outcome.answered() && !outcome.unauthorized() && suspension)
        log()->info(u"Queue: the service takes the credentials again"_s);
    if (outcome.delivered())
        return m_queue.delivered(message.id, attempt);
    if (outcome.hopeless) {
        log()->warn(u"Queue: message %1 is parked"_s.arg(message.id));
        return m_queue.park(message.id, attempt);
    }
    const QDateTime due = after(now, message.attempts + 1);
    if (!outcome.unauthorized() && (outcome.answered() || !suspension))
        return m_queue.failed(message.id, attempt, due);
    if (!suspension)
        log()->error(u"Queue: the service refuses the credentials; nothing is delivered until it takes them. "
                     "Check user and password"_s);
    const QDateTime nextProbe = after(now, suspension ? suspension->probes + 1 : 1);
    return m_queue.refused(message.id, attempt, due, nextProbe); // the next probe is another message
}

QDateTime QueueDelivery::after(const QDateTime& now, int attempts) const
{
    return now + network::pauseAfter(attempts, m_options.random());
}

#include "host/queue/queuedelivery.h"

#include "host/network/parallelclient.h"
#include "host/queue/deliverypace.h"
#include "host/queue/queuesending.h"
#include "host/queue/retrybackoff.h"
#include "host/utils/currenttime.h"
#include "host/utils/logging.h"

#include <QRandomGenerator>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
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

/// Once over what is due, with the answers of what it began.
class QueueDelivery::Pass
{
public:
    /// `held` may be null.
    Pass(QueueDelivery& delivery, const storage::FileLock* held, const std::stop_token& stop)
        : m_delivery(delivery)
        , m_held(held)
        , m_stop(stop)
    {}
    /// What fails must not leave anything under way.
    ~Pass() { m_delivery.m_client->abandon(); }
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;

    Summary run();

private:
    struct Sent
    {
        QueuedMessage message;
        SendingOutcome outcome;
    };

    /// As many as may go side by side. Those that have their answer but are not settled count no more.
    void beginWhatIsDue(qsizetype unsettled = 0);
    void begin(const QueuedMessage& message);
    [[nodiscard]] QList<Sent> finished();
    void settle(const QList<Sent>& sent);
    void tell(const Sent& sent, bool held);

    QueueDelivery& m_delivery;
    const storage::FileLock* m_held;
    const std::stop_token& m_stop;
    QDateTime m_start = MockFactory<CurrentTime>::create()->currentDateTime();
    QList<QueuedMessage> m_underWay; // and not settled
    Summary m_summary;
};

QueueDelivery::Summary QueueDelivery::Pass::run()
{
    for (beginWhatIsDue(); !m_underWay.isEmpty(); beginWhatIsDue()) {
        const QList<Sent> sent = finished();
        const bool allDelivered =
            std::all_of(sent.cbegin(), sent.cend(), [](const Sent& one) { return one.outcome.delivered(); });
        if (allDelivered && !sent.isEmpty())
            beginWhatIsDue(sent.size()); // a sync takes long; the service need not wait for it
        settle(sent);
    }
    m_summary.waiting = m_delivery.m_queue.waitingCount();
    m_summary.parked = m_delivery.m_queue.parkedCount();
    return m_summary;
}

void QueueDelivery::Pass::beginWhatIsDue(qsizetype unsettled)
{
    while (!m_stop.stop_requested() && m_underWay.size() - unsettled < m_delivery.m_pace->sideBySide()) {
        if (m_held)
            m_held->requireInPlace();
        const QDateTime now = notBefore(m_start);
        const auto next =
            m_delivery.isHeldUp(now) ? std::nullopt : m_delivery.m_queue.nextDue(m_start, now, m_underWay);
        if (!next)
            break;
        begin(*next);
    }
}

void QueueDelivery::Pass::begin(const QueuedMessage& message)
{
    const utils::LogReceipt its(message.group);
    if (m_delivery.m_options.attempting)
        m_delivery.m_options.attempting(message);
    const auto request = network::requestOf(message, m_delivery.m_options.authorization);
    if (const auto* outcome = std::get_if<SendingOutcome>(&request)) {
        settle({{message, *outcome}});
    } else {
        m_delivery.m_client->begin(message.id, std::get<network::Request>(request));
        m_underWay.append(message);
    }
}

QList<QueueDelivery::Pass::Sent> QueueDelivery::Pass::finished()
{
    constexpr auto glance = std::chrono::milliseconds(100); // for what comes in while others are under way
    QList<Sent> sent;
    for (const ParallelClient::Finished& one : m_delivery.m_client->finished(glance)) {
        const auto message = std::find_if(m_underWay.cbegin(), m_underWay.cend(),
                                          [&one](const auto& underWay) { return underWay.id == one.id; });
        SendingOutcome outcome = network::outcomeOf(one);
        if (outcome.delivered() && m_delivery.m_options.account)
            outcome.attempt.account = m_delivery.m_options.account(*message, one.response);
        sent.append({*message, outcome});
    }
    return sent;
}

void QueueDelivery::Pass::settle(const QList<Sent>& sent)
{
    if (sent.isEmpty())
        return;
    QList<bool> held;
    m_delivery.m_queue.together([&] {
        for (const Sent& one : sent)
            held.append(m_delivery.note(one.message, one.outcome, notBefore(m_start)));
    });
    for (qsizetype i = 0; i < sent.size(); ++i) {
        m_underWay.removeIf([&](const QueuedMessage& message) { return message.id == sent[i].message.id; });
        tell(sent[i], held[i]);
    }
}

void QueueDelivery::Pass::tell(const Sent& sent, bool held)
{
    const auto& [message, outcome] = sent;
    if (outcome.delivered()) {
        ++m_summary.delivered;
        m_delivery.m_pace->wentWell();
        if (!held) {
            const utils::LogReceipt its(message.group);
            log()->warn(u"Queue: message %1 was delivered while being dropped"_s.arg(message.id));
        }
    } else if (!outcome.hopeless) {
        m_delivery.m_pace->wentWrong();
    }
    m_delivery.m_client->keepConnections(m_delivery.m_pace->sideBySide());
    if (m_summary.firstError.isEmpty())
        m_summary.firstError = outcome.attempt.error;
    if (m_delivery.m_options.attempted)
        m_delivery.m_options.attempted(message, outcome.attempt);
}

std::unique_ptr<storage::FileLock> QueueDelivery::lock() { return storage::FileLock::ifFree(lockName); }

QueueDelivery::QueueDelivery(OutgoingQueue& queue)
    : QueueDelivery(queue, Options{})
{}

QueueDelivery::QueueDelivery(OutgoingQueue& queue, Options options)
    : m_queue(queue)
    , m_options(std::move(options))
    , m_client(MockFactory<ParallelClient>::create())
    , m_pace(std::make_unique<network::DeliveryPace>())
{
    if (!m_options.random)
        m_options.random = [] { return QRandomGenerator::global()->generateDouble(); };
}

QueueDelivery::~QueueDelivery() = default;

QueueDelivery::Summary QueueDelivery::run(const std::stop_token& stop)
{
    const storage::FileLock held(lockName);
    m_queue.expedite();
    return deliverDue(held, stop);
}

QueueDelivery::Summary QueueDelivery::deliverDue(const storage::FileLock& held, const std::stop_token& stop)
{
    return Pass(*this, &held, stop).run();
}

QueueDelivery::Summary QueueDelivery::deliverDue(const std::stop_token& stop)
{
    return Pass(*this, nullptr, stop).run();
}

bool QueueDelivery::isHeldUp(const QDateTime& now)
{
    // What is set for later than any pause was set before the clock jumped back. An invalid time is before
    // any.
    const auto liesAhead = [&now](const QDateTime& time) {
        return time > now && time <= now + network::longestPause;
    };
    if (m_hold) {
        const auto message = m_queue.find(m_hold->message);
        if (!message || message->due != m_hold->due || !liesAhead(m_hold->until))
            m_hold.reset();
    }
    const auto suspension = m_queue.suspension();
    return m_hold || (suspension && liesAhead(suspension->nextProbe));
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
        const utils::LogReceipt its(message.group);
        log()->warn(u"Queue: message %1 is parked"_s.arg(message.id));
        return m_queue.park(message.id, attempt);
    }
    const QDateTime due = dueAfter(message, outcome, now);
    if (!outcome.unauthorized() && (outcome.answered() || !suspension))
        return m_queue.failed(message.id, attempt, due);
    if (!suspension)
        log()->error(u"Queue: the service refuses the credentials; nothing is delivered until it takes them. "
                     "Check user and password"_s);
    const QDateTime nextProbe = after(now, suspension.value_or(CredentialsSuspension()).probes + 1);
    return m_queue.refused(message.id, attempt, due, nextProbe); // the next probe is another message
}

QDateTime QueueDelivery::dueAfter(const QueuedMessage& message, const SendingOutcome& outcome,
                                  const QDateTime& now)
{
    const QDateTime due = after(now, message.attempts + 1);
    if (outcome.retryAfter <= 0s)
        return due;
    const auto pause = std::min<std::chrono::milliseconds>(outcome.retryAfter, network::longestPause);
    const Hold hold{message.id, std::max(due, now + pause), now + pause};
    if (!m_hold || hold.until > m_hold->until)
        m_hold = hold;
    log()->info(u"Queue: the service asks to be left alone for %1 s"_s.arg(pause / 1s));
    return hold.due;
}

QDateTime QueueDelivery::after(const QDateTime& now, int attempts) const
{
    return now + network::pauseAfter(attempts, m_options.random());
}

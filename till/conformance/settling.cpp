#include "host/network/exchangeoutcome.h"
#include "till/conformance/judging.h"
#include "till/conformance/tester.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QThread>

using namespace Qt::StringLiterals;

/// How everything is taken back, and what is said of the whole.
namespace till::conformance {

namespace {

const QSet<QString>& spendings()
{
    static const QSet<QString> operations{u"force-payment-c2b"_s, u"payment-c2b"_s};
    return operations;
}

const QSet<QString>& movements()
{
    static const QSet<QString> operations{u"force-payment-c2b"_s, u"payment-c2b"_s, u"payment-b2c"_s,
                                          u"cancel-payment"_s, u"refuse-payment"_s};
    return operations;
}

constexpr int messagesLooked = 1000;

} // namespace

/// Once through all that is to be taken back; whether nothing is left.
bool Tester::settleOnce()
{
    Checkout& checkout = m_till->checkout();
    const bool isToBePaid = checkout.state() == State::Return || checkout.state() == State::Paying ||
                            checkout.state() == State::Settled;
    if (isToBePaid && checkout.receipt()->getDocumentType() == SaleReceipt)
        static_cast<void>(pay());
    else if (isToBePaid)
        static_cast<void>(checkout.pay());
    else if (checkout.state() != State::Idle)
        static_cast<void>(checkout.rollBack());
    MessageQueue& queue = m_till->queue();
    for (const QueuedMessage& message : queue.messages(messagesLooked))
        static_cast<void>(queue.retry(message.id)); // parked is not given back
    static_cast<void>(deliver());
    try {
        if (checkout.state() == State::Idle && !m_unsold.isEmpty())
            takeBack(QList<ReturnLine>(m_unsold));
    } catch (const Difference&) { // that something is left is seen by what is left
    }
    return checkout.state() == State::Idle && m_unsold.isEmpty() && queue.lastId() == 0;
}

void Tester::giveBack()
{
    if (!m_till)
        return; // it could not be started anew; the one before left nothing
    constexpr int attempts = 6;
    m_leftovers = m_lost;
    unsigned long pause = 100; // milliseconds; all of them outlast a service that starts anew
    for (int attempt = 0; attempt < attempts; ++attempt, pause *= 2) {
        if (settleOnce())
            return;
        m_settledLate = true;
        QThread::msleep(pause);
    }
    collectLeftovers();
}

void Tester::collectLeftovers()
{
    for (const QueuedMessage& message : m_till->queue().messages(messagesLooked)) {
        const QUrl url(message.message.value(u"url"_s).toString());
        const QJsonObject body =
            QJsonDocument::fromJson(message.message.value(u"body"_s).toByteArray()).object();
        QString number = body.value(u"receipt_number"_s).toString();
        for (const QString& member : {u"receipt_to_refuse"_s, u"receipt_to_cancel"_s})
            number = body.value(member).toString(number);
        m_leftovers.append({url.path().section(u'/', -1), number});
    }
    if (m_till->checkout().state() != State::Idle)
        m_leftovers.append({u"receipt"_s, m_till->checkout().receipt()->getIdentifier()});
    if (!m_unsold.isEmpty())
        m_leftovers.append({u"sale"_s, m_sale});
    m_unsold.clear();
}

/// Points that a spending took beyond what was asked for are nobody's at the till, so no receipt brings them
/// back.
void Tester::undoAgain()
{
    const auto cancellation = lastEver(u"cancel-payment"_s);
    if (!cancellation || !m_first)
        return;
    QSet<QString> numbers;
    for (const RestExchange& exchange : QList<RestExchange>(m_exchanges)) {
        if (spendings().contains(operationOf(exchange)))
            numbers.insert(sentIn(exchange).value(u"receipt_number"_s).toString());
    }
    for (const QString& number : numbers) {
        if (balance() >= *m_first || isSame(balance(), *m_first))
            return;
        repeatWith(*cancellation,
                   {{u"receipt_number"_s, number + u"-cancel-again"_s}, {u"receipt_to_cancel"_s, number}});
    }
}

QStringList Tester::moved() const
{
    QStringList all;
    for (const RestExchange& exchange : m_exchanges) {
        const QString number = sentIn(exchange).value(u"receipt_number"_s).toString();
        const QString line = operationOf(exchange) + u' ' + number;
        if (movements().contains(operationOf(exchange)) && !all.contains(line))
            all.append(line);
    }
    return all;
}

void Tester::judgeTheWhole()
{
    using network::ExchangeOutcome;
    const QList<RestExchange> played = m_exchanges;
    m_heedsSignals = false;
    judge(u"given-back"_s, [this] {
        require(m_leftovers.isEmpty(), u"not all was given back"_s);
        require(!m_settledLate, u"it took more than one attempt"_s);
    });
    judge(u"balance"_s, [this] {
        if (!m_first)
            throw NotJudged(u"the card was never taken"_s);
        try {
            requireBalance(*m_first);
        } catch (const Difference&) {
            undoAgain();
            throw;
        }
    });
    judge(u"answers"_s, [&played] {
        QStringList others;
        for (const RestExchange& exchange : played) {
            if (exchange.errorCode >= 400 && exchange.errorCode < 500 && !hasWords(exchange))
                others.append(u"%1: %2 without a message"_s.arg(operationOf(exchange), statusOf(exchange)));
            const ExchangeOutcome outcome = network::outcomeOf(exchange.errorCode);
            if (outcome == ExchangeOutcome::NoAnswer || outcome == ExchangeOutcome::NotTheService ||
                outcome == ExchangeOutcome::NeverSent || outcome == ExchangeOutcome::Failing ||
                outcome == ExchangeOutcome::Unfinished || outcome == ExchangeOutcome::Throttled)
                others.append(u"%1: %2"_s.arg(operationOf(exchange), statusOf(exchange)));
        }
        others.removeDuplicates();
        require(others.isEmpty(), others.join(u"; "_s));
    });
    judge(u"in-time"_s, [this, &played] {
        QStringList slow;
        for (const RestExchange& exchange : played) {
            if (exchange.milliseconds > m_terms.slowest)
                slow.append(u"%1 took %2 ms"_s.arg(operationOf(exchange)).arg(exchange.milliseconds));
        }
        require(slow.isEmpty(), slow.join(u"; "_s));
    });
}

} // namespace till::conformance

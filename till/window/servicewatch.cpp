#include "till/window/servicewatch.h"

#include "host/network/exchangeoutcome.h"

namespace till::window {

namespace {

/// A refusal is an answer too; what a proxy says in the service's place is none.
bool isAnswer(int code)
{
    using enum network::ExchangeOutcome;
    switch (network::outcomeOf(code)) {
    case Accepted:
    case Rejected:
    case Unauthorized:
    case Forbidden:
    case Denied:
    case Unfinished:
    case Throttled:
        return true;
    case Unsendable:
    case NeverSent:
    case NoAnswer:
    case NotTheService:
    case Failing:
        break;
    }
    return false;
}

} // namespace

ServiceWatch::ServiceWatch()
{
    connect(this, &ServiceWatch::heard, this, &ServiceWatch::note);
    m_exchanges = RestClient::observe([this](const RestExchange& exchange) {
        Q_EMIT heard(exchange.url.path().section(u'/', -1), exchange.errorCode, exchange.milliseconds);
    });
}

void ServiceWatch::note(const QString& operation, int code, qint64 milliseconds)
{
    m_line = isAnswer(code) ? Line::Up : Line::Down;
    if (isAnswer(code))
        m_answered = QDateTime::currentDateTime();
    Q_EMIT exchanged(operation, code, milliseconds);
}

} // namespace till::window

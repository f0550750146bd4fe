#include "host/network/watchedexchange.h"

#include "host/network/credentials.h"
#include "host/network/exchangeoutcome.h"
#include "host/utils/logging.h"
#include "host/utils/masking.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>

#include <algorithm>
#include <thread>
#include <utility>

using namespace Qt::StringLiterals;

namespace network {

namespace {

using ErrorCode = RestClient::ErrorCode;
using Observer = std::function<void(const RestExchange&)>;

utils::Registry<Observer>& observers()
{
    static utils::Registry<Observer> all;
    return all;
}

/// The JSON value in a body; invalid when it is not JSON.
QVariant parsed(const QByteArray& body)
{
    const QByteArray text = body.trimmed();
    if (text.isEmpty())
        return {};
    QJsonParseError error;
    if (text.startsWith('{') || text.startsWith('[')) {
        const QJsonDocument document = QJsonDocument::fromJson(text, &error);
        return error.error == QJsonParseError::NoError ? document.toVariant() : QVariant();
    }
    // Qt's parser wants an object or an array at the top, so a scalar is read as the only element of one.
    const QJsonArray wrapped = QJsonDocument::fromJson('[' + text + ']', &error).array();
    return error.error == QJsonParseError::NoError && wrapped.size() == 1 ? wrapped.first().toVariant()
                                                                          : QVariant();
}

/// Whether the body of a 2xx can be the service's.
bool isReadable(const QByteArray& method, const QByteArray& body, const QVariant& response)
{
    if (method == "GET")
        return response.isValid() || body.trimmed().isEmpty();
    return response.typeId() == QMetaType::QVariantMap;
}

int codeOf(const QByteArray& method, const Answer& answer, const QVariant& response)
{
    return answer.failure == ErrorCode::None
               ? network::codeOf(answer.status, isReadable(method, answer.body, response))
               : static_cast<int>(answer.failure);
}

void log(const RestExchange& exchange)
{
    const QString failure = failureName(exchange.errorCode);
    const QString outcome = failure.isEmpty() ? QString::number(exchange.status) : failure;
    const QUrl plain = exchange.url.adjusted(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment);
    const QString line = u"%1 %2: %3, %4 ms, %5 bytes"_s.arg(
        exchange.method, utils::maskPath(plain.toString()), outcome, QString::number(exchange.milliseconds),
        QString::number(exchange.answerBody.size()));
    if (outcomeOf(exchange.errorCode) == ExchangeOutcome::NeverSent) // somebody has to mend it
        utils::logger(u"network"_s)->warn(line + u"; "_s + failureText(exchange.errorCode));
    else
        utils::logger(u"network"_s)->debug(line);
}

} // namespace

struct WatchedExchange::ThreadsGuard
{
    std::thread::id thread;
    RestGuard guard;
};

utils::Registry<WatchedExchange::ThreadsGuard>& WatchedExchange::allGuards()
{
    static utils::Registry<ThreadsGuard> all;
    return all;
}

WatchedExchange::WatchedExchange(Request request)
    : m_guards(allGuards().all())
    , m_request(std::move(request))
    , m_receipt(utils::LogReceipt::current())
{
    std::erase_if(m_guards, [](const auto& one) { return one->thread != std::this_thread::get_id(); });
    for (const auto& one : m_guards) {
        if (one->guard.departing)
            one->guard.departing(QString::fromLatin1(m_request.method), m_request.url);
        if (one->guard.secondsAtMost > 0)
            m_request.timeout = std::min(m_request.timeout, one->guard.secondsAtMost);
    }
    m_clock.start();
}

Judged WatchedExchange::finish(Answer answer) const
{
    const utils::LogReceipt itsOwn(m_receipt);
    const QVariant given = answer.failure == ErrorCode::None ? parsed(answer.body) : QVariant();
    const QVariant shown = withoutCredentials(given, m_request);
    Judged judged{codeOf(m_request.method, answer, given), {}, m_clock.elapsed(), answer.retryAfter};
    if (isErrorStatus(judged.code))
        judged.response = shown; // its texts are all that it is good for
    else if (outcomeOf(judged.code) == ExchangeOutcome::Accepted)
        judged.response = given;
    // else whoever answered, it was not the service

    RestExchange seen{QString::fromLatin1(m_request.method),
                      m_request.url.adjusted(QUrl::RemoveUserInfo),
                      m_request.body,
                      answer.status,
                      judged.code,
                      std::move(answer.body),
                      judged.milliseconds};
    log(seen);
    if (shown != given)
        seen.answerBody = QJsonDocument::fromVariant(shown).toJson(QJsonDocument::Compact);
    for (const auto& observer : observers().all())
        (*observer)(seen);
    for (const auto& one : m_guards) {
        if (one->guard.answered)
            one->guard.answered(seen);
    }
    return judged;
}

utils::Registration WatchedExchange::observe(Observer observer)
{
    return observers().add(std::move(observer));
}

utils::Registration WatchedExchange::guard(RestGuard guard)
{
    return allGuards().add({std::this_thread::get_id(), std::move(guard)});
}

} // namespace network

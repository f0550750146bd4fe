#include "host/network/restclient.h"

#include "host/network/credentials.h"
#include "host/network/curlexchange.h"
#include "host/network/exchangeoutcome.h"
#include "host/utils/logging.h"
#include "host/utils/masking.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonParseError>

#include <algorithm>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

using namespace Qt::StringLiterals;

template class MockFactory<RestClient>;

namespace {

using Observer = std::function<void(const RestExchange&)>;

struct Watchers
{
    std::mutex mutex;
    std::shared_ptr<const Observer> observer;
    std::shared_ptr<const RestGuard> guard;
    std::thread::id guarded; ///< the thread whose requests the guard looks after
};

Watchers& watchers()
{
    static Watchers all;
    return all;
}

std::shared_ptr<const Observer> currentObserver()
{
    Watchers& all = watchers();
    const std::lock_guard lock(all.mutex);
    return all.observer;
}

/// Null when this thread's requests have none.
std::shared_ptr<const RestGuard> currentGuard()
{
    Watchers& all = watchers();
    const std::lock_guard lock(all.mutex);
    return all.guarded == std::this_thread::get_id() ? all.guard : nullptr;
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

int judged(const QByteArray& method, const network::Answer& answer, const QVariant& response)
{
    return answer.failure == RestClient::ErrorCode::None
               ? network::codeOf(answer.status, isReadable(method, answer.body, response))
               : static_cast<int>(answer.failure);
}

void log(const RestExchange& exchange)
{
    const QString failure = network::failureName(exchange.errorCode);
    const QString outcome = failure.isEmpty() ? QString::number(exchange.status) : failure;
    const QUrl plain = exchange.url.adjusted(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment);
    utils::logger(u"network"_s)
        ->debug(u"%1 %2: %3, %4 ms, %5 bytes"_s.arg(exchange.method, utils::maskPath(plain.toString()),
                                                    outcome, QString::number(exchange.milliseconds),
                                                    QString::number(exchange.answerBody.size())));
}

} // namespace

void RestClient::setTimeout(int seconds) { m_timeout = timeoutOf(seconds); }

int RestClient::timeoutOf(int seconds)
{
    return seconds > 0 ? std::min(seconds, longestTimeout) : defaultTimeout;
}

void RestClient::get(const QUrl& url, const QJsonDocument& document, const QHash<QString, QString>& headers)
{
    exchange("GET"_ba, url, document.toJson(QJsonDocument::Compact), headers);
}

void RestClient::post(const QUrl& url, const QByteArray& body, const QHash<QString, QString>& headers)
{
    exchange("POST"_ba, url, body, headers);
}

void RestClient::put(const QUrl& url, const QByteArray& body, const QHash<QString, QString>& headers)
{
    exchange("PUT"_ba, url, body, headers);
}

QVariant RestClient::getResponse() const { return m_response; }

int RestClient::getErrorCode() const { return m_errorCode; }

void RestClient::setObserver(Observer observer)
{
    auto next = observer ? std::make_shared<const Observer>(std::move(observer)) : nullptr;
    Watchers& all = watchers();
    const std::lock_guard lock(all.mutex);
    all.observer.swap(next); // the old one is destroyed outside the lock: it may own anything
}

void RestClient::setGuard(RestGuard guard)
{
    const bool empty = !guard.departing && !guard.answered && guard.secondsAtMost == 0;
    auto next = empty ? nullptr : std::make_shared<const RestGuard>(std::move(guard));
    Watchers& all = watchers();
    const std::lock_guard lock(all.mutex);
    all.guard.swap(next);
    all.guarded = std::this_thread::get_id();
}

void RestClient::exchange(const QByteArray& method, const QUrl& url, const QByteArray& body,
                          const QHash<QString, QString>& headers)
{
    const auto guard = currentGuard();
    m_response = {};
    m_errorCode = static_cast<int>(ErrorCode::Connect);
    if (guard && guard->departing)
        guard->departing(QString::fromLatin1(method), url);

    QElapsedTimer clock;
    clock.start();
    const int atMost = guard && guard->secondsAtMost > 0 ? guard->secondsAtMost : longestTimeout;
    network::Answer answer = network::send({method, url, body, headers, std::min(m_timeout, atMost)});

    const QVariant given = answer.failure == ErrorCode::None ? parsed(answer.body) : QVariant();
    const QVariant shown = network::withoutCredentials(given, headers);
    m_errorCode = judged(method, answer, given);
    if (network::isErrorStatus(m_errorCode))
        m_response = shown; // its texts are all that it is good for
    else if (network::outcomeOf(m_errorCode) == network::ExchangeOutcome::Accepted)
        m_response = given;
    // else whoever answered, it was not the service

    RestExchange seen{QString::fromLatin1(method),
                      url.adjusted(QUrl::RemoveUserInfo),
                      body,
                      answer.status,
                      m_errorCode,
                      std::move(answer.body),
                      clock.elapsed()};
    log(seen);
    if (shown != given)
        seen.answerBody = QJsonDocument::fromVariant(shown).toJson(QJsonDocument::Compact);
    if (const auto observer = currentObserver())
        (*observer)(seen);
    if (guard && guard->answered)
        guard->answered(seen);
}

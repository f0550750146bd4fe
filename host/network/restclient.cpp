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
#include <thread>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

template class MockFactory<RestClient>;

namespace {

using Observer = std::function<void(const RestExchange&)>;

utils::Registry<Observer>& observers()
{
    static utils::Registry<Observer> all;
    return all;
}

struct ThreadsGuard
{
    std::thread::id thread;
    RestGuard guard;
};

utils::Registry<ThreadsGuard>& allGuards()
{
    static utils::Registry<ThreadsGuard> all;
    return all;
}

/// Those of the present thread.
std::vector<std::shared_ptr<const ThreadsGuard>> guards()
{
    auto found = allGuards().all();
    std::erase_if(found, [](const auto& one) { return one->thread != std::this_thread::get_id(); });
    return found;
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

utils::Registration RestClient::observe(Observer observer) { return observers().add(std::move(observer)); }

utils::Registration RestClient::guard(RestGuard guard)
{
    return allGuards().add({std::this_thread::get_id(), std::move(guard)});
}

void RestClient::exchange(const QByteArray& method, const QUrl& url, const QByteArray& body,
                          const QHash<QString, QString>& headers)
{
    const auto present = guards();
    m_response = {};
    m_errorCode = static_cast<int>(ErrorCode::Connect);
    int seconds = m_timeout;
    for (const auto& one : present) {
        if (one->guard.departing)
            one->guard.departing(QString::fromLatin1(method), url);
        if (one->guard.secondsAtMost > 0)
            seconds = std::min(seconds, one->guard.secondsAtMost);
    }

    QElapsedTimer clock;
    clock.start();
    network::Answer answer = network::send({method, url, body, headers, seconds});

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
    for (const auto& observer : observers().all())
        (*observer)(seen);
    for (const auto& one : present) {
        if (one->guard.answered)
            one->guard.answered(seen);
    }
}

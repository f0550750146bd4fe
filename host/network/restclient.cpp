#include "host/network/restclient.h"

#include "host/network/watchedexchange.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

template class MockFactory<RestClient>;

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

utils::Registration RestClient::observe(std::function<void(const RestExchange&)> observer)
{
    return network::WatchedExchange::observe(std::move(observer));
}

utils::Registration RestClient::guard(RestGuard guard)
{
    return network::WatchedExchange::guard(std::move(guard));
}

void RestClient::exchange(const QByteArray& method, const QUrl& url, const QByteArray& body,
                          const QHash<QString, QString>& headers)
{
    m_response = {};
    m_errorCode = static_cast<int>(ErrorCode::Connect);
    const network::WatchedExchange exchange({method, url, body, headers, m_timeout});
    const network::Judged judged = exchange.finish(network::send(exchange.request()));
    m_errorCode = judged.code;
    m_response = judged.response;
}

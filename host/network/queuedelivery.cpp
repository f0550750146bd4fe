#include "host/network/queuedelivery.h"

#include "host/network/messagequeue.h"
#include "host/network/restclient.h"
#include "host/utils/filelock.h"
#include "host/utils/logging.h"

#include <QSet>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

using ErrorCode = RestClient::ErrorCode;

constexpr int firstStatus = 100; // RestClient's own codes lie below
constexpr qsizetype longestWords = 2000;

/// What an attempt came to.
struct Outcome
{
    int code = 0;
    QString error; ///< empty when delivered
    bool hopeless = false;
};

QString codeText(int code)
{
    if (code >= firstStatus)
        return u"HTTP %1"_s.arg(code);
    switch (static_cast<ErrorCode>(code)) {
    case ErrorCode::Connect:
        return u"no connection to the service"_s;
    case ErrorCode::Timeout:
        return u"no answer in time"_s;
    case ErrorCode::Tls:
        return u"the service's certificate is not trusted, or TLS failed"_s;
    case ErrorCode::BrokenAnswer:
        return u"the answer is broken or not JSON"_s;
    case ErrorCode::TooLarge:
        return u"the answer is too large"_s;
    case ErrorCode::Redirect:
        return u"redirected: somebody other than the service answered"_s;
    case ErrorCode::BadUrl:
        return u"the message's URL is not valid"_s;
    case ErrorCode::BadHeader:
        return u"a header of the message cannot be sent"_s;
    case ErrorCode::None:
        break;
    }
    return u"error %1"_s.arg(code);
}

bool isHopeless(int code)
{
    constexpr int unauthorized = 401; // credentials are mended on the service's side
    constexpr int timeout = 408;
    constexpr int tooEarly = 425;
    constexpr int tooMany = 429;
    if (code < firstStatus)
        return code == static_cast<int>(ErrorCode::BadUrl) || code == static_cast<int>(ErrorCode::BadHeader);
    return code >= 400 && code < 500 && code != unauthorized && code != timeout && code != tooEarly &&
           code != tooMany;
}

/// The texts of the service's error envelope, {"data": [{"message": text or {field: text or [texts]}}]}.
QString serviceWords(const QVariant& answer)
{
    QStringList words;
    const QVariantList errors = answer.toMap().value(u"data"_s).toList();
    for (const QVariant& error : errors) {
        const QVariant message = error.toMap().value(u"message"_s);
        if (message.typeId() == QMetaType::QString)
            words.append(message.toString());
        const QVariantMap fields = message.toMap();
        for (const QVariant& field : fields)
            words.append(field.toStringList());
    }
    return words.join(u'\n').left(longestWords);
}

QHash<QString, QString> headersOf(const QVariantMap& message)
{
    QHash<QString, QString> headers;
    const QVariantMap given = message.value(u"headers"_s).toMap();
    for (auto header = given.cbegin(); header != given.cend(); ++header)
        headers.insert(header.key(), header.value().toString());
    return headers;
}

Outcome send(const QueuedMessage& queued)
{
    if (queued.damaged)
        return {0, u"the stored message is damaged"_s, true};
    const QVariantMap& message = queued.message;
    const QVariant address = message.value(u"url"_s);
    const QUrl url =
        address.typeId() == QMetaType::QUrl ? address.toUrl() : QUrl(address.toString(), QUrl::TolerantMode);
    const QByteArray body = message.value(u"body"_s).toByteArray();
    const QString method = message.value(u"method"_s).toString();

    const auto client = MockFactory<RestClient>::create();
    client->setTimeout(message.value(u"timeout"_s).toInt());
    if (method == u"POST")
        client->post(url, body, headersOf(message));
    else if (method == u"PUT")
        client->put(url, body, headersOf(message));
    else if (method == u"GET" && body.isEmpty())
        client->get(url, {}, headersOf(message));
    else
        return {0, u"the message's method cannot be sent: only POST, PUT, and GET without a body"_s, true};

    const int code = client->getErrorCode();
    if (code <= 0)
        return {};
    const QString words = serviceWords(client->getResponse());
    const bool hopeless = isHopeless(code);
    if (words.isEmpty())
        return {code, codeText(code), hopeless};
    return {code, hopeless ? words : codeText(code) + u": "_s + words, hopeless};
}

} // namespace

QueueDelivery::QueueDelivery(MessageQueue& queue)
    : m_queue(queue)
{}

QueueDelivery::Summary QueueDelivery::run(const std::stop_token& stop)
{
    // Two deliveries at once would send everything twice, and mix up the order.
    const utils::FileLock lock(u"queue.lock"_s);
    Summary summary;
    QSet<QString> held;
    const qint64 last = m_queue.lastId(); // what comes in meanwhile is the next run's
    for (auto next = m_queue.after(0); next && next->id <= last && !stop.stop_requested();
         next = m_queue.after(next->id)) {
        if (held.contains(next->group))
            continue;
        QString error;
        if (next->state == QueuedMessage::State::Waiting && deliver(*next, error))
            ++summary.delivered;
        else if (!next->group.isEmpty())
            held.insert(next->group);
        if (summary.firstError.isEmpty())
            summary.firstError = error;
    }
    summary.waiting = m_queue.waitingCount();
    summary.parked = m_queue.parkedCount();
    return summary;
}

bool QueueDelivery::deliver(const QueuedMessage& message, QString& error)
{
    const Outcome outcome = send(message);
    error = outcome.error;
    if (error.isEmpty()) {
        if (!m_queue.delivered(message.id, outcome.code))
            utils::logger(u"network"_s)
                ->warn(u"Queue: message %1 was delivered while being dropped"_s.arg(message.id));
        return true;
    }
    if (outcome.hopeless) {
        m_queue.park(message.id, error);
        utils::logger(u"network"_s)->warn(u"Queue: message %1 is parked"_s.arg(message.id));
    } else {
        m_queue.failed(message.id, error);
    }
    return false;
}

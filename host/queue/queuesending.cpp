#include "host/queue/queuesending.h"

#include "host/network/exchangeoutcome.h"
#include "host/network/restclient.h"
#include "host/queue/queuedform.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace network {

namespace {

using ErrorCode = RestClient::ErrorCode;

constexpr qsizetype longestWords = 2000;

bool isHopeless(ExchangeOutcome outcome)
{
    switch (outcome) {
    case ExchangeOutcome::Unsendable:
    case ExchangeOutcome::Rejected:
    case ExchangeOutcome::Forbidden:
    case ExchangeOutcome::Denied:
        return true;
    case ExchangeOutcome::Accepted: // GCOVR_EXCL_BR_LINE: nobody asks it of what was accepted
    case ExchangeOutcome::NeverSent:
    case ExchangeOutcome::NoAnswer:
    case ExchangeOutcome::NotTheService:
    case ExchangeOutcome::Unauthorized: // another password may be set
    case ExchangeOutcome::Unfinished:
    case ExchangeOutcome::Throttled:
    case ExchangeOutcome::Failing:
        break;
    }
    return false;
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

/// A message may have waited while the password was changed, and the service would refuse the old one for
/// ever; so the present credentials are sent, where whoever knows them says that they are for this URL.
QHash<QString, QString> headersOf(const QVariantMap& message, const QString& authorization)
{
    QVariantMap given = message.value(u"headers"_s).toMap();
    if (!authorization.isEmpty()) {
        given = withoutAuthorization(given);
        given.insert(u"Authorization"_s, authorization);
    }
    QHash<QString, QString> headers;
    for (auto header = given.cbegin(); header != given.cend(); ++header)
        headers.insert(header.key(), header.value().toString());
    return headers;
}

SendingOutcome unsendable(const QString& why) { return {{.error = why}, true}; }

} // namespace

bool SendingOutcome::unauthorized() const { return outcomeOf(attempt.code) == ExchangeOutcome::Unauthorized; }

bool SendingOutcome::answered() const { return delivered() || isErrorStatus(attempt.code); }

std::chrono::seconds timeoutOf(const QueuedMessage& queued)
{
    return std::chrono::seconds(RestClient::timeoutOf(queued.message.value(u"timeout"_s).toInt()));
}

std::variant<Request, SendingOutcome> requestOf(const QueuedMessage& queued,
                                                const std::function<QString(const QUrl&)>& authorization)
{
    if (queued.damaged)
        return unsendable(u"the stored message is damaged"_s);
    const QVariantMap& message = queued.message;
    const QByteArray body = message.value(u"body"_s).toByteArray();
    const QString method = message.value(u"method"_s).toString();
    if (method != u"POST" && method != u"PUT" && (method != u"GET" || !body.isEmpty()))
        return unsendable(u"the message's method cannot be sent: only POST, PUT, and GET without a body"_s);
    const QUrl url = message.value(u"url"_s).toUrl(); // a text, or one already
    return Request{method.toLatin1(), url, body,
                   headersOf(message, authorization ? authorization(url) : QString()),
                   static_cast<int>(timeoutOf(queued).count())};
}

SendingOutcome outcomeOf(const ParallelClient::Finished& finished)
{
    const int code = std::max(0, finished.code);
    const ExchangeOutcome outcome = outcomeOf(code);
    if (outcome == ExchangeOutcome::Accepted)
        return {{0, {}, finished.milliseconds}};
    const QString words = serviceWords(finished.response);
    const bool hopeless = isHopeless(outcome);
    QString error = words;
    if (words.isEmpty())
        error = failureText(code);
    else if (!hopeless)
        error = failureText(code) + u": "_s + words;
    return {{code, error, finished.milliseconds}, hopeless, finished.retryAfter};
}

} // namespace network

#include "host/network/exchangeoutcome.h"

#include "host/network/restclient.h"

#include <QMetaEnum>

using namespace Qt::StringLiterals;

namespace network {

namespace {

using ErrorCode = RestClient::ErrorCode;

ExchangeOutcome outcomeOfStatus(int status)
{
    switch (status) {
    case 400:
    case 409:
    case 422:
        return ExchangeOutcome::Rejected;
    case 401:
        return ExchangeOutcome::Unauthorized;
    case 403:
        return ExchangeOutcome::Forbidden;
    case 408:
    case 425:
        return ExchangeOutcome::Unfinished;
    case 429:
        return ExchangeOutcome::Throttled;
    default:
        return status < 500 ? ExchangeOutcome::Denied : ExchangeOutcome::Failing;
    }
}

} // namespace

ExchangeOutcome outcomeOf(int code)
{
    if (isErrorStatus(code))
        return outcomeOfStatus(code);
    switch (static_cast<ErrorCode>(code)) {
    case ErrorCode::None:
        return ExchangeOutcome::Accepted;
    case ErrorCode::BadUrl:
    case ErrorCode::BadHeader:
        return ExchangeOutcome::Unsendable;
    case ErrorCode::Tls:
        return ExchangeOutcome::NeverSent;
    case ErrorCode::BrokenAnswer:
    case ErrorCode::TooLarge:
    case ErrorCode::Redirect:
        return ExchangeOutcome::NotTheService;
    case ErrorCode::Connect:
    case ErrorCode::Timeout:
        break;
    }
    return ExchangeOutcome::NoAnswer; // also of a code that nobody gives: it proves the least
}

int codeOf(int status, bool readable)
{
    if (isErrorStatus(status))
        return status;
    ErrorCode code = ErrorCode::None;
    if (status == 0)
        code = ErrorCode::Connect;
    else if (status >= 300)
        code = ErrorCode::Redirect;
    else if (status < 200 || !readable)
        code = ErrorCode::BrokenAnswer;
    return static_cast<int>(code);
}

bool isErrorStatus(int code) { return code >= 400; }

QString failureName(int code)
{
    if (code == static_cast<int>(ErrorCode::None))
        return {};
    return QString::fromLatin1(QMetaEnum::fromType<ErrorCode>().valueToKey(code));
}

QString failureText(int code)
{
    if (isErrorStatus(code))
        return u"HTTP %1"_s.arg(code);
    switch (static_cast<ErrorCode>(code)) {
    case ErrorCode::Connect:
        return u"no connection to the service"_s;
    case ErrorCode::Timeout:
        return u"no answer in time"_s;
    case ErrorCode::Tls:
        return u"the service's certificate is not trusted, or TLS failed"_s;
    case ErrorCode::BrokenAnswer:
        return u"the answer is broken, empty or no JSON object"_s;
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

} // namespace network

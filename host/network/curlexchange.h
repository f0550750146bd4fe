#pragma once

#include "host/network/restclient.h"

namespace network {

struct Request
{
    const QByteArray& method;
    const QUrl& url;
    const QByteArray& body;
    const QHash<QString, QString>& headers;
    int timeout; ///< seconds for the whole exchange, above 0
};

struct Answer
{
    RestClient::ErrorCode failure = RestClient::ErrorCode::None; ///< why there is no whole HTTP answer
    int status = 0;                                              ///< 0 when not even a status line came
    QByteArray body;                                             ///< empty on failure
};

/// Carries one request out on a connection of its own; what the status and the body mean is the caller's to
/// judge.
Answer send(const Request& request);

} // namespace network

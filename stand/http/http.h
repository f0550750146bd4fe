#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>

#include <utility>

namespace stand {

/// A request as the stand's pages see it; which HTTP library received it is known to server.cpp alone.
struct Request
{
    QByteArray method; ///< In capitals: "GET".
    QByteArray path;   ///< Still percent-encoded, so that an encoded slash does not part two segments.
    QByteArray query;  ///< Without the question mark, still percent-encoded.
    QHash<QByteArray, QByteArray> headers; ///< Names in lower case.
    QByteArray body;
};

struct Answer
{
    int status = 200;
    QByteArray body;
    QByteArray contentType = QByteArrayLiteral("application/json");
    QList<std::pair<QByteArray, QByteArray>> headers; ///< Beyond Content-Type and Content-Length.
};

} // namespace stand

#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QUrl>

namespace network {

/// A request as it goes over the wire.
struct Request
{
    QByteArray method;
    QUrl url;
    QByteArray body;
    QHash<QString, QString> headers;
    int timeout = 0;             ///< seconds for the whole exchange, above 0
    bool keepConnection = false; ///< leave it open for another request to the same server
};

} // namespace network

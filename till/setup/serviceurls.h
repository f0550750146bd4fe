#pragma once

#include <QString>
#include <QUrl>

namespace till {

/// The address of the service in the URL of one of its requests: what stands before "v2/partner/", with a "/"
/// at its end and without credentials; of another URL the server's alone.
QString addressIn(const QUrl& url);

/// Whether two addresses of services are the same to a server: with the port that they go to, without "." and
/// "..", with or without a "/" at the end.
bool isSameAddress(const QString& one, const QString& other);

/// Whether the URL lies below that address, in the same sense.
bool isBelow(const QUrl& url, const QString& address);

} // namespace till

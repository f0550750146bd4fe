#include "till/setup/serviceurls.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// With the port that it goes to, and without "." and ".." on the way there.
QUrl comparable(const QUrl& given)
{
    QUrl url = given.adjusted(QUrl::NormalizePathSegments | QUrl::RemoveUserInfo);
    url.setPort(url.port(url.scheme() == u"https"_s ? 443 : 80));
    return url;
}

QUrl comparableAddress(const QString& address)
{
    return comparable(QUrl(address.endsWith(u'/') ? address : address + u'/'));
}

} // namespace

QString addressIn(const QUrl& url)
{
    const QString text = url.toString(QUrl::FullyEncoded | QUrl::RemoveUserInfo);
    const qsizetype paths = text.lastIndexOf(u"/v2/partner/"_s);
    if (paths >= 0)
        return text.first(paths + 1);
    return url.adjusted(QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment | QUrl::RemoveUserInfo)
               .toString(QUrl::FullyEncoded) +
           u'/';
}

bool isSameAddress(const QString& one, const QString& other)
{
    return comparableAddress(one) == comparableAddress(other);
}

bool isBelow(const QUrl& url, const QString& address)
{
    const QUrl base = comparableAddress(address);
    const QUrl below = comparable(url);
    return below.scheme() == base.scheme() && below.host() == base.host() && below.port() == base.port() &&
           below.path().startsWith(base.path());
}

} // namespace till

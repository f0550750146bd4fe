#include "till/cli/serviceaddress.h"

#include <QUrl>

using namespace Qt::StringLiterals;

namespace till {

QString Fault::toString() const { return remedy.isEmpty() ? text : text + u"; "_s + remedy; }

std::optional<Fault> faultOfAddress(const QString& address)
{
    // What stands behind one of these would be no path any more.
    if (address.contains(u'?') || address.contains(u'#'))
        return Fault{u"a '?' or '#' in the service's address would send every request elsewhere"_s,
                     u"take it and what follows it away"_s};
    const QString whole = u"write it whole, such as \"https://loyalty.example.com/\""_s;
    const QUrl url(address);
    if (!address.contains(u"://"_s) ||
        (url.isValid() && url.scheme() != u"http"_s && url.scheme() != u"https"_s))
        return Fault{u"expected an address that begins with http:// or https://"_s, whole};
    if (!url.isValid() || url.host().isEmpty())
        return Fault{u"expected an address with the name of a host, and a port where it has another"_s,
                     whole};
    return std::nullopt;
}

} // namespace till

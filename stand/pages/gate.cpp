#include "stand/pages/gate.h"

#include "stand/http/answers.h"

using namespace Qt::StringLiterals;

namespace stand {

namespace {

/// Of "name:port", "name" or "[address]:port".
QString nameIn(const QByteArray& host)
{
    const bool isBracketed = host.startsWith('[');
    return QString::fromUtf8(isBracketed ? host.mid(1).split(']').constFirst()
                                         : host.split(':').constFirst());
}

/// Whether another page than the stand's own had the browser send this. A program names no page.
bool isOfAnotherPage(const Request& request)
{
    const auto origin = request.headers.value("origin");
    const auto site = request.headers.value("sec-fetch-site", "none");
    return (!origin.isEmpty() && origin != "http://" + request.headers.value("host")) ||
           (site != "same-origin" && site != "none");
}

} // namespace

std::optional<Answer> Gate::refusal(const Request& request) const
{
    if (!isOwn(request.headers.value("host")))
        return failure(403, u"the stand does not go by this name; --host-name gives it another"_s);
    if (isOfAnotherPage(request))
        return failure(403, u"another web page may not use the stand"_s);
    return std::nullopt;
}

bool Gate::isOwn(const QByteArray& host) const
{
    const auto name = nameIn(host);
    const QHostAddress address(name);
    // Whoever owns a name may have it lead here, and his page in a browser is then of that name.
    if (address.isNull())
        return name.compare(u"localhost"_s, Qt::CaseInsensitive) == 0 ||
               m_names.contains(name, Qt::CaseInsensitive);
    const bool isEverywhere = m_address == QHostAddress::AnyIPv4 || m_address == QHostAddress::AnyIPv6;
    return address.isLoopback() || address == m_address || isEverywhere;
}

} // namespace stand

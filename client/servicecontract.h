#pragma once

#include <QString>

/// The service's paths, relative to the configured base URL. None begins with "/": the base URL ends with
/// one.
namespace paths {

using namespace Qt::StringLiterals;

// Numbers go into the path as they are; the service is called with them unencoded.
inline QString cardInfo(const QString& card) { return u"v2/partner/card/"_s + card + u"/card-info"_s; }
inline QString userAccount(const QString& card) { return u"v2/partner/user-account/card/"_s + card; }
inline QString userByCard(const QString& card)
{
    return u"v2/partner/operation/user/card/"_s + card + u"/user-info"_s;
}
inline QString userByPhone(const QString& phone)
{
    return u"v2/partner/operation/user/phone/"_s + phone + u"/user-info"_s;
}

} // namespace paths

/// Members of the service's JSON that more than one place uses.
namespace keys {

using namespace Qt::StringLiterals;

inline const QString data = u"data"_s;

} // namespace keys

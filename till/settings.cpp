#include "till/settings.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

const QString serverUrlKey = u"KYRLoyalty:serverUrl"_s;
const QString userKey = u"KYRLoyalty:user"_s;
const QString passwordKey = u"KYRLoyalty:password"_s;

QList<ConfigKey> knownKeys()
{
    using enum ConfigKey::Type;
    return {
        {serverUrlKey, Text, u"the service's base URL, such as \"https://loyalty.example.com/\""_s},
        {userKey, Text, u"the shop's user name at the service"_s},
        {passwordKey, Text, u"the shop's password at the service"_s},
        {u"KYRLoyalty:currencyName"_s, Text, u"the currency code on receipts, such as \"BON\""_s},
        {u"KYRLoyalty:bonusRatio"_s, Text, u"points to money, such as \"10:1\""_s},
        {u"KYRLoyalty:timeout"_s, Integer, u"seconds to wait for an answer, such as 10"_s},
        {u"KYRLoyalty:smsVerification"_s, Boolean, u"true: spending points must be confirmed by SMS"_s},
        {u"Till:shopCode"_s, Text, u"the shop's code at the service, such as \"1\""_s},
    };
}

} // namespace

Config loadSettings(const QString& fileName)
{
    Config config;
    config.declare(knownKeys());
    if (!fileName.isEmpty())
        config.load(fileName);
    return config;
}

bool namesService(const Config& config) { return !config.getString(serverUrlKey, {}).isEmpty(); }

void setServerUrl(Config& config, const QString& url) { config.set(serverUrlKey, url); }

void setCredentials(Config& config, const QString& user, const QString& password)
{
    config.set(userKey, user);
    config.set(passwordKey, password);
}

} // namespace till

#include "till/settings.h"

#include "till/usageerror.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace till {

namespace {

const QString serverUrlKey = u"KYRLoyalty:serverUrl"_s;
const QString userKey = u"KYRLoyalty:user"_s;
const QString ratioKey = u"KYRLoyalty:bonusRatio"_s;
const QString passwordKey = u"KYRLoyalty:password"_s;

QList<ConfigKey> knownKeys()
{
    using enum ConfigKey::Type;
    return {
        {serverUrlKey, Text, u"the service's base URL, such as \"https://loyalty.example.com/\""_s},
        {userKey, Text, u"the shop's user name at the service"_s},
        {passwordKey, Text, u"the shop's password at the service"_s},
        {u"KYRLoyalty:currencyName"_s, Text, u"the currency code on receipts, such as \"BON\""_s},
        {ratioKey, Text, u"points to money, such as \"10:1\""_s},
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

std::optional<Ratio> ratioOf(const Config& config)
{
    const QStringList parts = config.getString(ratioKey, u"1:1"_s).split(u':');
    bool pointsAreWhole = false;
    bool moneyIsWhole = false;
    const Ratio ratio{.points = parts.first().toInt(&pointsAreWhole),
                      .money = parts.last().toInt(&moneyIsWhole)};
    const bool usable =
        parts.size() == 2 && pointsAreWhole && moneyIsWhole && ratio.points > 0 && ratio.money > 0;
    return usable ? std::optional(ratio) : std::nullopt;
}

QString standRatio(const Config& config)
{
    if (const auto ratio = ratioOf(config))
        return u"%1:%2"_s.arg(ratio->points).arg(ratio->money);
    const QStringList parts = config.getString(ratioKey, {}).split(u':');
    bool pointsAreNumber = false;
    bool moneyIsNumber = false;
    parts.first().toDouble(&pointsAreNumber);
    parts.last().toDouble(&moneyIsNumber);
    if (parts.size() == 2 && pointsAreNumber && moneyIsNumber)
        throw UsageError(u"%1: the stand knows ratios of whole numbers from 1 only, such as \"10:1\"; for "
                         "another, name a service with --server-url"_s.arg(ratioKey));
    return {};
}

void setCredentials(Config& config, const QString& user, const QString& password)
{
    config.set(userKey, user);
    config.set(passwordKey, password);
}

} // namespace till

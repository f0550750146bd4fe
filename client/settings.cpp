#include "client/hostobjects.h"
#include "client/kyrloyaltyinterface.h"
#include "host/utils/config.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

// The service settles amounts this way, so the till must land on the same hundredth: cut toward zero, after a
// nudge that lifts what lies a thousandth of a hundredth below the next one; what is on a hundredth already,
// give or take the noise of doubles, stays untouched.
double roundToCents(double value)
{
    const double nudge = value >= 0 ? 0.001 : -0.001;
    const double hundredths = value / 0.01;
    const double cut = std::trunc(hundredths + nudge) + 0.0; // adding 0.0 turns -0.0 into 0.0
    return std::abs(hundredths - cut) < 0.0001 ? value : cut * 0.01;
}

} // namespace

KyrLoyaltyInterface::KyrLoyaltyInterface()
    : logger(utils::logger(u"kyrloyalty"_s, {}))
{}

KyrLoyaltyInterface::~KyrLoyaltyInterface() = default;

bool KyrLoyaltyInterface::init()
{
    auto& config = hostObject<Config>();

    const QStringList ratio = config.getString(u"KYRLoyalty:bonusRatio"_s, u"1:1"_s).split(u':');
    if (ratio.size() != 2) {
        // "Некорретный" is how administrators know the line.
        logger->error(u"Некорретный формат настройки отношения бонусных единиц к денежным"_s);
        return false;
    }
    bool bonusIsNumber = false;
    bool moneyIsNumber = false;
    bonusRatio = ratio[0].toDouble(&bonusIsNumber) / ratio[1].toDouble(&moneyIsNumber);
    if (!bonusIsNumber || !moneyIsNumber) {
        logger->error(u"Некорректные данные настройки отношения бонусных единиц к денежным"_s);
        return false;
    }

    serverUrl = config.getString(u"KYRLoyalty:serverUrl"_s, u"http://127.0.0.1/"_s);
    if (!serverUrl.endsWith(u'/'))
        serverUrl.append(u'/');
    currencyName = config.getString(u"KYRLoyalty:currencyName"_s, u"BON"_s);
    timeout = config.getInt(u"KYRLoyalty:timeout"_s, 10);

    const QString user = config.getString(u"KYRLoyalty:user"_s, {});
    const QString password = config.getString(u"KYRLoyalty:password"_s, {});
    // Both values at once: a user name that holds "%2" stays as it was typed.
    const QString credentials = u"%1:%2"_s.arg(user, password);
    const QByteArray encoded = credentials.toLocal8Bit().toBase64();
    headers.insert(u"Authorization"_s, u"Basic %1"_s.arg(QString::fromLatin1(encoded)));
    headers.insert(u"Content-Type"_s, u"application/json"_s);
    return true;
}

QMap<QString, QVariant> KyrLoyaltyInterface::getHeadersMap() const
{
    QMap<QString, QVariant> map;
    for (auto header = headers.cbegin(); header != headers.cend(); ++header)
        map.insert(header.key(), header.value());
    return map;
}

double KyrLoyaltyInterface::bonusToMoney(double bonus) const { return roundToCents(bonus / bonusRatio); }

double KyrLoyaltyInterface::moneyToBonus(double money) const { return roundToCents(money * bonusRatio); }

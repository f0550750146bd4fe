#include "host/utils/config.h"
#include "till/setup/serviceurls.h"
#include "till/setup/settings.h"

#include <QUrl>

#include <gmock/gmock.h>

#include <cmath>

using namespace Qt::StringLiterals;

namespace till {

namespace {

bool getsCredentials(const QString& serverUrl, const QString& url)
{
    Config config = loadSettings({});
    setServerUrl(config, serverUrl);
    setCredentials(config, u"shop"_s, u"secret"_s);
    return currentAuthorization(config)(QUrl(url)) == authorizationOf(config);
}

} // namespace

TEST(TillSettings, TheServicesOwnAddressesGetThePresentCredentials)
{
    for (const QString& serverUrl :
         {u"http://good.example/api"_s, u"http://good.example/api/"_s, u"http://GOOD.example:80/api/"_s})
        EXPECT_TRUE(getsCredentials(serverUrl, u"http://good.example/api/v2/x"_s)) << serverUrl.toStdString();
    EXPECT_TRUE(getsCredentials(u"http://good.example"_s, u"http://good.example:80/v2/x"_s));
    EXPECT_TRUE(getsCredentials(u"https://good.example:443"_s, u"https://good.example/v2/x"_s));
}

TEST(TillSettings, NobodyElseGetsTheCredentials)
{
    for (const QString& url :
         {u"http://good.example.evil/api/v2/x"_s, u"http://good.example@evil/api/v2/x"_s,
          u"http://evil/http://good.example/api/"_s, u"http://good.example:8080/api/v2/x"_s,
          u"https://good.example/api/v2/x"_s, u"http://good.example/api-evil/v2/x"_s,
          u"http://good.example/api/../evil/x"_s, u"http://good.example/v2/x"_s, QString()})
        EXPECT_FALSE(getsCredentials(u"http://good.example/api"_s, url)) << url.toStdString();
}

TEST(TillServiceUrls, TheAddressOfAServiceStandsBeforeItsPaths)
{
    EXPECT_EQ(addressIn(QUrl(u"https://u:p@h:8443/api/v2/partner/operation/receipt"_s)),
              u"https://h:8443/api/"_s);
    EXPECT_EQ(addressIn(QUrl(u"http://h/v2/partner/operation/receipt"_s)), u"http://h/"_s);
    EXPECT_EQ(addressIn(QUrl(u"http://h/another/path?q"_s)), u"http://h/"_s);
    EXPECT_EQ(addressIn(QUrl(u"http://h"_s)), u"http://h/"_s);
}

TEST(TillServiceUrls, AddressesAreTheSameThatLeadToTheSamePlace)
{
    for (const QString& same : {u"http://h/api"_s, u"http://H:80/api/"_s, u"http://u:p@h/./x/../api/"_s})
        EXPECT_TRUE(isSameAddress(u"http://h/api/"_s, same)) << same.toStdString();
    for (const QString& other : {u"https://h/api/"_s, u"http://h:8080/api/"_s, u"http://h/"_s,
                                 u"http://h/api/v1"_s, u"http://h/API/"_s, u"http://h.example/api/"_s})
        EXPECT_FALSE(isSameAddress(u"http://h/api/"_s, other)) << other.toStdString();
}

TEST(TillSettings, PointsAreWorthWhatTheRatioSaysWholeOrNot)
{
    Config config = loadSettings({});
    const auto worth = [&config](const QString& ratio, double points) {
        config.set(u"KYRLoyalty:bonusRatio"_s, ratio);
        return worthOf(config, points);
    };
    EXPECT_EQ(worthOf(config, 25), 25);
    EXPECT_EQ(worth(u"10:1"_s, 25), 2.5);
    EXPECT_EQ(worth(u"1:4"_s, 25), 100);
    EXPECT_EQ(worth(u"2.5:1"_s, 25), 10);
    for (const QString& none : {u"1"_s, u"1:2:3"_s, u"a:1"_s, u"1,5:1"_s})
        EXPECT_TRUE(std::isnan(worth(none, 25))) << none.toStdString();
}

TEST(TillSettings, WithoutAServiceNobodyGetsCredentials)
{
    Config config = loadSettings({});
    setCredentials(config, u"shop"_s, u"secret"_s);
    EXPECT_FALSE(currentAuthorization(config));
}

} // namespace till

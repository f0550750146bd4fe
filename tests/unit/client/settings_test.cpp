#include "tests/support/hostworld.h"
#include "tests/unit/client/openclient.h"

#include <gmock/gmock.h>

#include <cmath>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const QString formatError = u"error: Некорретный формат настройки отношения бонусных единиц к денежным"_s;
const QString dataError = u"error: Некорректные данные настройки отношения бонусных единиц к денежным"_s;

class Settings : public test_support::HostWorld
{
protected:
    QString authorization() { return client.init() ? client.headers.value(u"Authorization"_s) : QString(); }

    OpenClient client;
};

TEST_F(Settings, AreEmptyAfterConstruction)
{
    EXPECT_EQ(client.serverUrl, QString());
    EXPECT_EQ(client.currencyName, QString());
    EXPECT_EQ(client.timeout, 0);
    EXPECT_TRUE(client.headers.isEmpty());
    EXPECT_EQ(client.bonusRatio, 1.0);
    EXPECT_EQ(client.logger->name(), u"kyrloyalty"_s);
}

TEST_F(Settings, HaveDefaultsWithoutAnyConfiguration)
{
    EXPECT_TRUE(client.init());
    EXPECT_EQ(client.bonusRatio, 1.0);
    EXPECT_EQ(client.serverUrl, u"http://127.0.0.1/"_s);
    EXPECT_EQ(client.currencyName, u"BON"_s);
    EXPECT_EQ(client.timeout, 10);
    EXPECT_EQ(client.headers.value(u"Authorization"_s), u"Basic Og=="_s);
    EXPECT_EQ(client.headers.value(u"Content-Type"_s), u"application/json"_s);
    EXPECT_EQ(client.headers.size(), 2);
}

TEST_F(Settings, AreReadFromAConfigMadeOnTheSpotWhenTheHostHasNone)
{
    delete Singleton<Config>::instance;
    Singleton<Config>::instance = nullptr;
    EXPECT_TRUE(client.init());
    EXPECT_NE(Singleton<Config>::instance, nullptr);
    EXPECT_EQ(client.timeout, 10);
}

TEST_F(Settings, LogNothingWhenAllIsWell)
{
    set("password", u"secret"_s);
    client.init();
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(Settings, AppendAMissingSlashToTheServerUrl)
{
    set("serverUrl", u"https://loyalty.example/api"_s);
    client.init();
    EXPECT_EQ(client.serverUrl, u"https://loyalty.example/api/"_s);
}

TEST_F(Settings, KeepAServerUrlThatEndsWithASlash)
{
    set("serverUrl", u"https://loyalty.example/api/"_s);
    client.init();
    EXPECT_EQ(client.serverUrl, u"https://loyalty.example/api/"_s);
}

TEST_F(Settings, TurnAnEmptyServerUrlIntoASlash)
{
    set("serverUrl", u""_s);
    client.init();
    EXPECT_EQ(client.serverUrl, u"/"_s);
}

TEST_F(Settings, KeepAUrlThatIsNoneAndANegativeTimeoutAsTheyStand)
{
    set("serverUrl", u"not a url"_s);
    set("timeout", -5);
    EXPECT_TRUE(client.init());
    EXPECT_EQ(client.serverUrl, u"not a url/"_s);
    EXPECT_EQ(client.timeout, -5);
}

TEST_F(Settings, TakeCurrencyAndTimeoutFromTheConfiguration)
{
    set("currencyName", u"RUB"_s);
    set("timeout", 3);
    client.init();
    EXPECT_EQ(client.currencyName, u"RUB"_s);
    EXPECT_EQ(client.timeout, 3);
}

TEST_F(Settings, EncodeUserAndPasswordAsBasicCredentials)
{
    set("user", u"shop"_s);
    set("password", u"open sesame"_s);
    EXPECT_EQ(authorization(), u"Basic c2hvcDpvcGVuIHNlc2FtZQ=="_s);
}

TEST_F(Settings, EncodeCredentialsInTheLocalEncoding)
{
    set("user", u"касса"_s);
    set("password", u"пароль"_s);
    const QByteArray encoded = authorization().mid(6).toLatin1();
    EXPECT_EQ(QByteArray::fromBase64(encoded), u"касса:пароль"_s.toUtf8());
}

TEST_F(Settings, KeepAPercentSignInTheUserNameAsItWasTyped)
{
    set("user", u"%2"_s);
    set("password", u"%1"_s);
    EXPECT_EQ(QByteArray::fromBase64(authorization().mid(6).toLatin1()), "%2:%1");
}

class TracedConfig : public Config
{
public:
    [[nodiscard]] QString getString(const QString& key, const QString& defaultValue) const override
    {
        read.append(key);
        return Config::getString(key, defaultValue);
    }
    [[nodiscard]] int getInt(const QString& key, int defaultValue) const override
    {
        read.append(key);
        return Config::getInt(key, defaultValue);
    }
    mutable QStringList read;
};

TEST_F(Settings, AreReadInTheirOrderTheUserBeforeThePassword)
{
    delete Singleton<Config>::instance;
    auto* config = new TracedConfig;
    Singleton<Config>::instance = config;
    client.init();
    EXPECT_THAT(config->read, ElementsAre(u"KYRLoyalty:bonusRatio"_s, u"KYRLoyalty:serverUrl"_s,
                                          u"KYRLoyalty:currencyName"_s, u"KYRLoyalty:timeout"_s,
                                          u"KYRLoyalty:user"_s, u"KYRLoyalty:password"_s));
}

TEST_F(Settings, ReplaceOldValuesWhenReadAgain)
{
    set("user", u"first"_s);
    client.init();
    set("user", u"second"_s);
    set("serverUrl", u"http://second/"_s);
    client.init();
    EXPECT_EQ(client.serverUrl, u"http://second/"_s);
    EXPECT_EQ(QByteArray::fromBase64(client.headers.value(u"Authorization"_s).mid(6).toLatin1()), "second:");
    EXPECT_EQ(client.headers.size(), 2);
}

TEST_F(Settings, GiveTheHeadersAsAMapOrderedByName)
{
    client.init();
    const QVariantMap map = client.getHeadersMap();
    EXPECT_THAT(map.keys(), ElementsAre(u"Authorization"_s, u"Content-Type"_s));
    EXPECT_EQ(map.value(u"Authorization"_s), QVariant(u"Basic Og=="_s));
    EXPECT_EQ(map.value(u"Content-Type"_s), QVariant(u"application/json"_s));
}

TEST_F(Settings, GiveNoHeadersAfterAFailedInitOfAFreshClient)
{
    set("bonusRatio", u"1"_s);
    EXPECT_FALSE(client.init());
    EXPECT_TRUE(client.getHeadersMap().isEmpty());
}

TEST_F(Settings, ReadTheRatioAsPointsToMoney)
{
    set("bonusRatio", u"10:1"_s);
    EXPECT_TRUE(client.init());
    EXPECT_EQ(client.bonusRatio, 10.0);
    EXPECT_EQ(client.bonusToMoney(25), 2.5);
    EXPECT_EQ(client.moneyToBonus(2.5), 25.0);
}

TEST_F(Settings, AllowBlanksAroundTheNumbersOfTheRatio)
{
    set("bonusRatio", u" 3 : 2 "_s);
    EXPECT_TRUE(client.init());
    EXPECT_EQ(client.bonusRatio, 1.5);
}

TEST_F(Settings, AcceptAZeroOrInfiniteRatioWithoutComplaint)
{
    set("bonusRatio", u"0:1"_s);
    EXPECT_TRUE(client.init());
    EXPECT_EQ(client.bonusRatio, 0.0);
    set("bonusRatio", u"1:0"_s);
    EXPECT_TRUE(client.init());
    EXPECT_TRUE(std::isinf(client.bonusRatio));
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(Settings, RefuseARatioThatHasNotExactlyTwoParts)
{
    for (const QString& ratio : {u"1:2:3"_s, u"1"_s, u""_s, u"1:2:"_s}) {
        clearLog();
        set("bonusRatio", ratio);
        EXPECT_FALSE(client.init()) << ratio.toStdString();
        EXPECT_THAT(log(), ElementsAre(formatError)) << ratio.toStdString();
    }
    EXPECT_EQ(client.bonusRatio, 1.0);
    EXPECT_EQ(client.serverUrl, QString());
}

TEST_F(Settings, RefuseARatioWhosePointsAreNoNumberAndKeepTheQuotient)
{
    set("bonusRatio", u"a:1"_s);
    EXPECT_FALSE(client.init());
    EXPECT_THAT(log(), ElementsAre(dataError));
    EXPECT_EQ(client.bonusRatio, 0.0);
    EXPECT_EQ(client.serverUrl, QString());
}

TEST_F(Settings, RefuseARatioWhoseMoneyIsNoNumberAndKeepTheQuotient)
{
    set("bonusRatio", u"2:"_s);
    EXPECT_FALSE(client.init());
    EXPECT_THAT(log(), ElementsAre(dataError));
    EXPECT_TRUE(std::isinf(client.bonusRatio));
}

TEST_F(Settings, RefuseADecimalCommaInTheRatio)
{
    set("bonusRatio", u"1,5:1"_s);
    EXPECT_FALSE(client.init());
    EXPECT_THAT(log(), ElementsAre(dataError));
}

TEST_F(Settings, KeepTheirOldValuesWhenTheRatioIsMalformedLater)
{
    set("serverUrl", u"http://first/"_s);
    client.init();
    set("serverUrl", u"http://second/"_s);
    set("timeout", 99);
    set("bonusRatio", u"1:2:3"_s);
    EXPECT_FALSE(client.init());
    EXPECT_EQ(client.serverUrl, u"http://first/"_s);
    EXPECT_EQ(client.timeout, 10);
    EXPECT_EQ(client.bonusRatio, 1.0);
}

} // namespace

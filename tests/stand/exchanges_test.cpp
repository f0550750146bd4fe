// The stand's log of what it was asked.

#include "tests/stand/standfixture.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <csignal>

using namespace Qt::StringLiterals;
using standtest::json;
using standtest::Login;
using standtest::StandProcess;

namespace {

class StandExchanges : public standtest::StandTest
{};

TEST_F(StandExchanges, AreEmptyAtFirst)
{
    EXPECT_EQ(call("/stand/exchanges").json(), json(u"{'exchanges':[]}"_s));
}

TEST_F(StandExchanges, TellRequestAndAnswerOfACall)
{
    const auto begin = QDateTime::currentDateTimeUtc();
    const auto reply =
        call("/v2/partner/card/2000000000017/card-info?x=1", {.url = {},
                                                              .method = "POST",
                                                              .login = Login(),
                                                              .body = R"({"текст":"да"})",
                                                              .headers = {"Content-Type: text/json"}});
    const auto end = QDateTime::currentDateTimeUtc();

    const auto list = exchanges();
    ASSERT_EQ(list.size(), 1);
    const auto exchange = list.at(0);
    EXPECT_EQ(exchange[u"n"].toInt(), 1);
    EXPECT_EQ(exchange[u"method"].toString(), u"POST"_s);
    EXPECT_EQ(exchange[u"path"].toString(), u"/v2/partner/card/2000000000017/card-info?x=1"_s);
    EXPECT_EQ(exchange[u"request_body"].toString(), uR"({"текст":"да"})"_s);
    EXPECT_EQ(exchange[u"status"].toInt(), 405);
    EXPECT_EQ(exchange[u"answer_body"].toString(), QString::fromUtf8(reply.body));
    EXPECT_TRUE(exchange[u"authorized"].toBool());
    EXPECT_EQ(exchange[u"headers"][u"content-type"].toString(), u"text/json"_s);

    const auto text = exchange[u"time"].toString();
    EXPECT_THAT(text.toStdString(), ::testing::MatchesRegex("[0-9-]{10}T[0-9:]{8}\\.[0-9]{3}Z"));
    const auto time = QDateTime::fromString(text, Qt::ISODateWithMs);
    EXPECT_LE(begin, time);
    EXPECT_LE(time, end);
}

TEST_F(StandExchanges, KeepTheirOrderAndTellRefusedCallersApart)
{
    get("card/2000000000017/card-info");
    call("/v2/partner/card/2000000000024/card-info");
    get("nowhere");
    const auto list = exchanges();
    ASSERT_EQ(list.size(), 3);
    EXPECT_EQ(list.at(0)[u"status"].toInt(), 200);
    EXPECT_EQ(list.at(1)[u"status"].toInt(), 401);
    EXPECT_EQ(list.at(2)[u"status"].toInt(), 404);
    EXPECT_TRUE(list.at(0)[u"authorized"].toBool());
    EXPECT_FALSE(list.at(1)[u"authorized"].toBool(true));
    EXPECT_TRUE(list.at(2)[u"authorized"].toBool());
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(list.at(i)[u"n"].toInt(), i + 1);
}

TEST_F(StandExchanges, DoNotTellOfTheStandsOwnPages)
{
    call("/stand/cards");
    call("/stand/exchanges");
    call("/elsewhere");
    EXPECT_EQ(exchanges().size(), 0);
}

TEST_F(StandExchanges, CanBeAskedForAfterANumber)
{
    for (int i = 0; i < 3; ++i)
        get("card/2000000000017/card-info");
    const auto later = exchanges("?after=1");
    ASSERT_EQ(later.size(), 2);
    EXPECT_EQ(later.at(0)[u"n"].toInt(), 2);
    EXPECT_EQ(later.at(1)[u"n"].toInt(), 3);
    EXPECT_EQ(exchanges("?after=3").size(), 0);
    EXPECT_EQ(exchanges("?after=0").size(), 3);
}

TEST_F(StandExchanges, RefuseANumberThatIsNone)
{
    const auto reply = call("/stand/exchanges?after=first");
    EXPECT_EQ(reply.status, 422);
    EXPECT_EQ(reply.messages().size(), 1);
}

TEST_F(StandExchanges, NeverTellThePasswordOrTheAuthorizationHeader)
{
    get("card/2000000000017/card-info");
    call("/v2/partner/card/2000000000017/card-info",
         {.url = {},
          .login = Login{.user = "shop", .password = "a-wrong-one"},
          .headers = {"X-Token: a-token"}});
    const auto page = call("/stand/exchanges").body;
    ASSERT_EQ(exchanges().size(), 2);
    EXPECT_FALSE(page.toLower().contains("authorization\":"));
    EXPECT_FALSE(page.contains("Basic "));
    for (const QByteArray secret : {"secret-of-the-shop", "a-wrong-one", "a-token"})
        EXPECT_FALSE(page.contains(secret)) << secret.constData();
    for (const QByteArray pair : {"shop:secret-of-the-shop", "shop:a-wrong-one"})
        EXPECT_FALSE(page.contains(pair.toBase64())) << pair.constData();
}

TEST(StandData, SurvivesARestartEvenAKill)
{
    const QTemporaryDir directory;
    const QStringList arguments = {u"--data"_s, directory.filePath(u"stand.sqlite"_s)};
    const auto account = "/v2/partner/user-account/card/2000000000062"_ba;
    QJsonArray before;
    {
        StandProcess stand(arguments);
        const auto root = stand.url();
        standtest::send({.url = root + account, .login = Login()});
        standtest::send({.url = root + account});
        before = standtest::exchangesOf(root);
        ASSERT_EQ(before.size(), 2);
        stand.signal(SIGKILL);
        stand.exitStatus();
    }
    StandProcess again(arguments);
    const auto root = again.url();
    EXPECT_EQ(standtest::exchangesOf(root), before);
    const auto info =
        standtest::send({.url = root + "/v2/partner/card/2000000000062/card-info", .login = Login()});
    EXPECT_EQ(info.data().value(u"card_data")[u"status"].toInt(), 1)
        << "the demonstration data was written anew";
    EXPECT_EQ(standtest::exchangesOf(root, "?after=2").at(0)[u"n"].toInt(), 3) << "numbers go on";
}

TEST(StandData, WithoutADataFileBeginsAnewEachTime)
{
    for (int i = 0; i < 2; ++i) {
        StandProcess stand;
        const auto root = stand.url();
        EXPECT_EQ(standtest::exchangesOf(root).size(), 0);
        standtest::send({.url = root + "/v2/", .login = Login()});
        EXPECT_EQ(standtest::exchangesOf(root).size(), 1);
    }
}

} // namespace

// Who may use the stand's own pages, which ask for no password.

#include "tests/stand/shop.h"
#include "tests/stand/standfixture.h"

using namespace Qt::StringLiterals;
using standtest::Call;
using standtest::json;
using standtest::Shop;

namespace {

const QByteArray fault = R"(["any:reset"])";

class StandGate : public standtest::StandTest
{
protected:
    [[nodiscard]] QByteArray host() const { return root().sliced(QByteArray("http://").size()); }
    [[nodiscard]] QByteArray port() const { return host().sliced(host().indexOf(':')); }

    int statusOf(const QByteArray& header, const QByteArray& path = "/stand/codes")
    {
        return call(path, {.url = {}, .headers = {header}}).status;
    }
};

TEST_F(StandGate, RefusesEveryPageOfItsOwnUnderAForeignName)
{
    for (const auto* path : {"/", "/stand", "/stand/", "/stand/page.js", "/stand/cards", "/stand/codes",
                             "/stand/ledger", "/stand/exchanges", "/stand/overview", "/stand/faults",
                             "/stand/clock", "/stand/nowhere", "/docs", "/docs/openapi.yaml"}) {
        const auto reply = call(path, {.url = {}, .headers = {"Host: evil.example" + port()}});
        EXPECT_EQ(reply.status, 403) << path;
        EXPECT_EQ(reply.messages().at(0).toString(),
                  u"the stand does not go by this name; --host-name gives it another"_s);
    }
}

TEST_F(StandGate, GoesByTheNamesOfThisMachineAlone)
{
    for (const auto& name : {"127.0.0.1" + port(), "127.0.0.2" + port(), "localhost" + port(),
                             "LocalHost" + port(), "[::1]" + port(), QByteArray("localhost")})
        EXPECT_EQ(statusOf("Host: " + name), 200) << name.constData();
    for (const auto* name : {"evil.example", "localhost.evil.example", "127.0.0.1.evil.example", "192.0.2.7",
                             "[2001:db8::7]", "[", ":80", "0.0.0.0"})
        EXPECT_EQ(statusOf(QByteArray("Host: ") + name), 403) << name;
    EXPECT_EQ(statusOf("Host:"), 403) << "curl sends none then";
}

TEST_F(StandGate, RefusesAnotherPagesRequests)
{
    for (const auto& origin :
         {QByteArray("http://evil.example"), QByteArray("null"), QByteArray("http://127.0.0.1:1"),
          "http://localhost" + port(), "https://" + host(), root() + ".evil.example"}) {
        const auto header = "Origin: " + origin;
        EXPECT_EQ(statusOf(header), 403) << origin.constData();
        const Call arm{.url = {}, .method = "POST", .body = fault, .headers = {header}};
        const auto reply = call("/stand/faults", arm);
        EXPECT_EQ(reply.status, 403);
        EXPECT_EQ(reply.messages().at(0).toString(), u"another web page may not use the stand"_s);
    }
    EXPECT_EQ(call("/stand/faults").json(), json(u"{'faults':[]}"_s)) << "nothing was set";
}

TEST_F(StandGate, LetsNoOtherPageMoveTheClockOrTakeFaultsBack)
{
    const QByteArrayList foreign = {"Origin: http://evil.example"};
    ASSERT_EQ(call("/stand/faults", {.url = {}, .method = "POST", .body = fault}).status, 201);
    const Call move{.url = {}, .method = "POST", .body = R"({"advance": 3600000})", .headers = foreign};
    EXPECT_EQ(call("/stand/clock", move).status, 403);
    EXPECT_EQ(call("/stand/faults", {.url = {}, .method = "DELETE", .headers = foreign}).status, 403);
    EXPECT_EQ(call("/stand/faults").json()[u"faults"].toArray().size(), 1);
    const auto time =
        QDateTime::fromString(call("/stand/clock").json()[u"time"].toString(), Qt::ISODateWithMs);
    EXPECT_LT(time, QDateTime::currentDateTimeUtc().addSecs(1800));
}

TEST_F(StandGate, TakesItsOwnPagesRequests)
{
    EXPECT_EQ(statusOf("Origin: " + root()), 200);
    const auto local = "localhost" + port();
    const Call arm{
        .url = {}, .method = "POST", .body = fault, .headers = {"Host: " + local, "Origin: http://" + local}};
    EXPECT_EQ(call("/stand/faults", arm).status, 201);
}

TEST_F(StandGate, BelievesABrowserThatSaysWhereARequestComesFrom)
{
    EXPECT_EQ(statusOf("Sec-Fetch-Site: cross-site"), 403);
    EXPECT_EQ(statusOf("Sec-Fetch-Site: same-site"), 403) << "another port of this machine";
    EXPECT_EQ(statusOf("Sec-Fetch-Site: same-origin"), 200);
    EXPECT_EQ(statusOf("Sec-Fetch-Site: none"), 200) << "typed by a person";
}

TEST_F(StandGate, AllowsNoOtherPageToReadOrFrameIt)
{
    for (const auto& origin : {root(), QByteArray("http://evil.example")}) {
        const auto reply = call("/stand/faults",
                                {.url = {},
                                 .method = "OPTIONS",
                                 .headers = {"Origin: " + origin, "Access-Control-Request-Method: DELETE"}});
        for (const auto& name : reply.headers.keys())
            EXPECT_FALSE(name.startsWith("access-control")) << name.constData();
        EXPECT_GE(reply.status, 400);
    }
    EXPECT_THAT(call("/stand/").headers.value("content-security-policy").toStdString(),
                ::testing::HasSubstr("frame-ancestors 'none'"));
}

TEST_F(StandGate, IsNotBeforeTheServiceWhichHasItsPassword)
{
    const auto reply = call("/v2/partner/card/2000000000055/card-info",
                            {.url = {},
                             .login = standtest::Login(),
                             .headers = {"Host: loyalty.example", "Origin: http://evil.example"}});
    EXPECT_EQ(reply.status, 200);
}

TEST(StandGateOption, GivesTheStandAnotherName)
{
    Shop shop({u"--host-name"_s, u"stand.example"_s, u"--host-name"_s, u"kassa"_s});
    const auto statusOf = [&shop](const QByteArray& host) {
        return standtest::send({.url = shop.root() + "/stand/codes", .headers = {"Host: " + host}}).status;
    };
    EXPECT_EQ(statusOf("stand.example"), 200);
    EXPECT_EQ(statusOf("KASSA:8080"), 200);
    EXPECT_EQ(statusOf("localhost"), 200);
    EXPECT_EQ(statusOf("example"), 403);
}

TEST(StandGateOption, ListeningEverywhereTheStandGoesByEveryAddressButNoOtherName)
{
    Shop shop({u"--address"_s, u"0.0.0.0"_s});
    const auto statusOf = [&shop](const QByteArray& host) {
        return standtest::send({.url = shop.root() + "/stand/codes", .headers = {"Host: " + host}}).status;
    };
    EXPECT_EQ(statusOf("192.0.2.7:8080"), 200);
    EXPECT_EQ(statusOf("evil.example"), 403);
}

} // namespace

#include "host/network/probe.h"

#include "tests/unit/network/scene.h"

#include <gmock/gmock.h>

using test_support::HttpAnswer;
using test_support::HttpServer;
using testing::IsEmpty;
using testing::SizeIs;
using namespace Qt::StringLiterals;

namespace {

TEST(Probe, AsksInTheWayOfEveryRequest)
{
    HttpServer server;
    const RestHeaders headers{{u"Authorization"_s, u"Basic c2hvcDp4"_s}, {u"X-Empty"_s, QString()}};
    RestClient().get(server.url(u"/v2/./page?a=%20"_s), {}, headers);
    network::probe(server.url(u"/v2/./page?a=%20"_s), headers, 20);
    const auto requests = server.requests();
    ASSERT_THAT(requests, SizeIs(2));
    EXPECT_EQ(requests[0].method, requests[1].method);
    EXPECT_EQ(requests[0].path, requests[1].path);
    EXPECT_EQ(requests[0].headers, requests[1].headers);
}

TEST(Probe, TellsHowFarItCame)
{
    HttpServer server(trustedCertificate());
    server.enqueue(HttpAnswer::status(401, "{}", {"Date: Sat, 21 Nov 2026 10:00:00 GMT"}));
    const network::Probe probe = network::probe(server.url(), {}, 20);
    EXPECT_TRUE(probe.resolved && probe.connected && probe.secured) << probe.error.toStdString();
    EXPECT_EQ(probe.address, u"127.0.0.1"_s);
    EXPECT_EQ(probe.status, 401);
    EXPECT_EQ(probe.outcome(), network::ExchangeOutcome::Unauthorized);
    EXPECT_GT(probe.certificateUntil, QDateTime::currentDateTimeUtc());
    EXPECT_EQ(probe.date.toString(Qt::ISODate), u"2026-11-21T10:00:00Z"_s);
    EXPECT_EQ(probe.error, QString());
}

TEST(Probe, KeepsTheBeginningOfTheBody)
{
    HttpServer server;
    server.enqueue(HttpAnswer::status(404, "[1]"));
    EXPECT_EQ(network::probe(server.url(), {}, 20).body, "[1]");
    server.enqueue(HttpAnswer::status(200, QByteArray(100'000, 'x')));
    const network::Probe longer = network::probe(server.url(), {}, 20);
    EXPECT_EQ(longer.body, QByteArray(65'536, 'x'));
    EXPECT_EQ(longer.error, QString());
}

TEST(Probe, NamesWhereItIsSentAndDoesNotGoThere)
{
    HttpServer server;
    server.enqueue(HttpAnswer::status(302, {}, {"Location: /login"}));
    EXPECT_EQ(network::probe(server.url(u"/v2/"_s), {}, 20).redirect, server.url(u"/login"_s).toString());
    EXPECT_THAT(server.requests(), SizeIs(1));
}

TEST(Probe, OfAServerThatIsGoneHasNoAnswer)
{
    HttpServer server;
    server.stop();
    const network::Probe probe = network::probe(server.url(), {}, 20);
    EXPECT_TRUE(probe.resolved);
    EXPECT_FALSE(probe.connected);
    EXPECT_EQ(probe.outcome(), network::ExchangeOutcome::NoAnswer);
    EXPECT_NE(probe.error, QString());
}

TEST(Probe, WithAHeaderThatForgesAnotherIsNotMade)
{
    HttpServer server;
    const network::Probe probe = network::probe(server.url(), {{u"A"_s, u"b\r\nC: d"_s}}, 20);
    EXPECT_NE(probe.error, QString());
    EXPECT_EQ(probe.outcome(), network::ExchangeOutcome::NoAnswer);
    EXPECT_THAT(server.requests(), IsEmpty());
}

} // namespace

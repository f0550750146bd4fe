#include "tests/unit/network/scene.h"

#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <thread>

using test_support::HttpAnswer;
using test_support::HttpServer;
using testing::SizeIs;
using namespace Qt::StringLiterals;
using ErrorCode = RestClient::ErrorCode;

namespace {

QString field(const Outcome& outcome, const QString& name)
{
    return outcome.response.toMap().value(name).toString();
}

Outcome getBody(const QByteArray& body) { return getAnswer(HttpAnswer::status(200, body)); }

/// What a client finds that sends this, and gets that answer.
Outcome send(const QByteArray& method, const HttpAnswer& answer)
{
    HttpServer server;
    server.enqueue(answer);
    RestClient client;
    if (method == "POST")
        client.post(server.url(), "{}", {});
    else
        client.put(server.url(), "{}", {});
    return {client.getErrorCode(), client.getResponse(), 0};
}

const QByteArray htmlPage = "<!doctype html><html><body>Добро пожаловать в Wi-Fi</body></html>";

} // namespace

TEST(RestClientAnswer, IsNothingBeforeTheFirstRequest)
{
    const RestClient client;
    EXPECT_EQ(client.getErrorCode(), 0);
    EXPECT_FALSE(client.getResponse().isValid());
}

TEST(RestClientAnswer, GivesAnObject)
{
    const Outcome outcome = getBody("{\"имя\":\"Анна\",\"points\":1250}");
    EXPECT_EQ(outcome.errorCode, 0);
    EXPECT_EQ(field(outcome, u"имя"_s), u"Анна"_s);
    EXPECT_EQ(outcome.response.toMap().value(u"points"_s).toLongLong(), 1250);
}

TEST(RestClientAnswer, GivesAListForAnArray)
{
    const Outcome outcome = getBody("[1,2,3]");
    EXPECT_EQ(outcome.errorCode, 0);
    EXPECT_EQ(outcome.response.typeId(), QMetaType::QVariantList);
    EXPECT_THAT(outcome.response.toList(), SizeIs(3));
}

TEST(RestClientAnswer, GivesScalars)
{
    EXPECT_EQ(getBody("42").response, QVariant(42LL));
    EXPECT_EQ(getBody(" \"да\"\n").response, QVariant(u"да"_s));
    EXPECT_EQ(getBody("true").response, QVariant(true));
    const Outcome null = getBody("null");
    EXPECT_EQ(null.errorCode, 0);
    EXPECT_TRUE(null.response.isValid() && null.response.isNull());
}

TEST(RestClientAnswer, KeepsEveryDigitOfALongNumber)
{
    EXPECT_EQ(getBody(R"({"card":7000000000000017})").response.toMap().value(u"card"_s).toLongLong(),
              7000000000000017LL);
}

TEST(RestClientAnswer, TakesAnEmptyTwoHundredToAGetForSuccess)
{
    for (const HttpAnswer& answer :
         {HttpAnswer::status(200), HttpAnswer::status(204), HttpAnswer::status(201, "\r\n"),
          HttpAnswer::raw("HTTP/1.1 200 OK\r\n\r\n")}) {
        const Outcome outcome = getAnswer(answer);
        EXPECT_EQ(outcome.errorCode, 0) << answer.bytes.toStdString();
        EXPECT_FALSE(outcome.response.isValid());
    }
}

TEST(RestClientAnswer, IsBrokenWhenATwoHundredToAPostOrPutIsEmpty)
{
    for (const QByteArray& method : {"POST"_ba, "PUT"_ba}) {
        for (const HttpAnswer& answer :
             {HttpAnswer::status(200), HttpAnswer::status(204), HttpAnswer::status(200, " \r\n\t"),
              HttpAnswer::status(201, "\n"), HttpAnswer::raw("HTTP/1.1 200 OK\r\n\r\n")}) {
            const Outcome outcome = send(method, answer);
            EXPECT_EQ(outcome.errorCode, code(ErrorCode::BrokenAnswer)) << method.toStdString() << '\n'
                                                                        << answer.bytes.toStdString();
            EXPECT_FALSE(outcome.response.isValid());
        }
    }
}

TEST(RestClientAnswer, IsBrokenWhenATwoHundredToAPostOrPutIsNoObject)
{
    for (const QByteArray& method : {"POST"_ba, "PUT"_ba}) {
        for (const QByteArray& body :
             {"[]"_ba, R"([{"a":1}])"_ba, "1"_ba, R"("{}")"_ba, "true"_ba, "null"_ba, htmlPage}) {
            const Outcome outcome = send(method, HttpAnswer::status(200, body));
            EXPECT_EQ(outcome.errorCode, code(ErrorCode::BrokenAnswer))
                << method.toStdString() << ' ' << body.toStdString();
            EXPECT_FALSE(outcome.response.isValid());
        }
    }
}

TEST(RestClientAnswer, IsGoodWhenATwoHundredToAPostOrPutIsAnyObject)
{
    for (const QByteArray& method : {"POST"_ba, "PUT"_ba}) {
        for (const QByteArray& body : {"{}"_ba, " {\"data\":null}\n"_ba}) {
            const Outcome outcome = send(method, HttpAnswer::status(201, body));
            EXPECT_EQ(outcome.errorCode, 0) << method.toStdString() << ' ' << body.toStdString();
            EXPECT_EQ(outcome.response.typeId(), QMetaType::QVariantMap);
        }
    }
}

TEST(RestClientAnswer, JoinsTheChunks)
{
    const Outcome outcome =
        getAnswer(HttpAnswer::raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                                  "3\r\n{\"a\r\n7\r\n\":\"b\"} \r\n0\r\nX-Trailer: 1\r\n\r\n"));
    EXPECT_EQ(outcome.errorCode, 0);
    EXPECT_EQ(field(outcome, u"a"_s), u"b"_s);
}

TEST(RestClientAnswer, SkipsAnInterimAnswer)
{
    const Outcome outcome = getAnswer(HttpAnswer::raw("HTTP/1.1 102 Processing\r\n\r\n"
                                                      "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}"));
    EXPECT_EQ(outcome.errorCode, 0);
    EXPECT_TRUE(outcome.response.isValid());
}

TEST(RestClientAnswer, TurnsAnErrorStatusIntoTheErrorCodeAndKeepsItsBody)
{
    for (const int status : {400, 401, 403, 404, 409, 422, 429, 500, 502, 503, 599}) {
        const Outcome outcome = getAnswer(HttpAnswer::status(status, R"({"error":"no such card"})"));
        EXPECT_EQ(outcome.errorCode, status);
        EXPECT_EQ(field(outcome, u"error"_s), u"no such card"_s);
    }
}

TEST(RestClientAnswer, GivesTheStatusOfAnErrorPageThatIsNotJson)
{
    const Outcome outcome = getAnswer(HttpAnswer::status(502, htmlPage));
    EXPECT_EQ(outcome.errorCode, 502);
    EXPECT_FALSE(outcome.response.isValid());
}

TEST(RestClientAnswer, IsBrokenWhenATwoHundredIsNotJson)
{
    for (const QByteArray& body : {htmlPage, R"({"a":1)"_ba, "{} {}"_ba, "1,2"_ba, "1],[2"_ba, "nul"_ba,
                                   "\xff\xfe"_ba, "\"\xff\""_ba, "// {}\n{}"_ba, "'a'"_ba}) {
        const Outcome outcome = getBody(body);
        EXPECT_EQ(outcome.errorCode, code(ErrorCode::BrokenAnswer)) << body.toStdString();
        EXPECT_FALSE(outcome.response.isValid());
    }
}

TEST(RestClientAnswer, IsBrokenWhenItComesCompressedUnasked)
{
    const QByteArray gzip = QByteArray::fromHex("1f8b0800000000000203ab564a54b232ac0500afac1b5607000000");
    const Outcome outcome = getAnswer(HttpAnswer::status(200, gzip, {"Content-Encoding: gzip"}));
    EXPECT_EQ(outcome.errorCode, code(ErrorCode::BrokenAnswer));
}

TEST(RestClientAnswer, IsARedirectForEveryThreeHundredAndNobodyFollowsIt)
{
    for (const int status : {300, 301, 302, 303, 304, 307, 308}) {
        HttpServer elsewhere;
        HttpServer server;
        server.enqueue(HttpAnswer::status(status, status == 304 ? QByteArray() : R"({"a":1})"_ba,
                                          {"Location: " + elsewhere.url().toEncoded()}));
        const Outcome outcome = get(server.url());
        EXPECT_EQ(outcome.errorCode, code(ErrorCode::Redirect)) << status;
        EXPECT_FALSE(outcome.response.isValid());
        EXPECT_THAT(server.requests(), SizeIs(1));
        EXPECT_EQ(elsewhere.connections(), 0);
    }
}

TEST(RestClientAnswer, MayBeEightMebibytesLong)
{
    const QByteArray body = '"' + QByteArray(8 * 1024 * 1024 - 2, 'x') + '"';
    const Outcome outcome = getBody(body);
    EXPECT_EQ(outcome.errorCode, 0);
    EXPECT_EQ(outcome.response.toString().size(), body.size() - 2);
}

TEST(RestClientAnswer, ReplacesTheOneBefore)
{
    HttpServer server;
    server.enqueue(HttpAnswer::status(404, R"({"error":"first"})"));
    server.enqueue(HttpAnswer::status(200));
    RestClient client;
    client.get(server.url(), {}, {});
    client.get(server.url(), {}, {});
    EXPECT_EQ(client.getErrorCode(), 0);
    EXPECT_FALSE(client.getResponse().isValid());
}

TEST(RestClientObserver, SeesTheExchangeWithoutTheCredentialsOfTheUrl)
{
    HttpServer server;
    server.enqueue(HttpAnswer::status(404, R"({"error":1})"));
    QList<RestExchange> seen;
    auto observing = RestClient::observe([&seen](const RestExchange& exchange) { seen.append(exchange); });
    QUrl url = server.url(u"/cards?n=1"_s);
    url.setUserInfo(u"till:secret"_s);
    RestClient client;
    client.post(url, "{\"n\":1}", {});
    observing = {};
    client.post(url, "{}", {});
    ASSERT_THAT(seen, SizeIs(1));
    EXPECT_EQ(seen[0].method, u"POST"_s);
    EXPECT_EQ(seen[0].url, server.url(u"/cards?n=1"_s));
    EXPECT_EQ(seen[0].requestBody, "{\"n\":1}");
    EXPECT_EQ(seen[0].status, 404);
    EXPECT_EQ(seen[0].errorCode, 404);
    EXPECT_EQ(seen[0].answerBody, R"({"error":1})");
    EXPECT_GE(seen[0].milliseconds, 0);
}

TEST(RestClientObserver, SeesARequestThatGotNoAnswer)
{
    QList<RestExchange> seen;
    auto observing = RestClient::observe([&seen](const RestExchange& exchange) { seen.append(exchange); });
    HttpServer server;
    server.stop();
    get(server.url());
    ASSERT_THAT(seen, SizeIs(1));
    EXPECT_EQ(seen[0].status, 0);
    EXPECT_EQ(seen[0].errorCode, code(ErrorCode::Connect));
}

TEST(RestClientObserver, SeesAnExchangeAsEveryOtherDoesUntilItLeaves)
{
    HttpServer server;
    QStringList seen;
    const auto noting = [&seen](const QString& who) {
        return RestClient::observe(
            [&seen, who](const RestExchange& exchange) { seen.append(who + exchange.url.path()); });
    };
    auto first = noting(u"first "_s);
    const auto second = noting(u"second "_s);
    get(server.url(u"/1"_s));
    first = {};
    get(server.url(u"/2"_s));
    first = noting(u"again "_s);
    get(server.url(u"/3"_s));
    EXPECT_THAT(seen, testing::ElementsAre(u"first /1"_s, u"second /1"_s, u"second /2"_s, u"second /3"_s,
                                           u"again /3"_s));
}

TEST(RestClientObserver, ComesAndGoesWhileOtherThreadsMakeRequests)
{
    HttpServer server;
    std::atomic<int> seen = 0;
    const auto steady = RestClient::observe([&seen](const RestExchange&) { ++seen; });
    constexpr int requests = 20;
    std::atomic<bool> done = false;
    std::thread other([&] {
        for (int i = 0; i < requests; ++i)
            get(server.url());
        done = true;
    });
    auto visits = std::make_shared<std::atomic<int>>(0);
    while (!done) {
        const auto visit = RestClient::observe([visits](const RestExchange&) { ++*visits; });
    }
    other.join();
    EXPECT_EQ(seen, requests);
    EXPECT_LE(*visits, requests) << "one at a time";
}

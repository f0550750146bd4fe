#include "tests/unit/network/scene.h"

#include <gmock/gmock.h>

using test_support::HttpAnswer;
using test_support::HttpServer;
using testing::AllOf;
using testing::AnyOf;
using testing::Ge;
using testing::Lt;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using ErrorCode = RestClient::ErrorCode;

namespace {

/// A timeout of one second, with the half second more that an exchange may take to end.
const auto withinTheTimeout = AllOf(Ge(990), Lt(1500));
constexpr int atOnce = 900; // milliseconds, well under any timeout of the tests

} // namespace

TEST(RestClientFailure, IsConnectWhenTheConnectionIsRefused)
{
    HttpServer server;
    server.stop();
    const Outcome outcome = get(server.url());
    EXPECT_EQ(outcome.errorCode, code(ErrorCode::Connect));
    EXPECT_THAT(outcome.milliseconds, Lt(atOnce));
}

TEST(RestClientFailure, IsConnectWhenTheServerStopsBetweenTwoRequests)
{
    HttpServer server;
    server.enqueue(HttpAnswer::status(200, "{}"));
    RestClient client;
    client.get(server.url(), {}, {});
    EXPECT_EQ(client.getErrorCode(), 0);
    server.stop();
    client.get(server.url(), {}, {});
    EXPECT_EQ(client.getErrorCode(), code(ErrorCode::Connect));
    EXPECT_FALSE(client.getResponse().isValid());
}

TEST(RestClientFailure, IsConnectWhenTheServerClosesWithoutAnAnswer)
{
    HttpAnswer reset = HttpAnswer::none();
    reset.breakOff = true;
    EXPECT_EQ(getAnswer(HttpAnswer::none()).errorCode, code(ErrorCode::Connect));
    EXPECT_EQ(getAnswer(reset).errorCode, code(ErrorCode::Connect));
}

TEST(RestClientFailure, SendsARequestOnceThoughTheServerClosesWithoutAnAnswer)
{
    HttpServer server;
    server.enqueue(HttpAnswer::none());
    server.enqueue(HttpAnswer::status(200));
    get(server.url());
    EXPECT_EQ(server.connections(), 1);
}

TEST(RestClientFailure, IsTimeoutWhenTheAnswerIsLate)
{
    HttpAnswer late = HttpAnswer::status(200);
    late.delay = 1h;
    const Outcome outcome = getAnswer(late, 1);
    EXPECT_EQ(outcome.errorCode, code(ErrorCode::Timeout));
    EXPECT_THAT(outcome.milliseconds, withinTheTimeout);
}

TEST(RestClientFailure, IsTimeoutWhenTheAnswerDripsOnPastIt)
{
    HttpAnswer slow = HttpAnswer::status(200, '"' + QByteArray(1000, 'x') + '"');
    slow.dripBytes = 1;
    slow.dripInterval = 20ms;
    const Outcome outcome = getAnswer(slow, 1);
    EXPECT_EQ(outcome.errorCode, code(ErrorCode::Timeout));
    EXPECT_THAT(outcome.milliseconds, withinTheTimeout);
    EXPECT_FALSE(outcome.response.isValid());
}

TEST(RestClientFailure, DoesNotTakeSlowForBroken)
{
    HttpAnswer slow = HttpAnswer::status(200, "{\"a\":1}");
    slow.dripBytes = 1;
    slow.dripInterval = 1ms;
    EXPECT_EQ(getAnswer(slow).errorCode, 0);
}

TEST(RestClientFailure, EndsAfterTenSecondsWhenToldToWaitForever)
{
    // libcurl reads 0 as "no limit"; only waiting shows that it is not passed on.
    HttpServer server;
    HttpAnswer late = HttpAnswer::status(200);
    late.delay = 1h;
    server.enqueue(late);
    const Outcome outcome = get(server.url(), 0);
    EXPECT_EQ(outcome.errorCode, code(ErrorCode::Timeout));
    EXPECT_THAT(outcome.milliseconds, AllOf(Ge(9990), Lt(10'500)));
}

TEST(RestClientFailure, IsNeverSuccessWhereverTheAnswerIsCut)
{
    HttpAnswer answer = HttpAnswer::status(200, "{\"points\":10}", {"Content-Type: application/json"});
    const qsizetype firstLine = answer.bytes.indexOf("\r\n") + 2;
    for (answer.cutAfter = 0; answer.cutAfter < answer.bytes.size(); ++answer.cutAfter) {
        const Outcome outcome = getAnswer(answer);
        EXPECT_EQ(outcome.errorCode,
                  code(answer.cutAfter < firstLine ? ErrorCode::Connect : ErrorCode::BrokenAnswer))
            << "cut after " << answer.cutAfter;
        EXPECT_FALSE(outcome.response.isValid());
    }
}

TEST(RestClientFailure, IsBrokenWhenTheConnectionBreaksOffInTheBody)
{
    HttpAnswer answer = HttpAnswer::status(200, "{\"points\":10}");
    answer.cutAfter = answer.bytes.size() - 1;
    answer.breakOff = true;
    // The reset may overtake what was sent before it, and then there was no answer at all.
    EXPECT_THAT(getAnswer(answer).errorCode, AnyOf(code(ErrorCode::BrokenAnswer), code(ErrorCode::Connect)));
}

TEST(RestClientFailure, IsBrokenWhenTheChunksEndTooSoon)
{
    const Outcome outcome =
        getAnswer(HttpAnswer::raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n"));
    EXPECT_EQ(outcome.errorCode, code(ErrorCode::BrokenAnswer));
}

TEST(RestClientFailure, IsBrokenWhenTheAnswerIsNotHttp)
{
    for (const QByteArray& bytes :
         {"{\"points\":10}\r\n\r\n"_ba, "SSH-2.0-x\r\n"_ba, "HTTP/1.1 abc OK\r\nContent-Length: 0\r\n\r\n"_ba,
          "HTTP/7.0 200 OK\r\nContent-Length: 0\r\n\r\n"_ba,
          "HTTP/1.1 099 Odd\r\nContent-Length: 0\r\n\r\n"_ba,
          "HTTP/1.1 200 OK\r\nContent-Length: two\r\n\r\n{}"_ba,
          "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n"_ba}) {
        EXPECT_EQ(getAnswer(HttpAnswer::raw(bytes)).errorCode, code(ErrorCode::BrokenAnswer))
            << bytes.toStdString();
    }
}

TEST(RestClientFailure, IsBrokenWhenOnlyAnInterimAnswerComes)
{
    for (const QByteArray& bytes : {"HTTP/1.1 100 Continue\r\n\r\n"_ba, "HTTP/1.1 103 Early Hints\r\n\r\n"_ba,
                                    "HTTP/1.1 101 Switching Protocols\r\n\r\n"_ba}) {
        EXPECT_EQ(getAnswer(HttpAnswer::raw(bytes)).errorCode, code(ErrorCode::BrokenAnswer))
            << bytes.toStdString();
    }
}

TEST(RestClientFailure, IsTooLargeAsSoonAsTheLengthIsAnnounced)
{
    // The body never comes: only the announced length can end the exchange at once.
    HttpAnswer answer;
    answer.bytes = "HTTP/1.1 200 OK\r\nContent-Length: 8388609\r\n\r\n";
    const Outcome outcome = getAnswer(answer);
    EXPECT_EQ(outcome.errorCode, code(ErrorCode::TooLarge));
    EXPECT_THAT(outcome.milliseconds, Lt(atOnce));
}

TEST(RestClientFailure, IsTooLargeForOneByteOverEightMebibytes)
{
    HttpAnswer answer = HttpAnswer::raw("HTTP/1.1 200 OK\r\n\r\n");
    answer.endless = 8 * 1024 * 1024 + 1;
    EXPECT_EQ(getAnswer(answer).errorCode, code(ErrorCode::TooLarge));
}

TEST(RestClientFailure, IsTooLargeForEndlessHeaders)
{
    HttpAnswer answer =
        HttpAnswer::raw("HTTP/1.1 200 OK\r\n" + QByteArray("X-More: and more\r\n").repeated(100'000));
    const Outcome outcome = getAnswer(answer);
    EXPECT_EQ(outcome.errorCode, code(ErrorCode::TooLarge));
}

TEST(RestClientFailure, KeepsItsCodesApartFromEveryHttpStatus)
{
    const QList<int> codes{code(ErrorCode::Connect),  code(ErrorCode::Timeout),
                           code(ErrorCode::Tls),      code(ErrorCode::BrokenAnswer),
                           code(ErrorCode::TooLarge), code(ErrorCode::Redirect),
                           code(ErrorCode::BadUrl),   code(ErrorCode::BadHeader)};
    EXPECT_EQ(codes, (QList<int>{1, 2, 3, 4, 5, 6, 7, 8}));
}

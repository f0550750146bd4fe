#include "tests/unit/network/scene.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <thread>

using test_support::HttpAnswer;
using test_support::HttpServer;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::Test;
using namespace Qt::StringLiterals;

namespace {

class RestClientGuard : public Test
{
protected:
    RestClientGuard() { m_server.enqueue(HttpAnswer::status(422, "{}")); }

    /// The next answer comes later than any test waits.
    void answerNever()
    {
        m_client.post(m_server.url(), "{}", {}); // takes the answer that is waiting
        HttpAnswer late = HttpAnswer::status(200, "{}");
        late.delay = std::chrono::hours(1);
        m_server.enqueue(late);
    }

    HttpServer m_server;
    RestClient m_client;
};

} // namespace

TEST_F(RestClientGuard, IsAskedWhileNothingHasLeftYet)
{
    QStringList asked;
    const auto guard = RestClient::guard({.departing =
                                              [&](const QString& method, const QUrl& url) {
                                                  EXPECT_THAT(m_server.requests(), IsEmpty());
                                                  asked.append(method + u' ' + url.path());
                                              },
                                          .answered = {}});
    m_client.post(m_server.url(u"/pay"_s), "{}", {});
    EXPECT_THAT(asked, ElementsAre(u"POST /pay"_s));
    EXPECT_EQ(m_client.getErrorCode(), 422);
}

TEST_F(RestClientGuard, KeepsARequestFromLeavingByThrowing)
{
    m_client.post(m_server.url(), "first", {});
    const auto guard = RestClient::guard(
        {.departing = [](const QString&, const QUrl&) { throw std::runtime_error("the disk is full"); },
         .answered = [](const RestExchange&) { FAIL() << "nothing was asked, so nothing is answered"; }});
    EXPECT_THROW(m_client.put(m_server.url(), "second", {}), std::runtime_error);
    EXPECT_THAT(m_server.requests(), SizeIs(1));
    EXPECT_EQ(m_client.getErrorCode(), code(RestClient::ErrorCode::Connect));
    EXPECT_FALSE(m_client.getResponse().isValid());
}

TEST_F(RestClientGuard, IsToldWhatCameOfTheRequest)
{
    int told = 0;
    const auto guard = RestClient::guard({.departing = {}, .answered = [&](const RestExchange& exchange) {
                                              told = exchange.errorCode;
                                              EXPECT_EQ(exchange.method, u"PUT"_s);
                                          }});
    m_client.put(m_server.url(), "{}", {});
    EXPECT_EQ(told, 422);
}

TEST_F(RestClientGuard, EndsAnExchangeThatTakesLongerThanItAllows)
{
    answerNever();
    const auto guard = RestClient::guard({.departing = {}, .answered = {}, .secondsAtMost = 1});
    m_client.post(m_server.url(), "{}", {});
    EXPECT_EQ(m_client.getErrorCode(), code(RestClient::ErrorCode::Timeout));
}

TEST_F(RestClientGuard, LeavesAShorterTimeLimitAsItIs)
{
    answerNever();
    const auto guard = RestClient::guard({.departing = {}, .answered = {}, .secondsAtMost = 3600});
    m_client.setTimeout(1);
    m_client.post(m_server.url(), "{}", {});
    EXPECT_EQ(m_client.getErrorCode(), code(RestClient::ErrorCode::Timeout));
}

TEST_F(RestClientGuard, LeavesTheRequestsOfOtherThreadsAlone)
{
    const auto guard = RestClient::guard(
        {.departing = [](const QString&, const QUrl&) { throw std::runtime_error("not this thread's"); },
         .answered = [](const RestExchange&) { FAIL(); }});
    std::thread other([this] { m_client.get(m_server.url(), {}, {}); });
    other.join();
    EXPECT_EQ(m_client.getErrorCode(), 422);
    EXPECT_THAT(m_server.requests(), SizeIs(1));
}

TEST_F(RestClientGuard, IsGoneWithItsRegistration)
{
    auto guard = RestClient::guard(
        {.departing = [](const QString&, const QUrl&) { throw std::runtime_error("still there"); },
         .answered = {}});
    guard = {};
    m_client.get(m_server.url(), {}, {});
    EXPECT_EQ(m_client.getErrorCode(), 422);
}

TEST_F(RestClientGuard, IsCalledBesideTheOthersInTheOrderOfTheirComing)
{
    QStringList called;
    const auto noting = [&called](const QString& who) {
        return RestClient::guard(
            {.departing = [&called, who](const QString&,
                                         const QUrl&) { called.append(who + u" departing"_s); },
             .answered = [&called, who](const RestExchange&) { called.append(who + u" answered"_s); }});
    };
    const auto first = noting(u"first"_s);
    auto second = noting(u"second"_s);
    m_client.get(m_server.url(), {}, {});
    EXPECT_THAT(called, ElementsAre(u"first departing"_s, u"second departing"_s, u"first answered"_s,
                                    u"second answered"_s));
    called.clear();
    second = {};
    m_client.get(m_server.url(), {}, {});
    EXPECT_THAT(called, ElementsAre(u"first departing"_s, u"first answered"_s));
}

TEST_F(RestClientGuard, ThatThrowsKeepsTheNextFromBeingCalled)
{
    const auto first = RestClient::guard(
        {.departing = [](const QString&, const QUrl&) { throw std::runtime_error("the disk is full"); },
         .answered = {}});
    const auto second = RestClient::guard({.departing = [](const QString&, const QUrl&) { FAIL(); },
                                           .answered = [](const RestExchange&) { FAIL(); }});
    EXPECT_THROW(m_client.get(m_server.url(), {}, {}), std::runtime_error);
    EXPECT_THAT(m_server.requests(), IsEmpty());
}

TEST_F(RestClientGuard, WithTheShortestTimeHolds)
{
    answerNever();
    const auto patient = RestClient::guard({.departing = {}, .answered = {}, .secondsAtMost = 3600});
    const auto hurried = RestClient::guard({.departing = {}, .answered = {}, .secondsAtMost = 1});
    const auto careless = RestClient::guard({.departing = {}, .answered = {}});
    m_client.setTimeout(3000);
    m_client.post(m_server.url(), "{}", {});
    EXPECT_EQ(m_client.getErrorCode(), code(RestClient::ErrorCode::Timeout));
}

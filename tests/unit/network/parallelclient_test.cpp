#include "host/network/idlework.h"
#include "host/network/parallelclient.h"
#include "tests/unit/network/scene.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QLocale>

#include <gmock/gmock.h>

#include <stdexcept>
#include <thread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test_support::HttpAnswer;
using test_support::HttpServer;
using testing::AllOf;
using testing::Ge;
using testing::IsEmpty;
using testing::Le;
using testing::SizeIs;
using ErrorCode = RestClient::ErrorCode;
using Finished = ParallelClient::Finished;

namespace {

constexpr auto patience = 60s; // on the slowest machine; never waited out

class ParallelRequests : public testing::Test
{
protected:
    void begin(qint64 id, int timeout = 20)
    {
        m_client.begin(id, {"POST", m_server.url(u"/x"_s), "{}", {{u"X-Shop"_s, u"7"_s}}, timeout});
    }
    /// The next that is over.
    Finished next()
    {
        QList<Finished> finished;
        for (const QDeadlineTimer end(patience); finished.isEmpty() && !end.hasExpired();)
            finished = m_client.finished(patience);
        EXPECT_THAT(finished, SizeIs(1));
        return finished.value(0);
    }
    Finished exchange(int timeout = 20)
    {
        begin(1, timeout);
        return next();
    }
    void answerWell(int times = 1)
    {
        for (int i = 0; i < times; ++i)
            m_server.enqueue(HttpAnswer::status(200, R"({"n":1})"));
    }
    void answerNever(int times = 1)
    {
        HttpAnswer never = HttpAnswer::status(200, "{}");
        never.delay = 24h;
        for (int i = 0; i < times; ++i)
            m_server.enqueue(never);
    }

    HttpServer m_server;
    ParallelClient m_client;
};

TEST_F(ParallelRequests, KeepTheirConnection)
{
    answerWell(3);
    for (int i = 0; i < 3; ++i) {
        const Finished finished = exchange();
        EXPECT_EQ(finished.code, 0);
        EXPECT_EQ(finished.response, (QVariantMap{{u"n"_s, 1}}));
    }
    ASSERT_THAT(m_server.requests(), SizeIs(3));
    EXPECT_EQ(m_server.connections(), 1);
    EXPECT_TRUE(m_server.requests()[0].header("Connection").isNull());
    EXPECT_EQ(m_server.requests()[2].header("X-Shop"), "7");
    EXPECT_EQ(m_server.requests()[2].body, "{}");
}

TEST_F(ParallelRequests, KeepTheirConnectionOverTls)
{
    HttpServer server(trustedCertificate());
    for (int i = 0; i < 2; ++i) {
        server.enqueue(HttpAnswer::status(200, "{}"));
        m_client.begin(i, {"PUT", server.url(), "{}", {}, 20});
        EXPECT_EQ(next().code, 0);
    }
    EXPECT_EQ(server.connections(), 1);
}

TEST_F(ParallelRequests, GoSideBySideAndEndAsTheirAnswersCome)
{
    answerNever();
    answerWell();
    begin(7);
    for (const QDeadlineTimer end(patience); m_server.requests().isEmpty() && !end.hasExpired();)
        EXPECT_THAT(m_client.finished(1ms), IsEmpty());
    begin(8);
    EXPECT_EQ(next().id, 8);
    EXPECT_EQ(m_server.connections(), 2);
}

TEST_F(ParallelRequests, LeaveThoseOfARestClientAConnectionOfTheirOwn)
{
    answerWell(4);
    exchange();
    EXPECT_EQ(get(m_server.url()).errorCode, 0);
    EXPECT_EQ(get(m_server.url()).errorCode, 0);
    exchange();
    ASSERT_THAT(m_server.requests(), SizeIs(4));
    EXPECT_EQ(m_server.connections(), 3) << "one is kept, and each of the others had one";
    EXPECT_EQ(m_server.requests()[2].header("Connection"), "close");
}

TEST_F(ParallelRequests, DoNotFailBecauseTheirConnectionWasClosedWhileItLayIdle)
{
    HttpAnswer last = HttpAnswer::status(200, "{}");
    last.keepOpen = false;
    m_server.enqueue(last);
    answerWell();
    EXPECT_EQ(exchange().code, 0);
    EXPECT_EQ(exchange().code, 0);
    EXPECT_THAT(m_server.requests(), SizeIs(2));
    EXPECT_EQ(m_server.connections(), 2);
}

TEST_F(ParallelRequests, GoAgainAtOnceWhenAKeptConnectionEndsUnderThemWithoutAWord)
{
    for (const bool breakOff : {false, true}) {
        HttpServer server;
        ParallelClient client;
        HttpAnswer silence = HttpAnswer::none();
        silence.breakOff = breakOff;
        server.enqueue(HttpAnswer::status(200, "{}"));
        server.enqueue(silence);
        server.enqueue(HttpAnswer::status(200, "{}"));
        for (int i = 0; i < 2; ++i) {
            client.begin(1, {"POST", server.url(), "{}", {}, 20});
            const auto finished = client.finished(patience);
            ASSERT_THAT(finished, SizeIs(1));
            EXPECT_EQ(finished[0].code, 0);
        }
        EXPECT_THAT(server.requests(), SizeIs(3));
        EXPECT_EQ(server.connections(), 2);
    }
}

TEST_F(ParallelRequests, FailWhenAFreshConnectionEndsUnderThem)
{
    m_server.enqueue(HttpAnswer::none());
    answerWell();
    EXPECT_EQ(exchange().code, code(ErrorCode::Connect));
    EXPECT_THAT(m_server.requests(), SizeIs(1));
}

TEST_F(ParallelRequests, FailWhenAKeptConnectionEndsInTheMidstOfTheAnswer)
{
    answerWell();
    HttpAnswer half = HttpAnswer::status(200, "{}");
    half.cutAfter = half.bytes.size() - 1;
    m_server.enqueue(half);
    answerWell();
    exchange();
    EXPECT_EQ(exchange().code, code(ErrorCode::BrokenAnswer));
    EXPECT_THAT(m_server.requests(), SizeIs(2));
}

TEST_F(ParallelRequests, TakeNothingForTheirAnswerThatCameBeforeTheyWereSent)
{
    // An answer as long as what libcurl reads at a time, so that the rest of what came stays in the socket.
    constexpr qsizetype atATime = 16384;
    const QByteArray head = "HTTP/1.1 200 OK\r\nContent-Length: 16000\r\nX-Fill: ";
    const QByteArray body = "{}" + QByteArray(15998, ' ');
    HttpAnswer twice =
        HttpAnswer::raw(head + QByteArray(atATime - head.size() - 4 - body.size(), 'x') + "\r\n\r\n" + body);
    ASSERT_EQ(twice.bytes.size(), atATime);
    twice.bytes += HttpAnswer::status(200, R"({"of":"nobody"})").bytes;
    twice.keepOpen = true;
    m_server.enqueue(twice);
    answerWell();
    EXPECT_EQ(exchange().code, 0);
    EXPECT_EQ(exchange().response, (QVariantMap{{u"n"_s, 1}}));
    EXPECT_THAT(m_server.requests(), SizeIs(2));
    EXPECT_EQ(m_server.connections(), 2);
}

TEST_F(ParallelRequests, EndWhenTheirTimeIsOverEachOnItsOwn)
{
    answerNever(2);
    begin(1, 3600);
    begin(2, 1);
    const Finished finished = next();
    EXPECT_EQ(finished.id, 2);
    EXPECT_EQ(finished.code, code(ErrorCode::Timeout));
    EXPECT_GE(finished.milliseconds, 990);
}

TEST_F(ParallelRequests, ThatCannotBeSentFailAsARestClientsDo)
{
    m_client.begin(1, {"GET", QUrl(u"ftp://127.0.0.1/"_s), {}, {}, 20});
    EXPECT_EQ(next().code, code(ErrorCode::BadUrl));
    m_client.begin(2, {"GET", m_server.url(), {}, {{u"X"_s, u"1\r\nY: 2"_s}}, 20});
    EXPECT_EQ(next().code, code(ErrorCode::BadHeader));
    EXPECT_EQ(m_server.connections(), 0);
}

TEST_F(ParallelRequests, CloseConnectionsThatAreMoreThanMayStayOpen)
{
    for (const int most : {4, 1}) {
        HttpServer server;
        ParallelClient client;
        for (int round = 0; round < 2; ++round) {
            HttpAnswer late = HttpAnswer::status(200, "{}");
            late.delay = 100ms; // so that both are under way together
            server.enqueue(late);
            server.enqueue(late);
            client.keepConnections(most);
            client.begin(1, {"GET", server.url(), {}, {}, 20});
            client.begin(2, {"GET", server.url(), {}, {}, 20});
            for (qsizetype over = 0; over < 2;)
                over += client.finished(patience).size();
        }
        EXPECT_EQ(server.connections(), most == 1 ? 3 : 2);
    }
}

TEST_F(ParallelRequests, TellHowLongTheServiceAsksToBeLeftAlone)
{
    m_server.enqueue(HttpAnswer::status(429, "{}", {"Retry-After: 17"}));
    EXPECT_EQ(exchange().retryAfter, 17s);
    const QByteArray date =
        QLocale::c()
            .toString(QDateTime::currentDateTimeUtc().addSecs(100), u"ddd, dd MMM yyyy hh:mm:ss 'GMT'"_s)
            .toLatin1();
    m_server.enqueue(HttpAnswer::status(503, "{}", {"Retry-After: " + date}));
    EXPECT_THAT(exchange().retryAfter, AllOf(Ge(30s), Le(100s)));
    for (const char* nothing :
         {"Retry-After: Wed, 21 Oct 2015 07:28:00 GMT", "Retry-After: soon", "Retry-After: -3", "X: y"}) {
        m_server.enqueue(HttpAnswer::status(503, "{}", {nothing}));
        EXPECT_EQ(exchange().retryAfter, 0s) << nothing;
    }
}

TEST_F(ParallelRequests, AreGuardedAndObservedAsARestClientsAre)
{
    answerNever();
    QStringList told;
    const auto observing =
        RestClient::observe([&told](const RestExchange& exchange) { told.append(exchange.method); });
    const auto guard = RestClient::guard(
        {.departing = [&told](const QString& method, const QUrl&) { told.append(u"departing "_s + method); },
         .answered = [&told](const RestExchange& exchange) { told.append(u"answered "_s + exchange.method); },
         .secondsAtMost = 1});
    EXPECT_EQ(exchange(3600).code, code(ErrorCode::Timeout));
    EXPECT_EQ(told, (QStringList{u"departing POST"_s, u"POST"_s, u"answered POST"_s}));
}

TEST_F(ParallelRequests, AreNotBegunWhenAGuardThrows)
{
    const auto guard = RestClient::guard(
        {.departing = [](const QString&, const QUrl&) { throw std::runtime_error("the disk is full"); },
         .answered = {}});
    EXPECT_THROW(begin(1), std::runtime_error);
    EXPECT_THAT(m_client.finished(patience), IsEmpty());
    EXPECT_EQ(m_server.connections(), 0);
}

TEST_F(ParallelRequests, AreToldNoMoreOnceTheyAreAbandoned)
{
    answerNever();
    begin(1);
    EXPECT_THAT(m_client.finished(1ms), IsEmpty());
    m_client.abandon();
    EXPECT_THAT(m_client.finished(patience), IsEmpty()) << "and nothing is waited for";
}

TEST_F(ParallelRequests, LetIdleWorkGoOnWhileTheyWait)
{
    std::thread([this] {
        int calls = 0;
        const IdleWork work([&calls] { ++calls; });
        answerNever();
        begin(1);
        for (const QDeadlineTimer end(patience); calls < 10 && !end.hasExpired();)
            EXPECT_THAT(m_client.finished(50ms), IsEmpty());
        EXPECT_GE(calls, 10);
        m_client.abandon();
    }).join();
}

} // namespace

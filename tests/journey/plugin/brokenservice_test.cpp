#include "tests/journey/plugin/libraryworld.h"
#include "tests/support/httpserver.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test_support::HttpAnswer;

namespace {

/// The library against a service that answers as a real one never should.
class BrokenService : public LibraryWorld
{
protected:
    BrokenService() { start(server.url().toString()); }

    /// A card is presented, and the service answers so: nothing may hang, nothing may be written.
    void expectFailure(const HttpAnswer& answer, const QString& text = u"Ошибка обращения к серверу"_s)
    {
        server.enqueue(answer);
        EXPECT_FALSE(identify());
        EXPECT_TRUE(endedInTime());
        EXPECT_EQ(lastError(), text);
        EXPECT_TRUE(nothingWritten());
        EXPECT_EQ(server.requests().size(), 1) << "nothing is tried again, nothing is followed";
    }

    test_support::HttpServer server;
    const QByteArray status = R"({"data":{"card_data":{"status":3}}})";
};

TEST_F(BrokenService, ThatAnswersLateEndsAtTheTimeout)
{
    HttpAnswer late = HttpAnswer::status(200, status);
    late.delay = 10s;
    expectFailure(late);
}

TEST_F(BrokenService, ThatDripsEndsAtTheTimeout)
{
    HttpAnswer drip = HttpAnswer::status(200, status);
    drip.dripBytes = 1;
    drip.dripInterval = 200ms;
    expectFailure(drip);
}

TEST_F(BrokenService, ThatGivesHalfAnAnswerIsAFailure)
{
    HttpAnswer half = HttpAnswer::status(200, status);
    half.cutAfter = half.bytes.size() - 10;
    expectFailure(half);
}

TEST_F(BrokenService, ThatGivesNoAnswerIsAFailure) { expectFailure(HttpAnswer::none()); }

TEST_F(BrokenService, ThatGivesAPageIsAFailureWhateverItsStatus)
{
    expectFailure(HttpAnswer::status(200, "<html><body>Sign in to the shop's network</body></html>"));
}

TEST_F(BrokenService, ThatGivesAnErrorPageIsAFailure)
{
    expectFailure(HttpAnswer::status(502, "<html>Bad gateway</html>"));
}

TEST_F(BrokenService, ThatSendsAHundredMegabytesIsRefused)
{
    HttpAnswer huge = HttpAnswer::raw("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n\r\n");
    huge.endless = 100LL * 1024 * 1024;
    expectFailure(huge);
}

TEST_F(BrokenService, ThatRedirectsIsNotFollowed)
{
    expectFailure(HttpAnswer::status(302, {}, {"Location: " + server.url(u"/elsewhere"_s).toEncoded()}));
}

TEST_F(BrokenService, ThatGivesAnArrayHasNoStatusOfTheCard)
{
    expectFailure(HttpAnswer::status(200, "[3]"), u"Не удалось получить статус карты"_s);
}

TEST_F(BrokenService, ThatGivesNothingHasNoStatusOfTheCard)
{
    expectFailure(HttpAnswer::status(200), u"Не удалось получить статус карты"_s);
}

TEST_F(BrokenService, ThatGivesAWrongTypeIsAnIncorrectAnswer)
{
    expectFailure(HttpAnswer::status(200, R"({"data":{"card_data":{"status":"active"}}})"),
                  u"Некорректный ответ от сервера"_s);
}

TEST_F(BrokenService, ThatFailsAtTheSecondRequestLeavesTheStatusAndNothingElse)
{
    server.enqueue(HttpAnswer::status(200, status));
    server.enqueue(HttpAnswer::status(500, "{}"));
    EXPECT_FALSE(identify());
    EXPECT_EQ(lastError(), u"Ошибка обращения к серверу"_s);
    EXPECT_EQ(card->getCardStatus(), ECard::Active);
    EXPECT_TRUE(card->getCard()->getClient().isNull());
    EXPECT_FALSE(card->getBonusBalance().isValid());
}

TEST_F(BrokenService, IsAskedWithTheHeadersThatItExpects)
{
    server.enqueue(HttpAnswer::status(500));
    identify();
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 1);
    EXPECT_EQ(requests[0].method, "GET");
    EXPECT_EQ(requests[0].path, "/v2/partner/card/2000000000017/card-info");
    EXPECT_EQ(requests[0].header("Authorization"),
              "Basic " + QByteArray("shop:secret-of-the-shop").toBase64());
    EXPECT_EQ(requests[0].header("Content-Type"), "application/json");
    EXPECT_EQ(requests[0].body, "");
}

} // namespace

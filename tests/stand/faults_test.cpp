// Faults as a till meets them.

#include "tests/stand/shop.h"
#include "tests/stand/standfixture.h"

#include <curl/curl.h>

#include <QElapsedTimer>
#include <QJsonDocument>

#include <thread>

using namespace Qt::StringLiterals;
using standtest::json;
using standtest::Login;
using standtest::Reply;
using standtest::Shop;

namespace {

/// A stand with the faults armed, and a card-info and a spending to strike.
class StandFaults : public ::testing::Test
{
protected:
    void arm(const QByteArray& faults)
    {
        const auto reply =
            standtest::send({.url = m_shop.root() + "/stand/faults", .method = "POST", .body = faults});
        ASSERT_EQ(reply.status, 201) << reply.body.constData();
    }

    Reply cardInfo(int patienceMs = 20'000)
    {
        return standtest::send({.url = m_shop.root() + "/v2/partner/card/2000000000055/card-info",
                                .login = Login(),
                                .headers = {"Accept-Encoding: gzip"},
                                .patienceMs = patienceMs});
    }

    QJsonValue lastExchange() { return standtest::exchangesOf(m_shop.root()).last(); }

    Shop m_shop;
    const QJsonValue m_info = json(u"{'data':{'card_data':{'number':'2000000000055','status':3}}}"_s);
};

TEST_F(StandFaults, ApplyThenDropDoesTheOperationAndLosesItsAnswer)
{
    arm(R"(["force-payment-c2b:apply-then-drop"])");
    const auto lost = m_shop.forcePayment({}, u"20.00"_s);
    EXPECT_EQ(lost.error, CURLE_GOT_NOTHING);
    EXPECT_EQ(m_shop.balance(), 28000);
    const auto again = m_shop.forcePayment({}, u"20.00"_s);
    EXPECT_EQ(again.status, 200);
    EXPECT_EQ(m_shop.balance(), 28000) << "the repetition is told apart";
    const auto exchange = standtest::exchangesOf(m_shop.root()).at(0);
    EXPECT_EQ(exchange[u"fault"], u"apply-then-drop"_s);
    EXPECT_EQ(exchange[u"answer_body"].toString().toUtf8(), again.body) << "what the till was not told";
}

TEST_F(StandFaults, DropLosesTheRequest)
{
    arm(R"(["force-payment-c2b:drop"])");
    EXPECT_EQ(m_shop.forcePayment({}, u"20.00"_s).error, CURLE_GOT_NOTHING);
    EXPECT_EQ(m_shop.balance(), 30000);
    EXPECT_EQ(standtest::exchangesOf(m_shop.root()).at(0)[u"status"], 0);
    EXPECT_EQ(m_shop.forcePayment({}, u"20.00"_s).status, 200);
}

TEST_F(StandFaults, ResetComesBeforeTheOperationOrAfterIt)
{
    arm(R"(["force-payment-c2b:reset", "force-payment-c2b:reset:when=after"])");
    EXPECT_EQ(m_shop.forcePayment({}, u"20.00"_s).error, CURLE_RECV_ERROR);
    EXPECT_EQ(m_shop.balance(), 30000);
    EXPECT_EQ(m_shop.forcePayment({}, u"20.00"_s).error, CURLE_RECV_ERROR);
    EXPECT_EQ(m_shop.balance(), 28000);
}

TEST_F(StandFaults, HangAnswersNothingUntilTheClientGivesUpAndNobodyElseWaits)
{
    arm(R"(["card-info:hang"])");
    Reply hanging;
    std::thread till([&] { hanging = cardInfo(3000); });
    // Its turn has come when it is in the log.
    while (standtest::exchangesOf(m_shop.root()).isEmpty())
        std::this_thread::yield();
    EXPECT_EQ(cardInfo().json(), m_info);
    till.join();
    EXPECT_EQ(hanging.error, CURLE_OPERATION_TIMEDOUT);
}

TEST_F(StandFaults, LateAnswersComeLate)
{
    arm(R"(["card-info:late:ms=300"])");
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(cardInfo().json(), m_info);
    EXPECT_GE(timer.elapsed(), 300);
}

TEST_F(StandFaults, LateBeforeTheOperationDoesItThoughNobodyWaits)
{
    arm(R"(["force-payment-c2b:late:when=before,ms=2500"])");
    const auto body = QJsonDocument(standtest::spending({}, u"20.00"_s)).toJson();
    const auto reply = standtest::send({.url = m_shop.root() + "/v2/partner/operation/force-payment-c2b",
                                        .method = "POST",
                                        .login = Login(),
                                        .body = body,
                                        .patienceMs = 1000});
    EXPECT_EQ(reply.error, CURLE_OPERATION_TIMEDOUT);
    EXPECT_EQ(m_shop.balance(), 30000);
    while (m_shop.operations().isEmpty())
        std::this_thread::yield();
    EXPECT_EQ(m_shop.balance(), 28000);
}

TEST_F(StandFaults, DripSendsALittleAtATime)
{
    arm(R"(["card-info:drip:bytes=50,ms=100"])");
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(cardInfo().json(), m_info);
    EXPECT_GE(timer.elapsed(), 200) << "head and body are more than 150 bytes";
}

TEST_F(StandFaults, TruncatedAndMislaidBodiesAreNoticed)
{
    arm(R"(["card-info:truncate", "card-info:length:by=5", "card-info:length:by=-5"])");
    EXPECT_EQ(cardInfo().error, CURLE_PARTIAL_FILE);
    EXPECT_EQ(cardInfo().error, CURLE_PARTIAL_FILE);
    const auto shorter = cardInfo();
    EXPECT_EQ(shorter.headers.value("content-length"), "55");
    EXPECT_EQ(shorter.body.size(), 55);
}

TEST_F(StandFaults, TypesGoWrongFieldByField)
{
    arm(R"(["card-info:type:count=all"])");
    EXPECT_TRUE(cardInfo().json()[u"data"].isString());
    EXPECT_TRUE(cardInfo().json()[u"data"][u"card_data"].isString());
    EXPECT_TRUE(cardInfo().json()[u"data"][u"card_data"][u"number"].isDouble());
    EXPECT_TRUE(cardInfo().json()[u"data"][u"card_data"][u"status"].isString());
    EXPECT_TRUE(cardInfo().json()[u"data"].isString()) << "and from the beginning";
}

TEST_F(StandFaults, ANamedFieldGetsTheTypeAskedFor)
{
    arm(R"([{"operation": "card-info", "fault": "type", "field": "data.card_data.status", "as": "null"}])");
    EXPECT_EQ(cardInfo().json(), json(u"{'data':{'card_data':{'number':'2000000000055','status':null}}}"_s));
}

TEST_F(StandFaults, AnswersCanBeNoJsonOrNothingOrHtml)
{
    arm(R"(["card-info:json", "card-info:empty", "card-info:html"])");
    EXPECT_TRUE(cardInfo().json().isUndefined());
    const auto empty = cardInfo();
    EXPECT_EQ(empty.status, 200);
    EXPECT_EQ(empty.body, "");
    const auto html = cardInfo();
    EXPECT_EQ(html.headers.value("content-type"), "text/html; charset=utf-8");
    EXPECT_TRUE(html.body.contains("<html>"));
}

TEST_F(StandFaults, AnswersCanBeHuge)
{
    arm(R"(["card-info:large:bytes=20000000", "card-info:gzip-bomb:bytes=1000000000"])");
    const auto large = cardInfo();
    EXPECT_EQ(large.error, CURLE_OK);
    EXPECT_EQ(large.body.size(), 20'000'000);
    EXPECT_EQ(large.json()[u"data"], m_info[u"data"]);
    const auto bomb = cardInfo();
    EXPECT_EQ(bomb.headers.value("content-encoding"), "gzip");
    EXPECT_TRUE(bomb.body.startsWith("\x1f\x8b"));
    EXPECT_LT(bomb.body.size(), 2'000'000);
}

TEST_F(StandFaults, RedirectsLeadToTheSameOperation)
{
    arm(R"(["card-info:redirect:code=307"])");
    const auto reply = cardInfo();
    EXPECT_EQ(reply.status, 307);
    EXPECT_EQ(reply.headers.value("location"), "/v2/partner/card/2000000000055/card-info?moved");
    EXPECT_EQ(
        standtest::send({.url = m_shop.root() + reply.headers.value("location"), .login = Login()}).json(),
        m_info);
}

TEST_F(StandFaults, EveryStatusComesWithAndWithoutTheEnvelope)
{
    for (const auto status : {401, 403, 404, 409, 422, 429, 500, 502, 503}) {
        arm(R"([{"fault": "status", "text": "так надо", "code": )" + QByteArray::number(status) +
            R"(}, "any:status:envelope=no,code=)" + QByteArray::number(status) + "\"]");
        const auto with = cardInfo();
        EXPECT_EQ(with.status, status);
        EXPECT_EQ(with.messages(), QJsonArray{u"так надо"_s});
        const auto without = cardInfo();
        EXPECT_EQ(without.status, status);
        EXPECT_EQ(without.body, "");
    }
    EXPECT_EQ(lastExchange()[u"fault"], u"status"_s);
    EXPECT_EQ(lastExchange()[u"status"], 503);
}

TEST_F(StandFaults, AStatusMayComeAlthoughTheOperationWasDone)
{
    arm(R"(["force-payment-c2b:status:code=500,when=after"])");
    EXPECT_EQ(m_shop.forcePayment({}, u"20.00"_s).status, 500);
    EXPECT_EQ(m_shop.balance(), 28000);
    EXPECT_EQ(standtest::exchangesOf(m_shop.root()).at(0)[u"status"], 200) << "what the service meant to say";
}

TEST_F(StandFaults, RefuseClosesTheDoorForAWhile)
{
    arm(R"(["any:refuse:ms=2500"])");
    EXPECT_EQ(cardInfo().error, CURLE_COULDNT_CONNECT) << "the very next call";
    EXPECT_EQ(standtest::send({.url = m_shop.root() + "/stand/cards"}).error, CURLE_COULDNT_CONNECT);
    Reply reply;
    while ((reply = cardInfo()).error == CURLE_COULDNT_CONNECT)
        std::this_thread::yield();
    EXPECT_EQ(reply.json(), m_info) << "the same address again";
}

TEST_F(StandFaults, RefuseWaitsForItsCall)
{
    arm(R"(["any:refuse:nth=3,ms=2500"])");
    EXPECT_EQ(cardInfo().json(), m_info);
    EXPECT_EQ(cardInfo().json(), m_info);
    EXPECT_EQ(cardInfo().error, CURLE_COULDNT_CONNECT);
}

TEST_F(StandFaults, RefuseOfOneOperationResetsItAndRefusesWhatFollows)
{
    arm(R"(["force-payment-c2b:refuse:ms=2500"])");
    EXPECT_EQ(cardInfo().json(), m_info);
    EXPECT_EQ(m_shop.forcePayment({}, u"20.00"_s).error, CURLE_RECV_ERROR);
    EXPECT_EQ(cardInfo().error, CURLE_COULDNT_CONNECT);
    Reply reply;
    while ((reply = m_shop.forcePayment({}, u"20.00"_s)).error == CURLE_COULDNT_CONNECT)
        std::this_thread::yield();
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(m_shop.balance(), 28000);
}

TEST_F(StandFaults, LeaveTheStandsOwnPagesAlone)
{
    arm(R"(["any:reset:count=all"])");
    EXPECT_EQ(m_shop.page("invariants"), json(u"{'ok':true,'violations':[],'left_by_thresholds':[]}"_s));
    EXPECT_EQ(cardInfo().error, CURLE_RECV_ERROR);
}

using StandConnections = standtest::StandTest;

TEST_F(StandConnections, ThatHangAreGivenUpWhenTheClientIsGone)
{
    ASSERT_EQ(call("/stand/faults", {.url = {}, .method = "POST", .body = R"(["any:hang:count=5"])"}).status,
              201);
    const auto before = openFiles();
    ASSERT_GT(before, 3);
    for (int i = 0; i < 5; ++i) {
        const auto hanging = call("/v2/partner/card/2000000000055/card-info",
                                  {.url = {}, .login = Login(), .patienceMs = 300});
        EXPECT_EQ(hanging.error, CURLE_OPERATION_TIMEDOUT);
    }
    while (openFiles() > before)
        std::this_thread::yield();
}

} // namespace

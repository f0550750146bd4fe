// Spending of points that the customer confirms with a code.

#include "tests/stand/books.h"
#include "tests/stand/shop.h"
#include "tests/stand/standfixture.h"

#include <QJsonDocument>
#include <QSet>

#include <csignal>

using namespace Qt::StringLiterals;
using standtest::json;
using standtest::refusalText;
using standtest::Reply;
using standtest::Shop;

namespace {

const QStringList fixedCode = {u"--sms-code"_s, u"1234"_s};

int approveId(const Reply& reply) { return reply.data().value(u"approve_id").toInt(); }

QJsonValue lastCode(const Shop& shop) { return shop.page("codes").toArray().last(); }

/// So many seconds pass.
void advance(const Shop& shop, int seconds)
{
    const auto reply = standtest::send({.url = shop.root() + "/stand/clock",
                                        .method = "POST",
                                        .body = R"({"advance": )" + QByteArray::number(seconds) + '}'});
    EXPECT_EQ(reply.status, 200);
}

TEST(StandApproval, MovesNothingBeforeTheCodeAndAllWithIt)
{
    Shop shop;
    const auto id = approveId(shop.payment({.number = u"42"_s, .items = {{1, 75}, {2, 25}}}, u"20.00"_s));
    EXPECT_GT(id, 0);
    EXPECT_EQ(shop.balance(), 30000);
    const auto code = lastCode(shop)[u"code"].toString();
    EXPECT_EQ(shop.confirm(id, code).json(), json(u"{'data':{'receipt_number':'42','newRecipientDetails':["
                                                  "{'position':'1','discount_bonus':15},"
                                                  "{'position':'2','discount_bonus':5}]}}"_s));
    EXPECT_EQ(shop.balance(), 28000);
}

TEST(StandApproval, ShowsTheCodeToThePersonWhoPlaysTheCustomer)
{
    Shop shop;
    const auto reply = shop.payment({}, u"20.00"_s);
    const auto sent = lastCode(shop);
    EXPECT_EQ(sent[u"approve_id"].toInt(), approveId(reply));
    EXPECT_EQ(sent[u"phone"].toString(), u"*******0001"_s);
    EXPECT_EQ(sent[u"state"].toString(), u"waiting"_s);
    EXPECT_THAT(sent[u"code"].toString().toStdString(), ::testing::MatchesRegex("[0-9]{4}"));
    EXPECT_EQ(reply.data().size(), 1) << "the till is told the number of the request alone";
    shop.confirm(approveId(reply), sent[u"code"].toString());
    EXPECT_EQ(lastCode(shop)[u"state"].toString(), u"confirmed"_s);
}

TEST(StandApproval, WritesALineWithTheCodeOnStderr)
{
    standtest::StandProcess stand(fixedCode);
    const auto url = stand.url();
    const auto body = QJsonDocument(standtest::spending({}, u"20.00"_s)).toJson();
    standtest::send({.url = url + "/v2/partner/operation/payment-c2b",
                     .method = "POST",
                     .login = standtest::Login(),
                     .body = body});
    stand.signal(SIGTERM);
    EXPECT_THAT(stand.exitStatus(), ::testing::Optional(0));
    EXPECT_EQ(stand.errors(), "stand: code 1234 for approve_id 1 to *******0001\n");
}

TEST(StandApproval, TakesAnotherCodeEachTimeUnlessOneIsSet)
{
    Shop shop;
    QSet<QString> codes;
    for (int i = 0; i < 6; ++i) {
        shop.payment({.number = QString::number(i)}, u"1.00"_s);
        codes.insert(lastCode(shop)[u"code"].toString());
    }
    EXPECT_GT(codes.size(), 1);
    Shop other(fixedCode);
    other.payment({}, u"1.00"_s);
    EXPECT_EQ(lastCode(other)[u"code"].toString(), u"1234"_s);
}

TEST(StandApproval, RefusesAWrongCodeAndTakesTheRightOneAfterwards)
{
    Shop shop(fixedCode);
    const auto id = approveId(shop.payment({}, u"20.00"_s));
    EXPECT_EQ(refusalText(shop.confirm(id, u"4321"_s)), "422 Неверный код подтверждения");
    EXPECT_EQ(shop.balance(), 30000);
    EXPECT_EQ(shop.confirm(id, u"1234"_s).status, 200);
}

TEST(StandApproval, ComparesTheCodeExactly)
{
    Shop shop(fixedCode + QStringList{u"--code-attempts"_s, u"9"_s});
    const auto id = approveId(shop.payment({}, u"20.00"_s));
    for (const auto& code : {u" 1234"_s, u"1234 "_s, u"12 34"_s, u"01234"_s, u"123"_s, u""_s, u"１２３４"_s})
        EXPECT_EQ(refusalText(shop.confirm(id, code)), "422 Неверный код подтверждения")
            << code.toStdString();
    EXPECT_EQ(shop.confirm(id, u"1234"_s).status, 200);
}

TEST(StandApproval, IsVoidWhenTheAttemptsAreUsedUp)
{
    Shop shop(fixedCode);
    const auto id = approveId(shop.payment({}, u"20.00"_s));
    EXPECT_EQ(refusalText(shop.confirm(id, u"0001"_s)), "422 Неверный код подтверждения");
    EXPECT_EQ(refusalText(shop.confirm(id, u"0002"_s)), "422 Неверный код подтверждения");
    EXPECT_EQ(refusalText(shop.confirm(id, u"0003"_s)), "422 Превышено число попыток ввода кода");
    EXPECT_EQ(refusalText(shop.confirm(id, u"1234"_s)), "422 Превышено число попыток ввода кода");
    EXPECT_EQ(lastCode(shop)[u"state"].toString(), u"used up"_s);
    EXPECT_EQ(shop.balance(), 30000);
}

TEST(StandApproval, LetsTheNumberOfAttemptsBeSet)
{
    Shop shop(fixedCode + QStringList{u"--code-attempts"_s, u"1"_s});
    const auto id = approveId(shop.payment({}, u"20.00"_s));
    EXPECT_EQ(refusalText(shop.confirm(id, u"0001"_s)), "422 Превышено число попыток ввода кода");
}

TEST(StandApproval, RefusesACodeThatComesTooLate)
{
    Shop shop(fixedCode + QStringList{u"--code-lifetime"_s, u"0"_s});
    const auto id = approveId(shop.payment({}, u"20.00"_s));
    EXPECT_EQ(refusalText(shop.confirm(id, u"1234"_s)), "422 Срок действия кода истёк");
    EXPECT_EQ(refusalText(shop.confirm(id, u"1234"_s)), "422 Срок действия кода истёк");
    EXPECT_EQ(lastCode(shop)[u"state"].toString(), u"late"_s);
    EXPECT_EQ(shop.balance(), 30000);
}

TEST(StandApproval, SendsANewCodeWhenTheFirstCameToNothing)
{
    Shop late(fixedCode + QStringList{u"--code-lifetime"_s, u"0"_s});
    EXPECT_EQ(approveId(late.payment({}, u"20.00"_s)), 1);
    EXPECT_EQ(approveId(late.payment({}, u"20.00"_s)), 2);
    Shop usedUp(fixedCode + QStringList{u"--code-attempts"_s, u"1"_s});
    EXPECT_EQ(approveId(usedUp.payment({}, u"20.00"_s)), 1);
    usedUp.confirm(1, u"0001"_s);
    EXPECT_EQ(approveId(usedUp.payment({}, u"20.00"_s)), 2);
    EXPECT_EQ(usedUp.confirm(2, u"1234"_s).status, 200);
}

TEST(StandApproval, EndsWithTheTimeOfItsCode)
{
    Shop shop;
    const auto id = approveId(shop.payment({}, u"20.00"_s));
    const auto sent = lastCode(shop);
    EXPECT_EQ(sent[u"attempts_left"], 3);
    EXPECT_EQ(sent[u"receipt_number"], u"100"_s);
    shop.confirm(id, sent[u"code"] == u"0000"_s ? u"0001"_s : u"0000"_s);
    advance(shop, 200);
    EXPECT_EQ(lastCode(shop)[u"attempts_left"], 2);
    EXPECT_GT(lastCode(shop)[u"seconds_left"].toInt(), 0);
    EXPECT_LE(lastCode(shop)[u"seconds_left"].toInt(), 100);
    advance(shop, 100);
    EXPECT_EQ(lastCode(shop)[u"state"], u"late"_s);
    EXPECT_EQ(lastCode(shop)[u"seconds_left"], 0);
    EXPECT_EQ(refusalText(shop.confirm(id, sent[u"code"].toString())), "422 Срок действия кода истёк");
}

TEST(StandApproval, IsReplacedByTheNextOneUnderItsNumber)
{
    Shop shop(fixedCode);
    const auto first = approveId(shop.payment({.items = {{1, 100}, {2, 100}}}, u"50.00"_s));
    EXPECT_EQ(refusalText(shop.confirm(first, u"4321"_s)), "422 Неверный код подтверждения");
    const auto second = approveId(shop.payment({}, u"20.00"_s));
    EXPECT_NE(second, first);
    const auto codes = shop.page("codes").toArray();
    ASSERT_EQ(codes.size(), 2) << "another code is sent";
    EXPECT_EQ(codes[0][u"state"], u"replaced"_s);
    EXPECT_EQ(codes[0][u"seconds_left"], 0);
    EXPECT_EQ(codes[1][u"state"], u"waiting"_s);
    EXPECT_EQ(codes[1][u"attempts_left"], 3);
    EXPECT_EQ(shop.confirm(second, u"1234"_s).data().value(u"newRecipientDetails"),
              json(u"[{'position':'1','discount_bonus':20}]"_s));
    EXPECT_EQ(shop.balance(), 28000);
}

TEST(StandApproval, IsVoidOnceItIsReplaced)
{
    Shop shop(fixedCode);
    const auto first = approveId(shop.payment({}, u"50.00"_s));
    const auto second = approveId(shop.payment({}, u"20.00"_s));
    for (const auto& code : {u"1234"_s, u"4321"_s, u"1234"_s, u"1234"_s})
        EXPECT_EQ(refusalText(shop.confirm(first, code)), "409 Запрос на списание заменён более поздним");
    EXPECT_EQ(shop.balance(), 30000);
    EXPECT_EQ(shop.confirm(second, u"1234"_s).status, 200) << "which it takes no attempt from";
    EXPECT_EQ(refusalText(shop.confirm(first, u"1234"_s)), "409 Запрос на списание заменён более поздним");
    EXPECT_EQ(shop.balance(), 28000);
}

TEST(StandApproval, IsReplacedByTheSameRequestToo)
{
    Shop shop(fixedCode);
    const auto first = approveId(shop.payment({}, u"20.00"_s));
    shop.confirm(first, u"4321"_s);
    advance(shop, 200);
    const auto second = approveId(shop.payment({}, u"20.00"_s));
    EXPECT_NE(second, first);
    EXPECT_EQ(lastCode(shop)[u"attempts_left"], 3);
    advance(shop, 200);
    EXPECT_EQ(lastCode(shop)[u"state"], u"waiting"_s) << "its time began anew";
    EXPECT_EQ(shop.confirm(second, u"1234"_s).status, 200);
}

TEST(StandApproval, IsReplacedHoweverItsOwnCodeEnded)
{
    Shop shop(fixedCode);
    const auto late = approveId(shop.payment({}, u"20.00"_s));
    advance(shop, 300);
    const auto usedUp = approveId(shop.payment({}, u"30.00"_s));
    for (int i = 0; i < 3; ++i)
        shop.confirm(usedUp, u"4321"_s);
    const auto last = approveId(shop.payment({}, u"40.00"_s));
    EXPECT_NE(shop.confirm(late, u"1234"_s).status, 200);
    EXPECT_NE(shop.confirm(usedUp, u"1234"_s).status, 200);
    EXPECT_EQ(shop.confirm(last, u"1234"_s).status, 200);
    EXPECT_EQ(shop.balance(), 26000);
}

TEST(StandApproval, StaysWhenTheNextOneIsRefused)
{
    Shop shop(fixedCode);
    const auto id = approveId(shop.payment({}, u"20.00"_s));
    EXPECT_EQ(refusalText(shop.payment({}, u"50.01"_s)), "422 Сумма списания больше допустимой");
    EXPECT_EQ(refusalText(shop.forcePayment({}, u"50.01"_s)), "422 Сумма списания больше допустимой");
    EXPECT_EQ(shop.confirm(id, u"1234"_s).status, 200);
}

TEST(StandApproval, OfAnotherCardOrNumberStays)
{
    Shop shop(fixedCode);
    const auto id = approveId(shop.payment({.number = u"1"_s}, u"20.00"_s));
    shop.payment({.number = u"1"_s, .card = u"2000000000017"_s}, u"20.00"_s);
    shop.forcePayment({.number = u"2"_s}, u"20.00"_s);
    EXPECT_EQ(shop.confirm(id, u"1234"_s).status, 200);
}

TEST(StandApproval, HoldsNoPoints)
{
    Shop shop(fixedCode);
    shop.payment({.number = u"1"_s, .items = {{1, 600}}}, u"300.00"_s);
    shop.payment({.number = u"1"_s}, u"20.00"_s);
    EXPECT_EQ(shop.balance(), 30000);
    EXPECT_EQ(shop.forcePayment({.number = u"2"_s, .items = {{1, 600}}}, u"300.00"_s).status, 200);
    EXPECT_EQ(shop.page("invariants"), json(standtest::inOrder));
}

TEST(StandApproval, ConfirmedIsToldAgainOrRefusedAndNeverReplaced)
{
    Shop shop(fixedCode);
    const auto id = approveId(shop.payment({}, u"20.00"_s));
    const auto first = shop.confirm(id, u"1234"_s);
    EXPECT_EQ(approveId(shop.payment({}, u"20.00"_s)), id);
    EXPECT_EQ(shop.confirm(id, u"1234"_s).body, first.body);
    EXPECT_EQ(refusalText(shop.payment({}, u"30.00"_s)), "409 Номер чека уже использован другой операцией");
    EXPECT_EQ(refusalText(shop.payment({.identifier = u"check-2"_s}, u"20.00"_s)),
              "409 Номер чека уже использован другой операцией");
    EXPECT_EQ(shop.page("codes").toArray().size(), 1);
    EXPECT_EQ(shop.balance(), 28000);
}

TEST(StandApproval, IsReplacedByASpendingAtOnce)
{
    Shop shop(fixedCode);
    const auto id = approveId(shop.payment({}, u"50.00"_s));
    EXPECT_EQ(shop.forcePayment({}, u"20.00"_s).status, 200);
    EXPECT_EQ(lastCode(shop)[u"state"], u"replaced"_s);
    EXPECT_EQ(refusalText(shop.confirm(id, u"1234"_s)), "409 Запрос на списание заменён более поздним");
    EXPECT_EQ(shop.balance(), 28000);
}

TEST(StandApproval, RefusesAnUnknownNumber)
{
    Shop shop(fixedCode);
    EXPECT_EQ(refusalText(shop.confirm(1, u"1234"_s)), "404 Запрос на списание не найден");
}

TEST(StandApproval, AnswersARepeatedConfirmationAsTheFirstAndSpendsOnce)
{
    Shop shop(fixedCode);
    const auto id = approveId(shop.payment({}, u"20.00"_s));
    const auto first = shop.confirm(id, u"1234"_s);
    const auto again = shop.confirm(id, u"1234"_s);
    EXPECT_EQ(again.status, 200);
    EXPECT_EQ(again.body, first.body);
    EXPECT_EQ(shop.balance(), 28000);
    EXPECT_EQ(refusalText(shop.confirm(id, u"4321"_s)), "422 Неверный код подтверждения");
}

TEST(StandApproval, ChecksTheSpendingWhenItIsAskedFor)
{
    Shop shop;
    EXPECT_EQ(refusalText(shop.payment({}, u"50.01"_s)), "422 Сумма списания больше допустимой");
    EXPECT_EQ(refusalText(shop.payment({.items = {{1, 1000}}}, u"300.01"_s)),
              "422 Недостаточно бонусов на карте");
    EXPECT_EQ(shop.page("codes").toArray().size(), 0);
}

TEST(StandApproval, ChecksTheBalanceAgainWhenItIsConfirmed)
{
    Shop shop(fixedCode);
    const auto id = approveId(shop.payment({.number = u"1"_s, .items = {{1, 600}}}, u"300.00"_s));
    EXPECT_EQ(shop.forcePayment({.number = u"2"_s}, u"0.01"_s).status, 200);
    EXPECT_EQ(refusalText(shop.confirm(id, u"1234"_s)), "422 Недостаточно бонусов на карте");
    EXPECT_EQ(shop.balance(), 29999);
    shop.cancel(u"2"_s);
    EXPECT_EQ(shop.confirm(id, u"1234"_s).status, 200) << "the request waits on";
}

TEST(StandApproval, SpendsOnceHoweverTheSameReceiptIsPaid)
{
    Shop shop(fixedCode);
    const auto id = approveId(shop.payment({}, u"20.00"_s));
    EXPECT_EQ(shop.forcePayment({}, u"20.00"_s).status, 200);
    EXPECT_EQ(refusalText(shop.confirm(id, u"1234"_s)), "409 Запрос на списание заменён более поздним");
    EXPECT_EQ(shop.forcePayment({.number = u"101"_s}, u"20.00"_s).status, 200);
    EXPECT_EQ(refusalText(shop.payment({.number = u"101"_s}, u"20.00"_s)),
              "409 Номер чека уже использован другой операцией");
    EXPECT_EQ(shop.balance(), 26000);
}

TEST(StandApproval, KeepsTheCodeOutOfTheExchanges)
{
    Shop shop({u"--sms-code"_s, u"93751"_s});
    const auto id = approveId(shop.payment({}, u"20.00"_s));
    const auto confirm = QByteArray("confirm-payment-c2b");
    shop.confirm(id, u"93751"_s);
    shop.send(confirm, "POST", R"({"code":"93751)");
    shop.send(confirm, "POST", R"(["93751"])");
    shop.send(confirm, "POST", R"({"approve_id":"93751","code":"1"})");
    shop.send(confirm, "POST", R"({"approve_id":1,"Code":"93751"})");
    shop.send(confirm, "PUT", R"({"approve_id":1,"code":"93751"})");
    shop.send("confirm%2Dpayment-c2b/", "POST", R"({"approve_id":1,"code":"93751"})");
    standtest::send({.url = shop.root() + "/v2/partner/operation/" + confirm,
                     .method = "POST",
                     .body = R"({"approve_id":1,"code":93751})"});
    const auto list = standtest::exchangesOf(shop.root());
    ASSERT_EQ(list.size(), 9);
    EXPECT_EQ(list.at(1)[u"request_body"].toString(), uR"({"approve_id":1,"code":"***"})"_s);
    EXPECT_FALSE(standtest::send({.url = shop.root() + "/stand/exchanges"}).body.contains("93751"));
    EXPECT_FALSE(standtest::send({.url = shop.root() + "/stand/ledger"}).body.contains("93751"));
}

} // namespace

// Earning, and what takes points back: refusals of returned positions.

#include "tests/stand/shop.h"
#include "tests/stand/standfixture.h"

using namespace Qt::StringLiterals;
using standtest::hundredths;
using standtest::json;
using standtest::refusalText;
using standtest::Reply;
using standtest::Shop;

namespace {

const auto blocked = u"2000000000048"_s;

int refused(const Reply& reply)
{
    EXPECT_EQ(reply.status, 200) << reply.body.constData();
    return hundredths(reply.data().value(u"refused_bonus"));
}

TEST(StandEarning, GivesAPercentageOfTheReceiptCutToHundredths)
{
    Shop shop;
    EXPECT_EQ(shop.earn({.items = {{1, 100}, {2, 0.99}}}).json(), json(u"{'data':{'paymentBonus':5.04}}"_s));
    EXPECT_EQ(shop.balance(), 30504);
}

TEST(StandEarning, GivesPointsAtTheRatioAndThePercentageSet)
{
    Shop shop({u"--ratio"_s, u"10:1"_s, u"--earn-percent"_s, u"2.50"_s});
    EXPECT_EQ(shop.earn({.items = {{1, 100.13}}}).data().value(u"paymentBonus"), QJsonValue(25.03));
    Shop other({u"--ratio"_s, u"1:3"_s});
    EXPECT_EQ(other.earn({.items = {{1, 100}}}).data().value(u"paymentBonus"), QJsonValue(1.66));
}

TEST(StandEarning, NeedsAKnownCardThatIsNotBlocked)
{
    Shop shop;
    EXPECT_EQ(refusalText(shop.earn({.card = u"2999999999999"_s})), "404 Карта не найдена");
    EXPECT_EQ(refusalText(shop.earn({.card = blocked})), "403 Карта заблокирована");
    EXPECT_EQ(shop.earn({.card = u"2000000000062"_s}).status, 200) << "a new card may earn";
    EXPECT_EQ(shop.balance(u"2000000000062"_s), 500);
}

TEST(StandEarning, OfAnEmptyReceiptIsNothing)
{
    Shop shop;
    EXPECT_EQ(shop.earn({.items = {}}).json(), json(u"{'data':{'paymentBonus':0}}"_s));
}

TEST(StandRefusal, TakesBackWhatTheReturnedPositionsEarned)
{
    Shop shop;
    shop.earn({.number = u"7"_s, .items = {{1, 100}, {2, 60}}});
    const auto reply =
        shop.refuse({.number = u"8"_s, .items = {{2, 60}}, .identifier = u"check-2"_s}, u"7"_s);
    EXPECT_EQ(reply.json(), json(u"{'data':{'receipt_number':'8','refused_bonus':3}}"_s));
    EXPECT_EQ(shop.balance(), 30500);
    EXPECT_EQ(refused(shop.refuse({.number = u"9"_s, .items = {{1, 40}}}, u"8"_s)), 200) << "by the sum";
}

TEST(StandRefusal, RestoresThePointsOfTheReturnedQuantityOfASpending)
{
    Shop shop;
    shop.forcePayment({.number = u"7"_s, .items = {{1, 100, 4}, {2, 60, 2}}}, u"80.00"_s);
    EXPECT_EQ(shop.balance(), 22000);
    // The sum of the return differs from the sale's: it is the quantity that counts.
    EXPECT_EQ(refused(shop.refuse({.number = u"8"_s, .items = {{1, 12.5, 1}}}, u"7"_s)), 1250);
    EXPECT_EQ(refused(shop.refuse({.number = u"9"_s, .items = {{1, 37.5, 3}, {2, 30, 2}}}, u"8"_s)), 6750);
    EXPECT_EQ(shop.balance(), 30000);
}

TEST(StandRefusal, AChainOfPartsAddsUpToTheWholeEarning)
{
    Shop shop;
    shop.earn({.number = u"1"_s, .items = {{1, 33.37}, {2, 66.61}, {3, 0.11}}});
    const auto earned = shop.balance() - 30000;
    ASSERT_EQ(earned, 500);
    int sum = 0;
    QString last = u"1"_s;
    const QList<QList<standtest::Item>> parts = {{{1, 11.11}}, {{2, 0.01}},  {{1, 11.12}, {2, 33.3}},
                                                 {{3, 0.11}},  {{1, 11.14}}, {{2, 33.3}}};
    for (const auto& part : parts) {
        const auto next = QString::number(last.toInt() + 1);
        sum += refused(shop.refuse({.number = next, .items = part}, last));
        last = next;
    }
    EXPECT_EQ(sum, earned);
    EXPECT_EQ(shop.balance(), 30000);
}

TEST(StandRefusal, AChainOfPartsAddsUpToTheWholeSpending)
{
    Shop shop({u"--ratio"_s, u"3:1"_s});
    shop.forcePayment({.number = u"1"_s, .items = {{1, 77.77, 7}, {2, 10, 0.75}}}, u"100.01"_s);
    int sum = 0;
    for (int i = 1; i <= 7; ++i)
        sum += refused(
            shop.refuse({.number = QString::number(i + 1), .items = {{1, 11.11, 1}}}, QString::number(i)));
    sum += refused(shop.refuse({.number = u"9"_s, .items = {{2, 3.33, 0.25}}}, u"8"_s));
    sum += refused(shop.refuse({.number = u"10"_s, .items = {{2, 6.67, 0.5}}}, u"9"_s));
    EXPECT_EQ(sum, 10001);
    EXPECT_EQ(shop.balance(), 30000);
}

TEST(StandRefusal, NeverTakesBackMoreThanWasMoved)
{
    Shop shop;
    shop.earn({.number = u"1"_s});
    EXPECT_EQ(refused(shop.refuse({.number = u"2"_s, .items = {{1, 60}}}, u"1"_s)), 300);
    EXPECT_EQ(refused(shop.refuse({.number = u"3"_s, .items = {{1, 60}}}, u"1"_s)), 200);
    EXPECT_EQ(refused(shop.refuse({.number = u"4"_s, .items = {{1, 60}}}, u"3"_s)), 0);
    EXPECT_EQ(shop.balance(), 30000);
}

TEST(StandRefusal, EveryNumberOfAChainLeadsToTheSameOperation)
{
    Shop shop;
    shop.earn({.number = u"1"_s});
    shop.refuse({.number = u"2"_s, .items = {{1, 10}}}, u"1"_s);
    shop.refuse({.number = u"3"_s, .items = {{1, 10}}}, u"2"_s);
    shop.refuse({.number = u"4"_s, .items = {{1, 10}}}, u"1"_s);
    const auto operations = shop.operations();
    ASSERT_EQ(operations.size(), 4);
    for (int i = 1; i < 4; ++i)
        EXPECT_EQ(operations.at(i)[u"root"], operations.at(0)[u"n"]);
    EXPECT_EQ(operations.at(2)[u"refers_to"].toString(), u"2"_s);
}

TEST(StandRefusal, OfPointsThatAreSpentAlreadyLeavesADebtThatLaterEarningsSettle)
{
    Shop shop;
    shop.earn({.number = u"1"_s, .items = {{1, 1000}}}); // 50 points
    shop.forcePayment({.number = u"2"_s, .items = {{1, 1000}}}, u"340.00"_s);
    EXPECT_EQ(shop.balance(), 1000);
    EXPECT_EQ(refused(shop.refuse({.number = u"3"_s, .items = {{1, 1000}}}, u"1"_s)), 5000);
    EXPECT_EQ(shop.balance(), 0);
    EXPECT_EQ(shop.debt(), -4000);

    EXPECT_EQ(shop.earn({.number = u"4"_s, .items = {{1, 600}}}).data().value(u"paymentBonus").toInt(), 30);
    EXPECT_EQ(shop.balance(), 0);
    EXPECT_EQ(shop.debt(), -1000);
    shop.earn({.number = u"5"_s, .items = {{1, 600}}});
    EXPECT_EQ(shop.balance(), 2000);
    EXPECT_EQ(shop.debt(), 0);
    EXPECT_EQ(shop.page("invariants"), json(u"{'ok':true,'violations':[],'left_by_thresholds':[]}"_s));
}

TEST(StandRefusal, OfAnUnknownOperationIsRefused)
{
    Shop shop;
    shop.earn({.number = u"1"_s});
    const auto expected = "404 Операция для отмены не найдена";
    EXPECT_EQ(refusalText(shop.refuse({.number = u"2"_s}, u"99"_s)), expected);
    EXPECT_EQ(refusalText(shop.refuse({.number = u"2"_s}, u""_s)), expected);
    EXPECT_EQ(refusalText(shop.refuse({.number = u"2"_s, .card = u"2000000000017"_s}, u"1"_s)), expected)
        << "another card's";
    EXPECT_EQ(shop.balance(), 30500);
}

TEST(StandRefusal, OfAPositionThatWasNotThereIsRefused)
{
    Shop shop;
    shop.earn({.number = u"1"_s});
    const auto reply = shop.refuse({.number = u"2"_s, .items = {{1, 50}, {3, 50}}}, u"1"_s);
    EXPECT_EQ(reply.status, 422);
    EXPECT_EQ(reply.messages(),
              json(u"[{'receipt_details':['Позиции 3 нет в отменяемой операции']}]"_s).toArray());
    EXPECT_EQ(shop.balance(), 30500);
}

TEST(StandCancellation, RestoresAllThePointsOfASpending)
{
    Shop shop;
    shop.forcePayment({.number = u"42"_s}, u"20.00"_s);
    EXPECT_EQ(shop.cancel(u"42"_s).json(),
              json(u"{'data':{'receipt_number':'42-cancel','canceled_bonus':20}}"_s));
    EXPECT_EQ(shop.balance(), 30000);
}

TEST(StandCancellation, RestoresTheRestOfAPartlyRefusedSpending)
{
    Shop shop;
    shop.forcePayment({.number = u"42"_s, .items = {{1, 100, 3}}}, u"20.00"_s);
    EXPECT_EQ(refused(shop.refuse({.number = u"43"_s, .items = {{1, 33, 1}}}, u"42"_s)), 666);
    EXPECT_EQ(shop.cancel(u"42"_s).data().value(u"canceled_bonus"), QJsonValue(13.34));
    EXPECT_EQ(refused(shop.refuse({.number = u"44"_s, .items = {{1, 33, 1}}}, u"43"_s)), 0);
    EXPECT_EQ(shop.balance(), 30000);
}

TEST(StandCancellation, UnderAnotherNumberFindsNothingLeft)
{
    Shop shop;
    shop.forcePayment({.number = u"42"_s}, u"20.00"_s);
    shop.cancel(u"42"_s);
    const auto again = shop.post("cancel-payment", standtest::cancellation(u"another"_s, u"42"_s));
    EXPECT_EQ(again.data().value(u"canceled_bonus"), QJsonValue(0));
    EXPECT_EQ(shop.balance(), 30000);
}

TEST(StandCancellation, ThatOvertookItsSpendingWins)
{
    Shop shop;
    EXPECT_EQ(shop.cancel(u"42"_s).json(),
              json(u"{'data':{'receipt_number':'42-cancel','canceled_bonus':0}}"_s));
    EXPECT_EQ(refusalText(shop.forcePayment({.number = u"42"_s}, u"20.00"_s)),
              "409 Списание по этому номеру отменено");
    EXPECT_EQ(refusalText(shop.payment({.number = u"42"_s}, u"20.00"_s)),
              "409 Списание по этому номеру отменено");
    EXPECT_EQ(shop.balance(), 30000);
    EXPECT_EQ(shop.earn({.number = u"42"_s}).status, 200) << "an earning is no spending";
}

TEST(StandCancellation, OfNoNumberStopsNothing)
{
    Shop shop;
    EXPECT_EQ(shop.cancel(u""_s).status, 200);
    EXPECT_EQ(shop.forcePayment({}, u"20.00"_s).status, 200);
}

TEST(StandCancellation, VoidsAnUnconfirmedApproval)
{
    Shop shop({u"--sms-code"_s, u"1234"_s});
    shop.payment({.number = u"42"_s}, u"20.00"_s);
    EXPECT_EQ(shop.cancel(u"42"_s).data().value(u"canceled_bonus"), QJsonValue(0));
    EXPECT_EQ(refusalText(shop.confirm(1, u"1234"_s)), "409 Списание по этому номеру отменено");
    EXPECT_EQ(shop.page("codes")[0][u"state"].toString(), u"canceled"_s);
    EXPECT_EQ(refusalText(shop.payment({.number = u"42"_s}, u"20.00"_s)),
              "409 Списание по этому номеру отменено");
    EXPECT_EQ(shop.balance(), 30000);
}

} // namespace

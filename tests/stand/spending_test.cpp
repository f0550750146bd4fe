// Spending of points without a code, and the question that comes before it.

#include "tests/stand/shop.h"
#include "tests/stand/standfixture.h"

using namespace Qt::StringLiterals;
using standtest::discounts;
using standtest::json;
using standtest::refusalText;
using standtest::Shop;
using ::testing::ElementsAre;

namespace {

QList<int> limits(const standtest::Reply& reply)
{
    QList<int> amounts;
    for (const auto& detail : reply.data().value(u"receipt_details").toArray())
        amounts.append(standtest::hundredths(detail[u"parameters"][u"max_payment_bonus"]));
    return amounts;
}

const auto blocked = u"2000000000048"_s;
const auto fresh = u"2000000000062"_s;
const auto notFilledIn = u"2000000000079"_s;
const auto unknown = u"2999999999999"_s;

TEST(StandPrePayment, TellsTheLimitOfEachPositionAndWhatWouldBeEarned)
{
    Shop shop;
    const auto reply = shop.prePayment({.items = {{1, 25}, {7, 10.5}}}, u"10.00"_s);
    EXPECT_EQ(reply.json(), json(u"{'data':{'receipt_details':["
                                 "{'position':'1','parameters':{'max_payment_bonus':12.5}},"
                                 "{'position':'7','parameters':{'max_payment_bonus':5.25}}],"
                                 "'payment_bonus':1.27}}"_s));
}

TEST(StandPrePayment, ChangesNothing)
{
    Shop shop;
    EXPECT_EQ(shop.prePayment({}, u"10.00"_s).status, 200);
    EXPECT_EQ(shop.balance(), 30000);
    EXPECT_EQ(shop.operations().size(), 0);
}

TEST(StandPrePayment, LimitsTheWholeByTheBalanceAndLeavesLaterPositionsWhatIsLeft)
{
    Shop shop;
    EXPECT_THAT(limits(shop.prePayment({.items = {{1, 500}, {2, 200}, {3, 10}}}, u"0.00"_s)),
                ElementsAre(25000, 5000, 0));
}

TEST(StandPrePayment, TellsPointsAtTheRatioAndThePercentagesSet)
{
    Shop shop({u"--ratio"_s, u"10:1"_s, u"--spend-percent"_s, u"30"_s, u"--earn-percent"_s, u"2.50"_s});
    const auto reply = shop.prePayment({.items = {{1, 9.99}}}, u"20.00"_s);
    EXPECT_THAT(limits(reply), ElementsAre(2990)) << "30 % of 9.99 is 2.99, at ten points each";
    // 2.5 % of 9.99 less the 2.00 that 20 points pay: 0.19975 of money.
    EXPECT_EQ(reply.data().value(u"payment_bonus"), QJsonValue(1.99));
}

TEST(StandPrePayment, AllowsNothingOnACardThatMayNotSpend)
{
    Shop shop;
    EXPECT_THAT(limits(shop.prePayment({.card = notFilledIn}, u"0.00"_s)), ElementsAre(0));
    EXPECT_THAT(limits(shop.prePayment({.card = fresh}, u"0.00"_s)), ElementsAre(0));
}

TEST(StandPrePayment, IsRefusedForABlockedAndForAnUnknownCard)
{
    Shop shop;
    EXPECT_EQ(refusalText(shop.prePayment({.card = blocked}, u"1.00"_s)), "403 Карта заблокирована");
    EXPECT_EQ(refusalText(shop.prePayment({.card = unknown}, u"1.00"_s)), "404 Карта не найдена");
}

TEST(StandSpending, MovesThePointsAndTellsTheDiscountOfEachPosition)
{
    Shop shop;
    const auto reply = shop.forcePayment({.number = u"42"_s, .items = {{1, 75}, {2, 25}}}, u"20.00"_s);
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.json(), json(u"{'data':{'receipt_number':'42','newRecipientDetails':["
                                 "{'position':'1','discount_bonus':15},"
                                 "{'position':'2','discount_bonus':5}]}}"_s));
    EXPECT_EQ(shop.balance(), 28000);
}

TEST(StandSpending, SpreadsADiscountThatDoesNotDivideToTheLastHundredthWithinTheLimits)
{
    Shop shop;
    EXPECT_THAT(discounts(shop.forcePayment({.items = {{1, 10}, {2, 10}, {3, 10}}}, u"10.00"_s)),
                ElementsAre(333, 333, 334));
    // All that is allowed: every position is at its limit.
    EXPECT_THAT(discounts(shop.forcePayment({.number = u"101"_s, .items = {{1, 0.99}, {2, 7.77}, {3, 0.01}}},
                                            u"4.37"_s)),
                ElementsAre(49, 388, 0));
}

TEST(StandSpending, TellsMoneyWhenTenPointsAreOneOfMoney)
{
    Shop shop({u"--ratio"_s, u"10:1"_s});
    EXPECT_THAT(discounts(shop.forcePayment({.items = {{1, 30}, {2, 10}}}, u"100.00"_s)),
                ElementsAre(750, 250));
    EXPECT_EQ(shop.balance(), 20000);
    // 10.05 points are worth 1.00: the till cuts in the same way.
    EXPECT_THAT(discounts(shop.forcePayment({.number = u"101"_s}, u"10.05"_s)), ElementsAre(100));
    EXPECT_EQ(refusalText(shop.forcePayment({.number = u"102"_s}, u"0.09"_s)),
              "422 Сумма списания должна быть больше нуля")
        << "points must not go for nothing";
}

TEST(StandSpending, OfMoreThanTheBalanceIsRefused)
{
    Shop shop;
    EXPECT_EQ(refusalText(shop.forcePayment({.items = {{1, 1000}}}, u"300.01"_s)),
              "422 Недостаточно бонусов на карте");
    EXPECT_EQ(shop.forcePayment({.items = {{1, 1000}}}, u"300.00"_s).status, 200);
    EXPECT_EQ(shop.balance(), 0);
    EXPECT_EQ(refusalText(shop.forcePayment({.number = u"101"_s}, u"0.01"_s)),
              "422 Недостаточно бонусов на карте");
}

TEST(StandSpending, OfMoreThanTheLimitsAllowIsRefused)
{
    Shop shop;
    EXPECT_EQ(refusalText(shop.forcePayment({}, u"50.01"_s)), "422 Сумма списания больше допустимой");
    EXPECT_EQ(shop.forcePayment({}, u"50.00"_s).status, 200);
    Shop other({u"--spend-percent"_s, u"20"_s});
    EXPECT_EQ(refusalText(other.forcePayment({}, u"20.01"_s)), "422 Сумма списания больше допустимой");
    EXPECT_EQ(other.forcePayment({}, u"20.00"_s).status, 200);
}

TEST(StandSpending, OfNothingOrLessIsRefused)
{
    Shop shop;
    for (const auto& points : {u"0"_s, u"0.00"_s, u"-5.00"_s}) {
        EXPECT_EQ(refusalText(shop.forcePayment({}, points)), "422 Сумма списания должна быть больше нуля");
        EXPECT_EQ(refusalText(shop.payment({}, points)), "422 Сумма списания должна быть больше нуля");
    }
    EXPECT_EQ(shop.balance(), 30000);
}

TEST(StandSpending, NeedsAnActiveCard)
{
    Shop shop;
    for (const auto* operation : {"force-payment-c2b", "payment-c2b"}) {
        const auto refusedFor = [&](const QString& card) {
            return refusalText(shop.post(operation, standtest::spending({.card = card}, u"1.00"_s)));
        };
        EXPECT_EQ(refusedFor(blocked), "403 Карта заблокирована");
        EXPECT_EQ(refusedFor(fresh), "403 Карта не активирована");
        EXPECT_EQ(refusedFor(notFilledIn), "403 Анкета владельца карты не заполнена");
        EXPECT_EQ(refusedFor(unknown), "404 Карта не найдена");
    }
    EXPECT_EQ(shop.operations().size(), 0);
}

TEST(StandSpending, RoundsSumsToHundredthsHalfAwayFromZero)
{
    Shop shop({u"--spend-percent"_s, u"100"_s});
    EXPECT_THAT(limits(shop.prePayment({.items = {{1, 1.005}, {2, 0.285}, {3, 2.0049}}}, u"0.00"_s)),
                ElementsAre(101, 29, 200));
}

} // namespace

// A request that comes again.

#include "tests/stand/shop.h"
#include "tests/stand/standfixture.h"

using namespace Qt::StringLiterals;
using standtest::Check;
using standtest::refusalText;
using standtest::Reply;
using standtest::Shop;

namespace {

constexpr auto numberUsed = "409 Номер чека уже использован другой операцией";

TEST(StandRepetition, GetsTheFirstAnswerByteForByteAndChangesNothing)
{
    Shop shop({u"--sms-code"_s, u"1234"_s});
    const auto twice = [](const auto& request) {
        const Reply first = request();
        const Reply again = request();
        EXPECT_EQ(first.status, 200) << first.body.constData();
        EXPECT_EQ(again.status, 200);
        EXPECT_EQ(again.body, first.body);
    };
    const Check sale{.number = u"1"_s, .items = {{1, 33}, {2, 67}}};
    twice([&] { return shop.forcePayment(sale, u"20.00"_s); });
    EXPECT_EQ(shop.balance(), 28000);
    twice([&] { return shop.earn(sale); });
    EXPECT_EQ(shop.balance(), 28500);
    twice([&] { return shop.refuse({.number = u"2"_s, .items = {{1, 33}}}, u"1"_s); });
    EXPECT_EQ(shop.balance(), 28335);
    twice([&] { return shop.cancel(u"1"_s); });
    EXPECT_EQ(shop.balance(), 30335);
    const auto approval = shop.payment({.number = u"3"_s}, u"20.00"_s);
    twice([&] { return shop.confirm(1, u"1234"_s); });
    EXPECT_EQ(shop.balance(), 28335);
    EXPECT_EQ(shop.payment({.number = u"3"_s}, u"20.00"_s).body, approval.body);
    EXPECT_EQ(shop.page("codes").toArray().size(), 1);
    EXPECT_EQ(shop.operations().size(), 5);
}

TEST(StandRepetition, WithAnotherReceiptOrAmountIsRefused)
{
    Shop shop({u"--sms-code"_s, u"1234"_s});
    const Check other{.identifier = u"check-2"_s};
    const Check dearer{.items = {{1, 101}}};
    shop.forcePayment({}, u"20.00"_s);
    EXPECT_EQ(refusalText(shop.forcePayment({}, u"20.01"_s)), numberUsed);
    EXPECT_EQ(refusalText(shop.forcePayment(other, u"20.00"_s)), numberUsed);
    shop.earn({});
    EXPECT_EQ(refusalText(shop.earn(dearer)), numberUsed);
    EXPECT_EQ(refusalText(shop.earn(other)), numberUsed);
    shop.refuse({.number = u"101"_s}, u"100"_s);
    EXPECT_EQ(refusalText(shop.refuse({.number = u"101"_s, .items = {{1, 101}}}, u"100"_s)), numberUsed);
    EXPECT_EQ(refusalText(shop.refuse({.number = u"101"_s, .identifier = u"check-2"_s}, u"100"_s)),
              numberUsed);
    EXPECT_EQ(refusalText(shop.refuse({.number = u"101"_s}, u"101"_s)), numberUsed);
    shop.payment({.number = u"102"_s}, u"20.00"_s);
    shop.confirm(1, u"1234"_s);
    EXPECT_EQ(refusalText(shop.payment({.number = u"102"_s}, u"20.01"_s)), numberUsed);
    EXPECT_EQ(refusalText(shop.payment({.number = u"102"_s, .identifier = u"check-2"_s}, u"20.00"_s)),
              numberUsed);
    shop.post("cancel-payment", standtest::cancellation(u"103"_s, u"99"_s));
    EXPECT_EQ(refusalText(shop.post("cancel-payment", standtest::cancellation(u"103"_s, u"98"_s))),
              numberUsed);
    EXPECT_EQ(shop.operations().size(), 5);
}

TEST(StandRepetition, OfTheNumberWithAnotherCardOrOperationIsAnotherRequest)
{
    Shop shop;
    EXPECT_EQ(shop.forcePayment({}, u"20.00"_s).status, 200);
    EXPECT_EQ(shop.forcePayment({.card = u"2000000000017"_s}, u"10.00"_s).status, 200);
    EXPECT_EQ(shop.earn({}).status, 200);
    EXPECT_EQ(shop.operations().size(), 3);
}

TEST(StandRepetition, DoesNotRememberWhatFailed)
{
    Shop shop;
    EXPECT_EQ(shop.forcePayment({}, u"50.01"_s).status, 422);
    EXPECT_EQ(shop.forcePayment({.identifier = u"check-2"_s}, u"50.00"_s).status, 200);
    EXPECT_EQ(shop.refuse({.number = u"8"_s}, u"9"_s).status, 404);
    shop.earn({.number = u"9"_s});
    EXPECT_EQ(shop.refuse({.number = u"8"_s}, u"9"_s).status, 200);
}

} // namespace

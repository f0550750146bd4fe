// What stays spent because a till does not tell of every return.

#include "tests/stand/books.h"
#include "tests/stand/shop.h"
#include "tests/stand/standfixture.h"

using namespace Qt::StringLiterals;
using standtest::Check;
using standtest::inOrder;
using standtest::Item;
using standtest::json;
using standtest::Shop;

namespace {

/// A receipt of one position that points are spent on and that earns, as a till numbers them.
class StandThresholds : public ::testing::Test
{
protected:
    void sell(const Item& item, const QString& points)
    {
        EXPECT_EQ(
            shop.forcePayment({.number = u"1"_s, .items = {item}, .identifier = u"R-1"_s}, points).status,
            200);
        EXPECT_EQ(shop.earn({.number = u"2"_s, .items = {item}, .identifier = u"R-1"_s}).status, 200);
    }
    /// Its refusal as a till sends it; of the spending too, unless that is worth too little.
    void takeBack(const Item& item, bool spendingToo)
    {
        const QString id = u"V-%1"_s.arg(++m_returns);
        const auto refuse = [&](int number, const QString& refused) {
            const Check check{.number = QString::number(number), .items = {item}, .identifier = id};
            EXPECT_EQ(shop.refuse(check, refused).status, 200);
        };
        refuse(100 * m_returns, u"2"_s);
        if (spendingToo)
            refuse(100 * m_returns + 1, u"1"_s);
    }
    [[nodiscard]] QJsonValue left() const { return shop.page("invariants")[u"left_by_thresholds"]; }

    Shop shop;

private:
    int m_returns = 0;
};

} // namespace

TEST_F(StandThresholds, AreNamedWithWhatTheyLeftWhenAllOfAPositionCameBack)
{
    sell({1, 3, 3}, u"0.02"_s);
    takeBack({1, 1, 1}, false); // its part of the points is 0.0066
    takeBack({1, 1, 1}, true);
    EXPECT_EQ(shop.page("invariants"), json(inOrder)) << "the rest may still come";
    takeBack({1, 1, 1}, true);
    EXPECT_EQ(left(), json(u"['0.01 points of position 1 of receipt R-1']"_s));
    EXPECT_EQ(shop.page("invariants")[u"ok"], QJsonValue(true)) << "nothing is wrong with the books";
}

TEST_F(StandThresholds, OfAPartThatWasNotListedAreToldByTheSumsThatCameBack)
{
    sell({1, 0.04, 1}, u"0.01"_s);
    takeBack({1, 0.01, 0.3}, false);
    takeBack({1, 0.03, 0.6}, true); // 0.1 of it cost nothing
    EXPECT_EQ(left(), json(u"['0.01 points of position 1 of receipt R-1']"_s));
}

TEST_F(StandThresholds, AreNotTakenForWhatIsStillMissing)
{
    sell({1, 3, 3}, u"1.50"_s);
    takeBack({1, 3, 3}, false);
    EXPECT_EQ(left(), json(u"[]"_s)) << "the refusal of 1.50 waits somewhere";
}

TEST_F(StandThresholds, AreNotBlamedForALittleThatNoReturnWasToldOf)
{
    sell({1, 3, 3}, u"0.01"_s);
    takeBack({1, 3, 3}, false);
    EXPECT_EQ(left(), json(u"[]"_s)) << "0.01 at once is worth telling, so it waits somewhere";
}

TEST_F(StandThresholds, LeaveNothingWhereEveryReturnWasTold)
{
    sell({1, 3, 3}, u"1.00"_s);
    for (int i = 0; i < 3; ++i)
        takeBack({1, 1, 1}, true);
    EXPECT_EQ(shop.page("invariants"), json(inOrder));
}

TEST_F(StandThresholds, LeaveNothingOfACanceledSpending)
{
    sell({1, 3, 3}, u"0.02"_s);
    takeBack({1, 3, 3}, false);
    EXPECT_EQ(left(), json(u"[]"_s)) << "0.02 are more than one return may keep";
    shop.cancel(u"1"_s);
    EXPECT_EQ(shop.page("invariants"), json(inOrder));
}

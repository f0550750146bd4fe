#include "till/checkout/spendingshares.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Qt::StringLiterals;

namespace till {

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

using Shares = QList<DocumentImpact::PositionSum>;

/// Positions 1 for 250 and 2 for 50, with 10 off.
Document receipt()
{
    Document document(SaleReceipt, u"R-1"_s);
    document.addGoodsItem(QSharedPointer<GoodsItem>::create(1, u"1"_s, u"Чай"_s, 250, 1));
    const auto honey = QSharedPointer<GoodsItem>::create(2, u"2"_s, u"Мёд"_s, 25, 2);
    honey->setDiscount(10);
    document.addGoodsItem(honey);
    return document;
}

std::string fault(const Document& document, double total, const Shares& shares, double worth)
{
    const auto detail = QSharedPointer<DocumentImpactDetail>::create();
    detail->setDiscountSum(total);
    BonusImpact impact(detail);
    for (const auto& [position, sum] : shares)
        impact.addDetailForPosition(position, sum);
    return shareFault(impact, document, worth).toStdString();
}

/// Of a discount of 50 on that receipt.
std::string fault(const Shares& shares) { return fault(receipt(), 50, shares, 50); }

} // namespace

TEST(SpendingShares, OfThisReceiptsPositionsThatComeToTheDiscountAreRight)
{
    EXPECT_EQ(fault({{1, 50}}), "");
    EXPECT_EQ(fault({{1, 30}, {2, 20}}), "");
    EXPECT_EQ(fault({{2, 40}, {1, 10}}), "") << "all that position 2 costs";
    EXPECT_EQ(fault({{1, 0}, {2, 0}, {1, 50}}), "");
}

TEST(SpendingShares, MayBeAHundredthOffInAllHoweverManyTheyAre)
{
    EXPECT_EQ(fault({{1, 30.01}, {2, 20}}), "");
    EXPECT_EQ(fault({{1, 29.99}, {2, 20}}), "");
    EXPECT_EQ(fault({{1, 30.01}, {2, 20.01}}), "the shares come to 50.02, the discount is 50.00");
    EXPECT_EQ(fault({{1, 29.99}, {2, 19.99}}), "the shares come to 49.98, the discount is 50.00");
    EXPECT_EQ(fault(Shares(5000, {1, 0})), "the shares come to 0.00, the discount is 50.00");
    EXPECT_EQ(fault({}), "the shares come to 0.00, the discount is 50.00");
}

TEST(SpendingShares, AreAddedUpBeforeTheyAreRounded) { EXPECT_EQ(fault(Shares(12500, {1, 0.004})), ""); }

TEST(SpendingShares, OfPositionsThatTheReceiptDoesNotHaveAreWrong)
{
    EXPECT_EQ(fault({{0, 50}}), "a share is position 0's, which the receipt does not have");
    EXPECT_EQ(fault({{3, 50}}), "a share is position 3's, which the receipt does not have");
    EXPECT_EQ(fault({{-1, 50}}), "a share is position -1's, which the receipt does not have");
    EXPECT_EQ(fault({{1, 50}, {3, 0}}), "a share is position 3's, which the receipt does not have");
}

TEST(SpendingShares, ThatAreNoAmountsAreWrong)
{
    EXPECT_EQ(fault({{1, notANumber}}), "the share of position 1 is nan");
    EXPECT_EQ(fault({{1, 50}, {2, notANumber}}), "the share of position 2 is nan");
    EXPECT_EQ(fault({{1, infinity}}), "the share of position 1 is inf");
    EXPECT_EQ(fault({{1, infinity}, {2, -infinity}}), "the share of position 1 is inf");
    EXPECT_EQ(fault({{1, 1e15}}), "the share of position 1 is 1e+15");
    EXPECT_EQ(fault({{1, 1e308}, {2, 1e308}}), "the share of position 1 is 1e+308");
    EXPECT_EQ(fault({{1, 1050}, {2, -1000}}), "the share of position 2 is -1000");
    EXPECT_EQ(fault({{1, -1.0 / 3}}), "the share of position 1 is -0.333333333333");
    EXPECT_EQ(fault({{1, 50.001}, {2, -0.001}}), "the share of position 2 is -0.001");
}

TEST(SpendingShares, OfAPositionThatCostsLessAreWrong)
{
    EXPECT_EQ(fault({{2, 50}}), "position 2 costs 40 and gets 50") << "less its own discount";
    EXPECT_EQ(fault({{2, 40.01}, {1, 9.99}}), "position 2 costs 40 and gets 40.01");
    EXPECT_EQ(fault({{2, 25}, {1, 0}, {2, 25}}), "position 2 costs 40 and gets 50") << "together";
    EXPECT_EQ(fault(receipt(), 300, {{1, 300}}, 300), "position 1 costs 250 and gets 300");
    EXPECT_EQ(fault({{1, 8e13}, {1, 8e13}}), "position 1 costs 250 and gets 1.6e+14") << "which is no amount";
}

TEST(SpendingShares, OfAPositionThatBearsABonusDiscountAlreadyMustFitBesideIt)
{
    const Document document = receipt();
    document.getGoodsItemByPosnum(1)->setBonusImpactSum(220);
    EXPECT_EQ(fault(document, 30, {{1, 30}}, 30), "");
    EXPECT_EQ(fault(document, 31, {{1, 31}}, 31), "position 1 costs 30 and gets 31");
}

TEST(SpendingShares, OfADiscountThatIsNotWhatWasAskedForAreWrong)
{
    EXPECT_EQ(fault(receipt(), 50, {{1, 50}}, 50.009), "") << "what points are worth is cut";
    EXPECT_EQ(fault(receipt(), 50, {{1, 50}}, 40), "the discount is 50, the points asked for are worth 40");
    EXPECT_EQ(fault(receipt(), notANumber, {{1, 50}}, 50),
              "the discount is nan, the points asked for are worth 50");
    EXPECT_EQ(fault(receipt(), notANumber, {}, 0), "the discount is nan, the points asked for are worth 0");
    EXPECT_EQ(fault(receipt(), 0, {}, notANumber), "the discount is 0, the points asked for are worth nan");
    EXPECT_EQ(fault(receipt(), -infinity, {}, -infinity),
              "the discount is -inf, the points asked for are worth -inf");
    EXPECT_EQ(fault(receipt(), 1e15, {{1, 50}}, 1e15),
              "the discount is 1e+15, the points asked for are worth 1e+15");
    EXPECT_EQ(fault(receipt(), 50, {{1, 50}}, notANumber),
              "the discount is 50, the points asked for are worth nan");
}

TEST(SpendingShares, OnAReceiptWhoseSumsAreNoneAreWrong)
{
    Document document(SaleReceipt, u"R-1"_s);
    document.addGoodsItem(QSharedPointer<GoodsItem>::create(1, u"1"_s, u"Чай"_s, 1e308, 2));
    EXPECT_EQ(fault(document, 50, {{1, 50}}, 50), "position 1 costs inf and gets 50");
}

} // namespace till

#include "host/core/goodsitem.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

GoodsItem item(double price, double quantity) { return {1, u"4600"_s, u"Молоко"_s, price, quantity}; }

TEST(GoodsItem, HasWhatItWasMadeOf)
{
    const GoodsItem milk(7, u"4600"_s, u"Молоко"_s, 89.9, 2);
    EXPECT_EQ(milk.getPosnum(), 7);
    EXPECT_EQ(milk.getArticul(), u"4600"_s);
    EXPECT_EQ(milk.getPrice(), 89.9);
    EXPECT_EQ(milk.getBquant(), 2);
    EXPECT_EQ(milk.getDiscountSum(), 0);
    EXPECT_EQ(milk.getBonusImpactSum(), 0);
}

TEST(GoodsItem, CostsPriceTimesQuantityOnHundredths)
{
    EXPECT_EQ(item(89.9, 2).getSumb(), 179.8);
    EXPECT_EQ(item(0.1 + 0.2, 1).getSumb(), 0.3);
    EXPECT_EQ(item(100, 0.333).getSumb(), 33.3);
    EXPECT_EQ(item(99.99, 0.333).getSumb(), 33.3);
    EXPECT_EQ(item(0.67, 1.5).getSumb(), 1.01);
    EXPECT_EQ(item(5, 0).getSumb(), 0);
}

TEST(GoodsItem, ThatIsAPartOfAnotherCostsItsPartOfThatOne)
{
    GoodsItem apples = item(119, 0.335);
    EXPECT_EQ(apples.ownGrossSum(), std::nullopt);
    EXPECT_EQ(apples.getGrossSum(), 39.87);
    apples.setGrossSum(39.86);
    apples.setDiscount(0.86);
    EXPECT_EQ(apples.getGrossSum(), 39.86);
    EXPECT_EQ(apples.getSumb(), 39);
    EXPECT_EQ(apples.getBquant(), 0.335);
    apples.setGrossSum(std::nullopt);
    EXPECT_EQ(apples.getSumb(), 39.01);
}

TEST(GoodsItem, CostsLessByEveryDiscount)
{
    GoodsItem milk = item(89.9, 2);
    milk.setDiscount(9.8);
    EXPECT_EQ(milk.getSumb(), 170);
    milk.setBonusImpactSum(20.01);
    EXPECT_EQ(milk.getSumb(), 149.99);
}

TEST(GoodsItem, CountsTheBonusDiscountAmongItsDiscounts)
{
    GoodsItem milk = item(89.9, 2);
    milk.setDiscount(0.1);
    milk.setBonusImpactSum(0.2);
    EXPECT_EQ(milk.getBonusImpactSum(), 0.2);
    EXPECT_EQ(milk.getDiscountSum(), 0.3);
}

TEST(GoodsItem, CostsExactlyNothingWhenTheDiscountsTakeItAll)
{
    GoodsItem milk = item(0.1, 3);
    milk.setDiscount(0.1);
    milk.setBonusImpactSum(0.2);
    EXPECT_EQ(milk.getSumb(), 0);
}

TEST(GoodsItem, RoundsThePriceBeforeItTakesTheDiscountsOff)
{
    GoodsItem milk = item(0.125, 1);
    milk.setDiscount(0.2);
    EXPECT_EQ(milk.getSumb(), -0.07); // not 0.125 - 0.2 rounded, which is -0.08
}

TEST(GoodsItem, TellsItsNameWholeOrCutToThePaper)
{
    const QString longName = u"Молоко пастеризованное отборное 3,4-4,5%"_s;
    const GoodsItem milk(1, u"4600"_s, longName, 1, 1);
    EXPECT_EQ(milk.getName(false), longName);
    EXPECT_EQ(milk.getName(true), u"Молоко пастеризованное о"_s);
    EXPECT_EQ(item(1, 1).getName(true), u"Молоко"_s);
}

} // namespace

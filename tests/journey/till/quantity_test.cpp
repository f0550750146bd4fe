#include "tests/journey/till/kepttill.h"

#include <limits>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

const char* const rule = "Позиция 1: количество — от 0,001 до 999 999,999, не мельче тысячных";

Step saleOf(double quantity, double price = 1000) { return openSale("R-1", {tea(price, quantity)}); }

Step returnOf(double quantity) { return openReturn("V-1", "R-1", {position(1, quantity)}); }

/// What the last of the steps says.
std::string errorAfter(const Steps& steps) { return errorOf(lastStep(steps)); }

/// Stores a sale as a version that looked at no quantity did.
void storeSale(const KeptTill& till, double price, double quantity)
{
    storage::setDataDirectory(till.directory());
    const auto sale = QSharedPointer<Document>::create(SaleReceipt, u"R-1"_s);
    sale->addGoodsItem(QSharedPointer<GoodsItem>::create(1, u"1"_s, u"Чай"_s, price, quantity));
    DocumentsDao().store(sale);
}

/// Leaves it open, as such a version did.
void leaveOpen(const KeptTill& till, double price, double quantity)
{
    storage::setDataDirectory(till.directory());
    const auto sale = QSharedPointer<Document>::create(SaleReceipt, u"R-1"_s);
    sale->addGoodsItem(QSharedPointer<GoodsItem>::create(1, u"1"_s, u"Чай"_s, price, quantity));
    SaveToFileLogic().save(sale, {});
}

} // namespace

TEST(TillQuantity, BelowAThousandthOrBetweenTwoIsNotSold)
{
    for (const double quantity : {0.0004, 0.0005, 0.0, -1.0, 1.0004, 1000000.0, 1e300}) {
        EXPECT_EQ(errorAfter(saleOf(quantity)), rule) << quantity;
        EXPECT_EQ(errorAfter(saleOf(1) + setPositions({tea(1000, quantity)})), rule) << quantity;
    }
    EXPECT_EQ(errorAfter(saleOf(0.001) + pay()), "");
    EXPECT_EQ(errorAfter(saleOf(999999.999, 0.01) + pay()), "");
}

TEST(TillQuantity, BelowAThousandthDoesNotComeBack)
{
    EXPECT_EQ(errorAfter(saleOf(1) + pay() + returnOf(0.0004)), rule);
    EXPECT_EQ(errorAfter(saleOf(1) + pay() + returnOf(0.5004)), rule);
    EXPECT_EQ(errorAfter(saleOf(0.001) + pay() + returnOf(0.001)), "");
}

TEST(TillQuantity, BelowAThousandthThatWasSoldOnceCannotComeBackAndTheTillGoesOn)
{
    const KeptTill till;
    storeSale(till, 1000, 0.0004);
    const Ran ran = till.runSteps(returnOf(0.0004) + returnOf(0.001) + openSale("R-2", {tea(1000)}) + pay());
    const QList<QJsonObject> lines = linesOf(ran);
    ASSERT_EQ(lines.size(), 5) << ran.err.toStdString();
    EXPECT_EQ(errorOf(lines[0]), rule);
    EXPECT_EQ(errorOf(lines[1]), "Позиция 1: количество в чеке не в целых тысячных, возврат не возможен");
    EXPECT_TRUE(lines[3].value(u"ok"_s).toBool());
}

TEST(TillQuantity, BelowAThousandthOnAnOpenReceiptThatIsFoundIsNotPaid)
{
    const KeptTill till;
    leaveOpen(till, 1000, 0.0004);
    EXPECT_EQ(errorOf(lastStep(till.runSteps(pay()))), rule);
    EXPECT_EQ(errorOf(lastStep(till.runSteps(setPositions({tea(1000, 0.001)}) + pay()))), "");
}

TEST(TillAmount, ThatIsNoneIsNeitherSoldNorPaid)
{
    const char* const none = "Позиция 1: цена, скидка или сумма слишком велика или не число";
    EXPECT_EQ(errorAfter(saleOf(2, 1e308)), none);
    EXPECT_EQ(errorAfter(saleOf(0.001, 1e308)), none);
    EXPECT_EQ(errorAfter(saleOf(999999.999, 80000000) + pay()), "");
    const Goods island = goods("Остров", 80000000, 999999);
    EXPECT_EQ(errorAfter(openSale("R-1", {island, island})), "Сумма чека слишком велика");

    const KeptTill till;
    for (const double price :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), -1e308}) {
        leaveOpen(till, price, 1);
        EXPECT_EQ(errorOf(lastStep(till.runSteps(pay()))), none) << price;
    }
    EXPECT_EQ(errorOf(lastStep(till.runSteps(rollback()))), "");
}

TEST(TillAmount, OfADiscountIsNotAboveTheCostAndNoneIsBelowZero)
{
    const char* const rule = "Позиция 1: цена и скидка — не меньше нуля, скидка — не больше стоимости";
    for (const Goods& goods : {tea(100).less(100.01), tea(100).less(150), tea(100).less(-1), tea(-100),
                               tea(100, 0.5).less(50.01), tea(0).less(0.01)}) {
        EXPECT_EQ(errorAfter(openSale("R-1", {goods})), rule);
        EXPECT_EQ(errorAfter(saleOf(1) + setPositions({goods})), rule);
    }
    for (const Goods& goods : {tea(100).less(100), tea(0), tea(33.33, 0.337).less(11.23)})
        EXPECT_EQ(errorAfter(openSale("R-1", {goods})), "");
}

TEST(TillAmount, OfPointsThatIsNoneIsNotSpent)
{
    for (const double points : {1e308, -1e308, -5.0, 1e15})
        EXPECT_EQ(errorAfter(sale + card + spendPoints(points)),
                  "Баллы для списания: число меньше нуля, слишком велико или не число")
            << points;
    EXPECT_EQ(errorAfter(sale + card + spendPoints(1e308) + spendPoints(100)), "") << "nothing was asked";
}

} // namespace tilltest

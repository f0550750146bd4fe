#include "tests/journey/till/kepttill.h"

#include <limits>

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

const QByteArray pay = R"({ "do": "pay" })";
const char* const rule = "Позиция 1: количество — от 0,001 до 999 999,999, не мельче тысячных";

QByteArray positions(const QByteArray& quantity, const QByteArray& price = "1000")
{
    return R"("positions": [ { "articul": "1", "name": "Чай", "price": )" + price + R"(, "quantity": )" +
           quantity + " } ]";
}

QByteArray saleOf(const QByteArray& quantity, const QByteArray& price = "1000")
{
    return R"({ "do": "openSale", "id": "R-1", )" + positions(quantity, price) + " }";
}

QByteArray returnOf(const QByteArray& quantity)
{
    return R"({ "do": "openReturn", "id": "V-1", "of": "R-1", "positions": [ { "posnum": 1, "quantity": )" +
           quantity + " } ] }";
}

/// What the last of the steps says.
std::string errorOf(const Ran& ran)
{
    const QList<QJsonObject> lines = linesOf(ran);
    return lines.size() < 2 ? "no line: " + ran.err.toStdString()
                            : lines[lines.size() - 2].value(u"error"_s).toString().toStdString();
}

std::string errorOf(const QByteArray& steps) { return errorOf(runJson(scenarioOfSteps(steps))); }

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
    for (const QByteArray quantity : {"0.0004", "0.0005", "0", "-1", "1.0004", "1000000", "1e300"}) {
        EXPECT_EQ(errorOf(saleOf(quantity)), rule) << quantity.toStdString();
        EXPECT_EQ(errorOf(saleOf("1") + R"(, { "do": "setPositions", )" + positions(quantity) + " }"), rule)
            << quantity.toStdString();
    }
    EXPECT_EQ(errorOf(saleOf("0.001") + ", " + pay), "");
    EXPECT_EQ(errorOf(saleOf("999999.999", "0.01") + ", " + pay), "");
}

TEST(TillQuantity, BelowAThousandthDoesNotComeBack)
{
    EXPECT_EQ(errorOf(saleOf("1") + ", " + pay + ", " + returnOf("0.0004")), rule);
    EXPECT_EQ(errorOf(saleOf("1") + ", " + pay + ", " + returnOf("0.5004")), rule);
    EXPECT_EQ(errorOf(saleOf("0.001") + ", " + pay + ", " + returnOf("0.001")), "");
}

TEST(TillQuantity, BelowAThousandthThatWasSoldOnceCannotComeBackAndTheTillGoesOn)
{
    const KeptTill till;
    storeSale(till, 1000, 0.0004);
    const Ran ran = till.runSteps(returnOf("0.0004") + ", " + returnOf("0.001") + ", " +
                                  R"({ "do": "openSale", "id": "R-2", )" + positions("1") + " }, " + pay);
    const QList<QJsonObject> lines = linesOf(ran);
    ASSERT_EQ(lines.size(), 5) << ran.err.toStdString();
    EXPECT_EQ(lines[0].value(u"error"_s).toString().toStdString(), rule);
    EXPECT_EQ(lines[1].value(u"error"_s).toString(),
              u"Позиция 1: количество в чеке не в целых тысячных, возврат не возможен"_s);
    EXPECT_TRUE(lines[3].value(u"ok"_s).toBool());
}

TEST(TillQuantity, BelowAThousandthOnAnOpenReceiptThatIsFoundIsNotPaid)
{
    const KeptTill till;
    leaveOpen(till, 1000, 0.0004);
    EXPECT_EQ(errorOf(till.runSteps(pay)), rule);
    EXPECT_EQ(errorOf(till.runSteps(R"({ "do": "setPositions", )" + positions("0.001") + " }, " + pay)), "");
}

TEST(TillAmount, ThatIsNoneIsNeitherSoldNorPaid)
{
    const char* const none = "Позиция 1: цена, скидка или сумма слишком велика или не число";
    EXPECT_EQ(errorOf(saleOf("2", "1e308")), none);
    EXPECT_EQ(errorOf(saleOf("0.001", "1e308")), none);
    EXPECT_EQ(errorOf(saleOf("999999.999", "80000000") + ", " + pay), "");
    const QByteArray island =
        R"({ "articul": "1", "name": "Остров", "price": 80000000, "quantity": 999999 })";
    EXPECT_EQ(
        errorOf(R"({ "do": "openSale", "id": "R-1", "positions": [ )" + island + ", " + island + " ] }"),
        "Сумма чека слишком велика");

    const KeptTill till;
    for (const double price :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), -1e308}) {
        leaveOpen(till, price, 1);
        EXPECT_EQ(errorOf(till.runSteps(pay)), none) << price;
    }
    EXPECT_EQ(errorOf(till.runSteps(R"({ "do": "rollback" })")), "");
}

} // namespace tilltest

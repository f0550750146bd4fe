#include "till/checkout/returnparts.h"

#include "host/core/document.h"
#include "host/utils/money.h"
#include "host/utils/quantity.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

using namespace Qt::StringLiterals;

namespace till {

namespace {

using Returns = QList<QSharedPointer<AbstractDocument>>;

GoodsItem sold(double price, double quantity, double discount = 0, double bonusDiscount = 0)
{
    GoodsItem item(1, u"4605"_s, u"Яблоки"_s, price, quantity);
    item.setDiscount(discount);
    item.setBonusImpactSum(bonusDiscount);
    return item;
}

/// The return of so much of it, after these.
QSharedPointer<GoodsItem> next(const GoodsItem& item, double quantity, const Returns& before = {})
{
    return returnPart(item, quantity, returnedBefore(item.getPosnum(), before));
}

void close(Returns& returns, const QSharedPointer<GoodsItem>& part)
{
    const auto document = QSharedPointer<Document>::create(ReturnReceipt, u"V"_s);
    document->addGoodsItem(part);
    returns.append(document);
}

template <class Play>
std::string refusal(Play play)
{
    try {
        play();
    } catch (const std::exception& failure) {
        return failure.what();
    }
    return "none";
}

std::int64_t hundredths(double amount) { return utils::toHundredths(amount).value(); }

/// A sale of one to six positions by weight, with discounts that leave each something to pay or just nothing.
class RandomSale
{
public:
    explicit RandomSale(unsigned seed)
        : m_random(seed)
        , m_sale(QSharedPointer<Document>::create(SaleReceipt, u"R-1"_s))
    {
        const auto positions = upTo(5) + 1;
        for (int posnum = 1; posnum <= positions; ++posnum) {
            const auto item = QSharedPointer<GoodsItem>::create(
                posnum, u"1"_s, u"Чай"_s, static_cast<double>(upTo(99'999) + 1) / 100,
                utils::inUnits(upTo(upTo(3) == 0 ? 20 : 9'999) + 1));
            const auto gross = hundredths(item->getGrossSum());
            const auto discount = upTo(gross);
            const auto bonusDiscount = upTo(gross - discount);
            item->setDiscount(upTo(1) == 0 ? 0 : static_cast<double>(discount) / 100);
            item->setBonusImpactSum(static_cast<double>(bonusDiscount) / 100);
            m_sale->addGoodsItem(item);
        }
    }

    [[nodiscard]] const Document& sale() const { return *m_sale; }

    /// All of it, in one to eight returns of random parts.
    Returns returnAll()
    {
        Returns returns;
        for (auto left = upTo(7); left >= 0; --left) {
            const auto document = QSharedPointer<Document>::create(ReturnReceipt, u"V"_s);
            for (const auto& item : m_sale->getGoodsItems()) {
                const auto before = returnedBefore(item->getPosnum(), returns);
                const auto rest = utils::toThousandths(item->getBquant()).value() - before.thousandths;
                const auto now = left == 0 ? rest : upTo(rest);
                if (now > 0)
                    document->addGoodsItem(returnPart(*item, utils::inUnits(now), before));
            }
            returns.append(document);
        }
        return returns;
    }

private:
    std::int64_t upTo(std::int64_t most)
    {
        return std::uniform_int_distribution<std::int64_t>(0, most)(m_random);
    }

    std::mt19937 m_random;
    QSharedPointer<Document> m_sale;
};

} // namespace

TEST(ReturnParts, OfWholeUnitsAreTheUnits)
{
    const auto part = next(sold(33.33, 3, 0.99), 1);
    EXPECT_EQ(part->getPosnum(), 1);
    EXPECT_EQ(part->getArticul(), u"4605"_s);
    EXPECT_EQ(part->getName(false), u"Яблоки"_s);
    EXPECT_EQ(part->getPrice(), 33.33);
    EXPECT_EQ(part->getBquant(), 1);
    EXPECT_EQ(part->getDiscountSum(), 0.33);
    EXPECT_EQ(part->getSumb(), 33);
}

TEST(ReturnParts, AreTheCutOfTheWholeUpToThereLessWhatWentBefore)
{
    const GoodsItem apples = sold(119, 1.005, 0, 0.05); // 119.60, less 0.05
    Returns returns;
    const std::vector<std::array<double, 3>> parts = {
        {0.335, 39.85, 0.01}, {0.335, 39.85, 0.02}, {0.335, 39.85, 0.02}};
    for (const auto& [quantity, sum, bonusDiscount] : parts) {
        const auto part = next(apples, quantity, returns);
        EXPECT_EQ(part->getSumb(), sum);
        EXPECT_EQ(part->getBonusImpactSum(), bonusDiscount);
        close(returns, part);
    }
}

TEST(ReturnParts, AddUpToTheSaleWhateverItsWeightsAndParts)
{
    for (unsigned seed = 1; seed <= 1000; ++seed) {
        RandomSale random(seed);
        const Returns returns = random.returnAll();
        double sum = 0;
        for (const auto& item : random.sale().getGoodsItems()) {
            const ReturnedPart back = returnedBefore(item->getPosnum(), returns);
            ASSERT_EQ(back.thousandths, utils::toThousandths(item->getBquant()));
            ASSERT_EQ(back.sum, utils::toHundredths(item->getSumb())) << "receipt " << seed;
            ASSERT_EQ(back.discount, utils::toHundredths(item->getDiscount())) << "receipt " << seed;
            ASSERT_EQ(back.bonusDiscount, utils::toHundredths(item->getBonusImpactSum()))
                << "receipt " << seed;
        }
        for (const auto& receipt : returns)
            sum += receipt->getSum();
        ASSERT_EQ(utils::toHundredths(sum), utils::toHundredths(random.sale().getSum()))
            << "receipt " << seed;
    }
}

TEST(ReturnParts, NeverPayLessThanNothingAndNeverMoreThanTheirShareAndAHundredth)
{
    for (unsigned seed = 1; seed <= 1000; ++seed) {
        RandomSale random(seed);
        for (const auto& receipt : random.returnAll()) {
            for (const auto& part : receipt->getGoodsItems()) {
                const auto whole = random.sale().getGoodsItemByPosnum(part->getPosnum());
                const double share = part->getBquant() / whole->getBquant();
                ASSERT_GE(part->getSumb(), 0) << "receipt " << seed;
                ASSERT_GE(part->getDiscount(), 0) << "receipt " << seed;
                ASSERT_GE(part->getBonusImpactSum(), 0) << "receipt " << seed;
                ASSERT_LT(std::abs(part->getSumb() - whole->getSumb() * share), 0.01 + 1e-9)
                    << "receipt " << seed;
            }
        }
    }
}

TEST(ReturnParts, TakeTheRestAfterPartsThatAnEarlierVersionRoundedByThemselves)
{
    const GoodsItem apples = sold(0.99, 0.3); // 0.30
    Returns returns;
    for (int i = 0; i < 2; ++i)
        close(returns,
              QSharedPointer<GoodsItem>::create(1, u"4605"_s, u"Яблоки"_s, 0.99, 0.146)); // 0.14 each
    EXPECT_EQ(next(apples, 0.008, returns)->getSumb(), 0.02);
}

TEST(ReturnParts, PayNothingWhereAnEarlierVersionPaidTooMuch)
{
    const GoodsItem apples = sold(1.1, 0.014); // 0.02
    Returns returns;
    for (int i = 0; i < 2; ++i)
        close(returns, QSharedPointer<GoodsItem>::create(1, u"4605"_s, u"Яблоки"_s, 1.1, 0.005)); // 0.01 each
    EXPECT_EQ(next(apples, 0.002, returns)->getSumb(), 0);
    EXPECT_EQ(next(apples, 0.004, returns)->getSumb(), 0);
}

TEST(ReturnParts, PayNothingOfWhatCostNothingThoughAnEarlierVersionDid)
{
    Returns returns;
    close(returns, QSharedPointer<GoodsItem>::create(1, u"4605"_s, u"Яблоки"_s, 10, 1));
    EXPECT_EQ(next(sold(10, 2, 20), 1, returns)->getSumb(), 0);
}

TEST(ReturnParts, TakeBackTheirShareOfASumBelowNothingThatAnEarlierVersionSold)
{
    const GoodsItem apples = sold(10, 2, 30); // -10
    Returns returns;
    close(returns, next(apples, 1));
    EXPECT_EQ(returns.first()->getSum(), -5);
    EXPECT_EQ(next(apples, 1, returns)->getSumb(), -5);
}

TEST(ReturnParts, DoNotOverflowHoweverGreatTheSums)
{
    const GoodsItem island = sold(80'000'000, 999'999.999);
    EXPECT_NEAR(next(island, 999'999.998)->getSumb(), 79'999'999'840'000, 0.02);
}

TEST(ReturnParts, OfNothingOfLessThanAThousandthAndOfMoreThanIsThereAreRefused)
{
    const GoodsItem apples = sold(119, 1.005);
    EXPECT_EQ(refusal([&] { next(apples, 0); }),
              "Позиция 1: количество для возврата должно быть больше нуля");
    EXPECT_EQ(refusal([&] { next(apples, -1); }),
              "Позиция 1: количество для возврата должно быть больше нуля");
    EXPECT_EQ(refusal([&] { next(apples, std::nan("")); }),
              "Позиция 1: количество для возврата должно быть больше нуля");
    for (const double finer : {0.0004, 1.0004, 1e9, std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(refusal([&] { next(apples, finer); }),
                  "Позиция 1: количество — от 0,001 до 999 999,999, не мельче тысячных");
    }
    EXPECT_EQ(refusal([&] { next(apples, 1.006); }), "Позиция 1: к возврату 1,006, а продано 1,005");
    Returns returns;
    close(returns, next(apples, 0.5));
    EXPECT_EQ(refusal([&] { next(apples, 0.506, returns); }),
              "Позиция 1: к возврату 0,506, а из проданных 1,005 уже возвращено 0,5");
    EXPECT_EQ(next(apples, 0.505, returns)->getBquant(), 0.505);
    Returns crumb;
    close(crumb, next(apples, 0.001));
    EXPECT_EQ(refusal([&] { next(apples, 1.005, crumb); }),
              "Позиция 1: к возврату 1,005, а из проданных 1,005 уже возвращено 0,001");
}

TEST(ReturnParts, OfWhatAnEarlierVersionSoldBelowAThousandthAreRefused)
{
    for (const double stored : {0.0004, 1.0004, 0.0, std::nan("")}) {
        EXPECT_EQ(refusal([&] { next(sold(1000, stored), 0.001); }),
                  "Позиция 1: количество в чеке не в целых тысячных, возврат не возможен");
    }
    Returns returns;
    close(returns, QSharedPointer<GoodsItem>::create(1, u"1"_s, u"Чай"_s, 1000, 0.0004));
    EXPECT_EQ(refusal([&] { next(sold(1000, 1), 0.5, returns); }),
              "Позиция 1: количество в чеке не в целых тысячных, возврат не возможен");
}

TEST(ReturnParts, OfASumThatIsNoneAreRefused)
{
    for (const GoodsItem& stored : {sold(1e308, 2), sold(10, 1, std::nan("")), sold(10, 1, 0, 1e300),
                                    sold(1e300, 1, 1e300), sold(1e300, 1, 0, 1e300)})
        EXPECT_EQ(refusal([&] { next(stored, 1); }), "Позиция 1: сумма в чеке не число, возврат не возможен");
}

} // namespace till

#include "host/utils/money.h"
#include "tests/unit/core/plainsystem.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>

using namespace Qt::StringLiterals;

namespace {

using Hundredths = std::vector<std::int64_t>;

QSharedPointer<Document> receipt(const Hundredths& sums)
{
    auto document = QSharedPointer<Document>::create(SaleReceipt, u"17-3"_s);
    int posnum = 0;
    for (const std::int64_t sum : sums) {
        const double price = static_cast<double>(sum) / 100.0;
        document->addGoodsItem(QSharedPointer<GoodsItem>::create(++posnum, u"4600"_s, u"Молоко"_s, price, 1));
    }
    return document;
}

QList<DocumentBonusRecord> parts(const Hundredths& sums, double amount)
{
    DocumentBonusRecord record;
    record.amount = amount;
    return PlainSystem().distributeBonusRecord(receipt(sums), record);
}

/// What each position got, in hundredths; 0 for one without a part.
Hundredths shares(const Hundredths& sums, double amount)
{
    Hundredths result(sums.size());
    for (const DocumentBonusRecord& part : parts(sums, amount))
        result.at(static_cast<std::size_t>(part.position) - 1) = utils::toHundredths(part.amount).value();
    return result;
}

std::int64_t total(const Hundredths& numbers)
{
    return std::accumulate(numbers.begin(), numbers.end(), INT64_C(0));
}

/// Receipts of 1 to 200 positions and amounts to spread over them; the same ones in every run.
template <class Check>
void forRandomReceipts(Check check)
{
    std::mt19937 random(20240229);
    std::uniform_int_distribution<std::size_t> anySize(1, 200);
    std::uniform_int_distribution<std::int64_t> anySum(-20'000, 1'000'000); // a negative one stands for free
    std::uniform_int_distribution<std::int64_t> anyAmount(1, 300'000);
    for (int i = 0; i < 500; ++i) {
        Hundredths sums(anySize(random));
        std::generate(sums.begin(), sums.end(), [&] { return std::max(INT64_C(0), anySum(random)); });
        sums.at(0) = std::max(INT64_C(1), sums.at(0));
        const std::int64_t amount = anyAmount(random);
        ASSERT_NO_FATAL_FAILURE(check(sums, amount)) << "receipt " << i;
    }
}

TEST(Distribution, AddsUpToTheWholeWhateverTheReceipt)
{
    forRandomReceipts([](const Hundredths& sums, std::int64_t amount) {
        ASSERT_EQ(total(shares(sums, static_cast<double>(amount) / 100.0)), amount);
    });
}

TEST(Distribution, GivesEachPositionItsExactShareToAHundredth)
{
    forRandomReceipts([](const Hundredths& sums, std::int64_t amount) {
        const Hundredths given = shares(sums, static_cast<double>(amount) / 100.0);
        const auto whole = static_cast<double>(total(sums));
        for (std::size_t i = 0; i < sums.size(); ++i) {
            const double share = static_cast<double>(amount * sums.at(i)) / whole;
            ASSERT_LE(std::abs(static_cast<double>(given.at(i)) - share), 1 + 1e-9) << "position " << i + 1;
        }
    });
}

TEST(Distribution, GivesEqualPositionsTheSameToOneHundredth)
{
    for (std::size_t size = 1; size <= 200; ++size) {
        for (const std::int64_t amount : {1, 99, 100, 101, 12'345}) {
            const Hundredths given = shares(Hundredths(size, 999), static_cast<double>(amount) / 100.0);
            const auto [least, most] = std::minmax_element(given.begin(), given.end());
            ASSERT_LE(*most - *least, 1) << amount << " over " << size;
            ASSERT_EQ(total(given), amount);
        }
    }
}

TEST(Distribution, FollowsTheSumsOfThePositions)
{
    EXPECT_EQ(shares({10'000, 30'000, 60'000}, 10.0), (Hundredths{100, 300, 600}));
    EXPECT_EQ(shares({100, 100, 100}, 1.0), (Hundredths{33, 34, 33}));
    EXPECT_EQ(shares({1'000, 2'000}, 0.01), (Hundredths{0, 1}));
}

TEST(Distribution, DoesNotLetTheRoundingOfManySmallPositionsGatherInALargeOne)
{
    // The exact share of each small position is 0.4 hundredths, that of the large one 96.
    EXPECT_EQ(shares({4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 960}, 1.0),
              (Hundredths{0, 1, 0, 1, 0, 0, 1, 0, 1, 0, 96}));
}

TEST(Distribution, HasNoPartForAPositionThatGetsNothing)
{
    const auto given = parts({0, 500, 0, 500, 0}, 1.0);
    ASSERT_EQ(given.size(), 2);
    EXPECT_EQ(given[0].position, 2);
    EXPECT_EQ(given[1].position, 4);
}

TEST(Distribution, OfLessThanHalfAHundredthHasNoParts)
{
    EXPECT_TRUE(parts({100, 200}, 0.004).isEmpty());
    EXPECT_TRUE(parts({100, 200}, 0).isEmpty());
}

TEST(Distribution, OfWhatIsNoAmountHasNoParts)
{
    for (const double none : {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e300})
        EXPECT_TRUE(parts({100, 200}, none).isEmpty()) << none;
}

TEST(Distribution, GivesAPositionThatCostsNoAmountNothing)
{
    const auto document = receipt({100, 100});
    document->getGoodsItemByPosnum(1)->setDiscount(std::nan(""));
    DocumentBonusRecord record;
    record.amount = 3;
    const auto given = PlainSystem().distributeBonusRecord(document, record);
    ASSERT_EQ(given.size(), 1);
    EXPECT_EQ(given[0].position, 2);
    EXPECT_EQ(given[0].amount, 3);
}

TEST(Distribution, OverADocumentWithoutSumsHasNoParts)
{
    EXPECT_TRUE(parts({}, 1.0).isEmpty());
    EXPECT_TRUE(parts({0, 0}, 1.0).isEmpty());
}

TEST(Distribution, OfANegativeAmountIsTheMirrorImage)
{
    EXPECT_EQ(shares({100, 100, 100}, -1.0), (Hundredths{-33, -34, -33}));
}

TEST(Distribution, GoesByWhatTheCustomerPays)
{
    const auto document = receipt({10'000, 10'000});
    document->getGoodsItemByPosnum(1)->setDiscount(20);
    document->getGoodsItemByPosnum(1)->setBonusImpactSum(30);
    DocumentBonusRecord record;
    record.amount = 3;
    const auto given = PlainSystem().distributeBonusRecord(document, record);
    ASSERT_EQ(given.size(), 2);
    EXPECT_EQ(given[0].amount, 1);
    EXPECT_EQ(given[1].amount, 2);
}

TEST(Distribution, NamesThePositionsByTheirNumbersAndCopiesTheRest)
{
    auto document = QSharedPointer<Document>::create(ReturnReceipt, u"17-4"_s);
    for (const int posnum : {9, 4})
        document->addGoodsItem(QSharedPointer<GoodsItem>::create(posnum, u"4600"_s, u"Молоко"_s, 10, 1));
    const DocumentBonusRecord record{u"7000"_s, 1, 1200, QDateTime(QDate(2024, 2, 29), QTime(1, 2)),
                                     u"S1"_s,   77};

    DocumentBonusRecord first = record;
    first.position = 9;
    first.amount = 0.5;
    DocumentBonusRecord second = first;
    second.position = 4;
    EXPECT_EQ(PlainSystem().distributeBonusRecord(document, record),
              (QList<DocumentBonusRecord>{first, second}));
}

} // namespace

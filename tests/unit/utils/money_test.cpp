#include "host/utils/money.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(Hundredths, OfAHalfGoAwayFromZero)
{
    EXPECT_EQ(utils::toHundredths(0.005), 1);
    EXPECT_EQ(utils::toHundredths(-0.005), -1);
    EXPECT_EQ(utils::toHundredths(0.125), 13);
    EXPECT_EQ(utils::toHundredths(-0.125), -13);
    EXPECT_EQ(utils::toHundredths(2.675), 268);
    EXPECT_EQ(utils::toHundredths(1.005), 101);
}

TEST(Hundredths, OfLessThanAHalfGoToZero)
{
    EXPECT_EQ(utils::toHundredths(0.0049), 0);
    EXPECT_EQ(utils::toHundredths(-0.0049), 0);
    EXPECT_EQ(utils::toHundredths(0.00499), 0);
    EXPECT_EQ(utils::toHundredths(1.00499), 100);
}

TEST(Hundredths, OfAHalfThatArithmeticLeftAHairBelowGoUpToo)
{
    ASSERT_LT(1.1 * 1.15 * 100.0, 126.5);
    EXPECT_EQ(utils::toHundredths(1.1 * 1.15), 127);
    EXPECT_EQ(utils::toHundredths(-1.1 * 1.15), -127);
    EXPECT_EQ(utils::roundToHundredths(1.1 * 1.15), 1.27);
}

TEST(Hundredths, OfAHalfThatIsAProductGoUp)
{
    EXPECT_EQ(utils::toHundredths(0.67 * 1.5), 101);
    EXPECT_EQ(utils::toHundredths(-0.67 * 1.5), -101);
    EXPECT_EQ(utils::roundToHundredths(0.67 * 1.5), 1.01);
    EXPECT_EQ(utils::roundToHundredths(-0.67 * 1.5), -1.01);
}

TEST(Hundredths, OfWhatHasNoSuchNumberAreNone)
{
    EXPECT_EQ(utils::toHundredths(std::nan("")), std::nullopt);
    EXPECT_EQ(utils::toHundredths(infinity), std::nullopt);
    EXPECT_EQ(utils::toHundredths(-infinity), std::nullopt);
    EXPECT_EQ(utils::toHundredths(1e300), std::nullopt);
    EXPECT_EQ(utils::toHundredths(-1e300), std::nullopt);
    EXPECT_EQ(utils::toHundredths(9e13), std::nullopt);
}

TEST(Hundredths, ReachToWhereADoubleTellsThemApart)
{
    EXPECT_EQ(utils::toHundredths(89'999'999'999'999.98), 8'999'999'999'999'998);
    EXPECT_EQ(utils::toHundredths(-89'999'999'999'999.98), -8'999'999'999'999'998);
}

TEST(CutPart, IsExactHoweverGreatTheNumbersBetweenAre)
{
    EXPECT_EQ(utils::cutPart(3'333, 1'000, 2'000), 1'666);
    EXPECT_EQ(utils::cutPart(-3'333, 1'000, 2'000), -1'666);
    EXPECT_EQ(utils::cutPart(8'999'999'999'999'998, 999'999'998, 999'999'999), 8'999'999'990'999'997);
    EXPECT_EQ(utils::cutPart(8'999'999'999'999'998, 8'999'999'999'999'998, 8'999'999'999'999'998),
              8'999'999'999'999'998);
}

TEST(RoundedAmount, ComesBackAsItIsWhenItHasNoHundredths)
{
    EXPECT_TRUE(std::isnan(utils::roundToHundredths(std::nan(""))));
    EXPECT_EQ(utils::roundToHundredths(infinity), infinity);
    EXPECT_EQ(utils::roundToHundredths(-infinity), -infinity);
    EXPECT_EQ(utils::roundToHundredths(1e300), 1e300);
    EXPECT_EQ(utils::roundToHundredths(-1e300), -1e300);
}

TEST(RoundedAmount, IsNeverANegativeZero)
{
    EXPECT_EQ(utils::toHundredths(-0.0), 0);
    EXPECT_FALSE(std::signbit(utils::roundToHundredths(-0.0)));
    EXPECT_FALSE(std::signbit(utils::roundToHundredths(-0.004)));
}

TEST(RoundedAmount, OfAnyNumberOfHundredthsIsThatNumber)
{
    std::mt19937_64 random(20240229);
    std::uniform_int_distribution<std::int64_t> anyHundredths(-100'000'000'000, 100'000'000'000);
    for (int i = 0; i < 100'000; ++i) {
        const std::int64_t hundredths = anyHundredths(random);
        const double amount = static_cast<double>(hundredths) / 100.0;
        ASSERT_EQ(utils::toHundredths(amount), hundredths);
        ASSERT_EQ(utils::roundToHundredths(amount), amount);
    }
}

TEST(RoundedAmount, OfAnyThousandthsIsTheNearestHundredthAndMirroredBelowZero)
{
    std::mt19937_64 random(20240301);
    std::uniform_int_distribution<std::int64_t> anyThousandths(0, 10'000'000'000);
    for (int i = 0; i < 100'000; ++i) {
        const std::int64_t thousandths = anyThousandths(random);
        const double amount = static_cast<double>(thousandths) / 1000.0;
        ASSERT_EQ(utils::toHundredths(amount), (thousandths + 5) / 10) << amount;
        ASSERT_EQ(utils::toHundredths(-amount), -((thousandths + 5) / 10)) << amount;
    }
}

} // namespace

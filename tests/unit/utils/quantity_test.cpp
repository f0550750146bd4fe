#include "host/utils/quantity.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(Thousandths, CountWholeUnitsAndWeights)
{
    EXPECT_EQ(utils::toThousandths(1), 1000);
    EXPECT_EQ(utils::toThousandths(0.352), 352);
    EXPECT_EQ(utils::toThousandths(0.001), 1);
    EXPECT_EQ(utils::toThousandths(999'999.999), 999'999'999);
}

TEST(Thousandths, AreNotSplit)
{
    for (const double finer : {0.0005, 0.00049, 0.0015, 1.0001, 2.00049, 999'999.9985, 0.00100001})
        EXPECT_EQ(utils::toThousandths(finer), std::nullopt) << finer;
}

TEST(Thousandths, OfNothingOrLessAreNone)
{
    for (const double none : {0.0, -0.0, 1e-300, 0.0004, -0.001, -1.0})
        EXPECT_EQ(utils::toThousandths(none), std::nullopt) << none;
}

TEST(Thousandths, OfWhatNobodySellsAtOnceAreNone)
{
    for (const double beyond : {1'000'000.0, 1e9, 1e300, -1e300, infinity, -infinity, std::nan("")})
        EXPECT_EQ(utils::toThousandths(beyond), std::nullopt) << beyond;
}

TEST(Thousandths, AreFoundThroughTheNoiseOfArithmetic)
{
    EXPECT_EQ(utils::toThousandths(0.1 + 0.2), 300);
    EXPECT_EQ(utils::toThousandths(1.352 - 1.1), 252);
    EXPECT_EQ(utils::toThousandths(999'999.7 + 0.1 + 0.1), 999'999'900);
    double sum = 0;
    for (int i = 0; i < 1000; ++i)
        sum += 0.001;
    EXPECT_EQ(utils::toThousandths(sum), 1000);
}

TEST(Thousandths, GoThereAndBackBitForBit)
{
    std::mt19937 random(20261121);
    std::uniform_int_distribution<std::int64_t> any(1, 999'999'999);
    for (int i = 0; i < 100'000; ++i) {
        const std::int64_t thousandths = any(random);
        ASSERT_EQ(utils::toThousandths(utils::inUnits(thousandths)), thousandths);
    }
    EXPECT_EQ(utils::inUnits(352), 0.352) << "as it is typed";
}

} // namespace

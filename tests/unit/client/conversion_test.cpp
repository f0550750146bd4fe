#include "tests/support/hostworld.h"
#include "tests/unit/client/openclient.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

namespace {

class Conversion : public test_support::HostWorld
{
protected:
    OpenClient client;
};

TEST_F(Conversion, CutsTowardZeroToHundredths)
{
    EXPECT_EQ(client.moneyToBonus(1.2345), 1.23);
    EXPECT_EQ(client.moneyToBonus(-1.2345), -1.23);
    EXPECT_EQ(client.moneyToBonus(1.2399), 1.23);
}

TEST_F(Conversion, LiftsWhatLiesAThousandthOfAHundredthBelowTheNextOne)
{
    EXPECT_EQ(client.moneyToBonus(1.239995), 1.24);
    EXPECT_EQ(client.moneyToBonus(-1.239995), -1.24);
}

TEST_F(Conversion, CountsHundredthsByDivisionAsTheServiceDoes)
{
    // On the border of the lift the quotient by 0.01 stays just below; the product with 100 would not.
    EXPECT_EQ(client.moneyToBonus(0.37999), 0.37);
    EXPECT_EQ(client.moneyToBonus(-2.12999), -2.12);
}

TEST_F(Conversion, LeavesWhatIsOnAHundredthButForNoiseUntouched)
{
    EXPECT_EQ(client.moneyToBonus(1.239999999), 1.239999999);
    EXPECT_EQ(client.moneyToBonus(0.1 + 0.2), 0.30000000000000004);
    EXPECT_EQ(client.bonusToMoney(0.1 + 0.2), 0.30000000000000004);
}

TEST_F(Conversion, CutsAThirdInsteadOfRoundingIt)
{
    client.bonusRatio = 3;
    EXPECT_EQ(client.bonusToMoney(2), 0.66);
}

TEST_F(Conversion, DividesPointsAndMultipliesMoneyByTheRatio)
{
    client.bonusRatio = 4;
    EXPECT_EQ(client.bonusToMoney(10), 2.5);
    EXPECT_EQ(client.moneyToBonus(10), 40.0);
}

TEST_F(Conversion, GivesNotANumberBackAsNotANumber)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(std::isnan(client.bonusToMoney(nan)));
    EXPECT_TRUE(std::isnan(client.moneyToBonus(nan)));
}

TEST_F(Conversion, CutsASmallNegativeAmountToAPlainZero)
{
    EXPECT_FALSE(std::signbit(client.moneyToBonus(-0.005)));
    EXPECT_EQ(client.moneyToBonus(-0.005), 0.0);
}

TEST_F(Conversion, SurvivesAZeroRatio)
{
    client.bonusRatio = 0;
    EXPECT_TRUE(std::isinf(client.bonusToMoney(5)) || std::isnan(client.bonusToMoney(5)));
}

// The rule again, in whole billionths of a unit, where nothing is rounded: a hundredth is ten million of
// them. Returns whether the double that stands for `billionths` comes back as it is; else `cut` is the
// hundredth.
bool staysUntouched(std::int64_t billionths, std::int64_t& cut)
{
    constexpr std::int64_t hundredth = 10'000'000;
    constexpr std::int64_t noise = hundredth / 10'000;
    constexpr std::int64_t lift = hundredth / 1'000;
    const std::int64_t sign = billionths < 0 ? -1 : 1;
    const std::int64_t below = std::abs(billionths) % hundredth;
    const std::int64_t above = hundredth - below;
    cut = sign * (std::abs(billionths) / hundredth + (above <= lift ? 1 : 0));
    return below < noise || above < noise;
}

// On the border itself a double can't say which side it is on, so the border is left out.
bool isBorder(std::int64_t billionths)
{
    const std::int64_t below = std::abs(billionths) % 10'000'000;
    return below == 1'000 || below == 9'999'000 || below == 9'990'000;
}

TEST_F(Conversion, AgreesWithExactDecimalArithmeticOverAMillionAmounts)
{
    std::mt19937_64 random(20'240'601); // NOLINT(cert-msc51-cpp): the same amounts on every run
    std::uniform_int_distribution<std::int64_t> anywhere(-100'000'000'000'000, 100'000'000'000'000);
    std::uniform_int_distribution<std::int64_t> hundredths(-10'000'000, 10'000'000);
    std::uniform_int_distribution<std::int64_t> nearby(-15'000, 15'000);
    int untouched = 0;
    int lifted = 0;
    for (int i = 0; i < 1'000'000; ++i) {
        // Half of the amounts lie where the constants decide.
        const std::int64_t billionths =
            i % 2 ? anywhere(random) : hundredths(random) * 10'000'000 + nearby(random);
        if (isBorder(billionths))
            continue;
        const double amount = static_cast<double>(billionths) / 1e9;
        std::int64_t cut = 0;
        const bool stays = staysUntouched(billionths, cut);
        untouched += stays ? 1 : 0;
        lifted += !stays && std::abs(static_cast<double>(cut)) * 0.01 > std::abs(amount) ? 1 : 0;
        const double expected = stays ? amount : static_cast<double>(cut) * 0.01;
        ASSERT_EQ(client.moneyToBonus(amount), expected) << billionths << " billionths";
    }
    EXPECT_GT(untouched, 10'000) << "the amounts must reach each branch of the rule";
    EXPECT_GT(lifted, 10'000) << "the amounts must reach each branch of the rule";
}

} // namespace

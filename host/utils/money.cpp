#include "host/utils/money.h"

#include <cmath>

namespace utils {

namespace {

// Far below what anybody is charged, far above the noise of a few operations on a receipt's sums.
constexpr double noise = 1e-6;
// Beyond this a double no longer tells hundredths apart.
constexpr double largest = 9.0e15;

bool fits(double amount)
{
    return std::abs(amount) * 100.0 < largest; // false for NaN too
}

} // namespace

std::int64_t toHundredths(double amount)
{
    if (!fits(amount))
        return 0;
    const double hundredths = amount * 100.0;
    return std::llround(hundredths + std::copysign(noise, hundredths));
}

double roundToHundredths(double amount)
{
    return fits(amount) ? static_cast<double>(toHundredths(amount)) / 100.0 : amount;
}

} // namespace utils

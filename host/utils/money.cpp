#include "host/utils/money.h"

#include <cmath>
#include <cstdint>

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

std::optional<std::int64_t> toHundredths(double amount)
{
    if (!fits(amount))
        return std::nullopt;
    const double hundredths = amount * 100.0;
    return std::llround(hundredths + std::copysign(noise, hundredths));
}

double roundToHundredths(double amount)
{
    const auto hundredths = toHundredths(amount);
    return hundredths ? static_cast<double>(*hundredths) / 100.0 : amount;
}

std::int64_t cutPart(std::int64_t amount, std::int64_t part, std::int64_t whole)
{
    __extension__ using Wide = __int128;
    return static_cast<std::int64_t>(static_cast<Wide>(amount) * part / whole);
}

} // namespace utils

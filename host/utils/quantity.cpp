#include "host/utils/quantity.h"

#include <cmath>
#include <cstdint>

namespace utils {

namespace {

constexpr double most = 999'999'999; // thousandths
// Of a thousandth: above what doubles of that size are off by, below what any scale shows.
constexpr double noiseOfThousandths = 1e-6;

} // namespace

std::optional<std::int64_t> toThousandths(double quantity)
{
    const double thousandths = quantity * 1000;
    const double whole = std::round(thousandths);
    // Of what is not a number every comparison is false.
    if (whole >= 1 && whole <= most && std::abs(thousandths - whole) <= noiseOfThousandths)
        return static_cast<std::int64_t>(whole);
    return std::nullopt;
}

double inUnits(std::int64_t thousandths) { return static_cast<double>(thousandths) / 1000; }

} // namespace utils

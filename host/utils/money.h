#pragma once

#include "host/utils/export.h"

#include <cstdint>

namespace utils {

/// An amount (money or points) in whole hundredths, halves away from zero. What arithmetic in doubles has
/// left a hair below a half (0.67 × 1.5 is 1.00499…) counts as the half that it stands for. An amount that
/// has no such number (not a number, infinite, beyond 64 bits) gives 0.
HOST_EXPORT std::int64_t toHundredths(double amount);

/// The amount on the nearest hundredth, by the same rule; one that toHundredths can't hold comes back as it
/// is.
HOST_EXPORT double roundToHundredths(double amount);

} // namespace utils

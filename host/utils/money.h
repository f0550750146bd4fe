#pragma once

#include "host/utils/export.h"

#include <cstdint>

namespace utils {

/// An amount (money or points) in whole hundredths, halves away from zero. What arithmetic in doubles has
/// left a hair below a half (1.1 × 1.15 is 1.26499…) counts as the half that it stands for. An amount that
/// has no such number (not a number, infinite, beyond the 9e13 up to which a double tells hundredths apart)
/// gives 0.
HOST_EXPORT std::int64_t toHundredths(double amount);

/// The amount on the nearest hundredth, by the same rule; one that toHundredths can't hold comes back as it
/// is.
HOST_EXPORT double roundToHundredths(double amount);

} // namespace utils

#pragma once

#include "host/utils/export.h"

#include <cstdint>
#include <optional>

namespace utils {

/// An amount (money or points) in whole hundredths, halves away from zero. What arithmetic in doubles has
/// left a hair below a half (1.1 × 1.15 is 1.26499…) counts as the half that it stands for. Nothing for an
/// amount that has no such number: not a number, infinite, beyond the 9e13 up to which a double tells
/// hundredths apart.
HOST_EXPORT std::optional<std::int64_t> toHundredths(double amount);

/// The amount on the nearest hundredth, by the same rule; one that toHundredths can't hold comes back as it
/// is.
HOST_EXPORT double roundToHundredths(double amount);

/// amount × part / whole, cut towards zero to a whole; exact in between, however great they are. `whole` is
/// not 0, and the result must fit.
HOST_EXPORT std::int64_t cutPart(std::int64_t amount, std::int64_t part, std::int64_t whole);

} // namespace utils

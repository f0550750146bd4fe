#pragma once

#include "host/utils/export.h"

#include <cstdint>
#include <optional>

namespace utils {

/// What is sold is counted and weighed in thousandths of a unit: the quantity in them. Nothing for one that
/// is none of that kind: finer, less than a thousandth, more than 999,999.999, not a number. The noise that
/// arithmetic in doubles leaves (0.1 + 0.2) is not taken for finer.
HOST_EXPORT std::optional<std::int64_t> toThousandths(double quantity);

/// The double that stands for so many thousandths of a unit.
HOST_EXPORT double inUnits(std::int64_t thousandths);

} // namespace utils

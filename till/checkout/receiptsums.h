#pragma once

#include "host/core/abstractdocument.h"

#include <cstdint>
#include <optional>

namespace till {

/// All bonus discounts of the receipt, in hundredths of money; nothing when one of them is no amount.
std::optional<std::int64_t> bonusDiscountOf(const AbstractDocument& document);
/// What the sale earned as the plug-in told it, in hundredths of money; nothing when it told no amount.
std::optional<std::int64_t> earnedBy(const AbstractDocument& document);

} // namespace till

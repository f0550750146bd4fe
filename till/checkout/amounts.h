#pragma once

#include "host/core/abstractdocument.h"
#include "host/utils/tr.h"

namespace till {

/// Throws when a quantity is none, or an amount that somebody would pay or be given is no number of
/// hundredths.
void requireAmounts(const AbstractDocument& receipt);

/// That the position's quantity is none.
tr::Tr badQuantity(int posnum);

} // namespace till

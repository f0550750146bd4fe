#pragma once

#include "host/core/abstractdocument.h"

#include <QString>

namespace till {

/// Throws when a quantity is none, or an amount that somebody would pay or be given is no number of
/// hundredths.
void requireAmounts(const AbstractDocument& receipt);

/// What a quantity must be, in Russian, to be put behind the position that has another.
QString quantityRule();

} // namespace till

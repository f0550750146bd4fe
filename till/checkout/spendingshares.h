#pragma once

#include "host/core/document.h"
#include "host/core/documentimpact.h"

#include <QString>

namespace till {

/// Why the discount that a spending gave can't be put on the receipt's positions, in English for the
/// administrator; empty: it can. The plug-in hands on what the service says of the shares, and vouches for
/// none: each must be an amount from 0, of a position of the receipt, together no more than that one costs
/// now, and all of them the discount, which is what the points asked for are worth; both to a hundredth.
QString shareFault(const BonusImpact& impact, const Document& receipt, double worth);

} // namespace till

#pragma once

#include "host/core/abstractdocument.h"
#include "till/checkout/state.h"

#include <optional>

/// What the till keeps with the receipt itself; saving it is the caller's.
namespace till {

/// How far the closing of the receipt, or its end without one, has come: Paying, Settled or Abandoned;
/// nothing before that.
std::optional<State> markedState(const AbstractDocument& receipt);
/// Nothing takes the mark away.
void setMarkedState(AbstractDocument& receipt, std::optional<State> state);

/// How many of the loyalty system's impacts are discounts of the receipt already.
int appliedImpacts(const AbstractDocument& receipt);
void setAppliedImpacts(AbstractDocument& receipt, int impacts);

} // namespace till

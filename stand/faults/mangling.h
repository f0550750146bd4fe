#pragma once

#include "stand/faults/faults.h"
#include "stand/http/delivery.h"

#include <optional>

namespace stand {

/// The answer that the fault gives in the service's place, or nothing when it gives none of its own.
[[nodiscard]] std::optional<Answer> ownAnswer(const Fault& fault, const Request& request);

/// What goes over the wire when the fault strikes. `answer` is the service's, or the fault's own; without
/// any, nothing is sent.
[[nodiscard]] Delivery mangled(const Strike& strike, const std::optional<Answer>& answer);

} // namespace stand

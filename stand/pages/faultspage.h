#pragma once

#include "stand/http/http.h"

namespace stand {

class Faults;

/// Whether the path is /stand/faults or below it.
[[nodiscard]] bool isFaultsPage(const QByteArray& path);

/// GET lists the faults, POST sets some, DELETE takes back all, or the one whose number the path ends in.
[[nodiscard]] Answer faultsPage(Faults& faults, const Request& request);

} // namespace stand

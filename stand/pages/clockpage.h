#pragma once

#include "stand/http/http.h"

namespace stand {

/// GET tells the stand's time, POST moves it forward: {"advance": seconds} or {"time":
/// "2026-12-01T00:00:00Z"}.
[[nodiscard]] Answer clockPage(const Request& request);

} // namespace stand

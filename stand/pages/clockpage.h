#pragma once

#include "stand/http/routes.h"

namespace stand {

/// GET tells the stand's time, POST moves it forward: {"advance": seconds} or {"time":
/// "2026-12-01T00:00:00Z"}.
void addClockPage(Routes& routes);

} // namespace stand

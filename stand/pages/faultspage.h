#pragma once

#include "stand/http/routes.h"

namespace stand {

class Faults;

/// GET lists the faults, POST sets some, DELETE takes back all, or the one whose number the path ends in.
void addFaultsPage(Routes& routes, Faults& faults);

} // namespace stand

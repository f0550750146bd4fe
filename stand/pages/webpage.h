#pragma once

#include "stand/http/routes.h"

namespace stand {

/// The pages for people: /stand/ and /docs, with what they load.
void addWebPages(Routes& routes);

} // namespace stand

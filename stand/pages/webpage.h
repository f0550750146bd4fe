#pragma once

#include "stand/http/http.h"

#include <optional>

namespace stand {

/// The files of the page for people: /stand/ and what it loads. Nothing for any other path.
[[nodiscard]] std::optional<Answer> webPage(const Request& request);

} // namespace stand

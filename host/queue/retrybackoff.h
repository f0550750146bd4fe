#pragma once

#include "host/utils/export.h"

#include <chrono>

namespace network {

/// No pause between two attempts to send a message is longer.
inline constexpr std::chrono::milliseconds longestPause = std::chrono::minutes(5);

/// How long to wait after that many failed attempts: a second after the first, each time twice as long, up
/// to longestPause. `random` from 0 to 1 moves it by up to a quarter to either side, so that tills that lost
/// the service at the same moment do not come back to it at the same moment; half does not.
[[nodiscard]] HOST_EXPORT std::chrono::milliseconds pauseAfter(int attempts, double random = 0.5);

} // namespace network

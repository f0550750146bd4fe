#include "host/queue/retrybackoff.h"

#include <algorithm>
#include <cmath>

namespace network {

namespace {

constexpr double firstPause = 1000; // milliseconds
constexpr double jitter = 0.25;     // to either side
constexpr double longestUnmoved = static_cast<double>(longestPause.count()) / (1 + jitter);

} // namespace

std::chrono::milliseconds pauseAfter(int attempts, double random)
{
    const double unmoved = std::min(std::ldexp(firstPause, std::max(attempts, 1) - 1), longestUnmoved);
    const double moved = unmoved * (1 - jitter + 2 * jitter * std::clamp(random, 0.0, 1.0));
    return std::chrono::milliseconds(std::llround(moved));
}

} // namespace network

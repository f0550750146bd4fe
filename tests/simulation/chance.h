#pragma once

#include <cstdint>

namespace simulation {

/// The host's random numbers begin anew, as each story does.
void beginChance(std::uint64_t seed);

} // namespace simulation

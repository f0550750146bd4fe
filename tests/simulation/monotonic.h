#pragma once

#include <chrono>

namespace simulation {

/// The clock by which time spans are measured begins anew, as each story does.
void beginSpans();
/// Somebody waits for so long.
void letSpanPass(std::chrono::nanoseconds span);

} // namespace simulation

#pragma once

namespace simulation {

/// The clock by which time spans are measured begins anew, as each story does.
void beginSpans();

} // namespace simulation

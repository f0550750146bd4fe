#pragma once

#include "host/utils/export.h"

#include <chrono>
#include <cstdint>
#include <stop_token>

/// Tells the deliveries of this process that the queue has changed, in whatever thread. It spares them a wait
/// only: what other processes put in they find by looking.
namespace network::queuewakeup {

/// Wakes everybody that waits.
HOST_EXPORT void raise();

/// How often it was raised so far.
[[nodiscard]] HOST_EXPORT std::uint64_t count();

/// Waits until it is raised more often than `seen`, the time is over or a stop is asked for.
HOST_EXPORT void wait(std::uint64_t seen, std::chrono::milliseconds longest, const std::stop_token& stop);

} // namespace network::queuewakeup

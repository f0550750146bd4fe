#pragma once

#include <QByteArray>

#include <chrono>
#include <optional>

namespace till {

/// Tells the service manager that started this program, when there is one, about its state: "READY=1",
/// "STOPPING=1", "WATCHDOG=1", "STATUS=…" (see sd_notify(3)).
void notifyServiceManager(const QByteArray& state);

/// How often the service manager wants to hear "WATCHDOG=1"; nothing when it does not.
std::optional<std::chrono::milliseconds> watchdogInterval();

} // namespace till

#pragma once

#include <chrono>
#include <functional>

class QObject;

namespace stand {

/// Runs the task once from the event loop, after so long, unless `context` is gone by then.
void later(std::chrono::milliseconds delay, QObject* context, std::function<void()> task);

} // namespace stand

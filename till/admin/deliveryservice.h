#pragma once

#include "host/queue/deliveryworker.h"
#include "till/admin/tool.h"
#include "till/setup/reloading.h"
#include "till/setup/stopsignals.h"

#include <functional>

namespace till {

/// What tells a service to stop, or to read its settings anew.
struct Signals
{
    StopSignals stop;
    ReloadSignals reload;
};

/// What a delivery service does beside delivering; each member may be left empty.
struct Chores
{
    std::function<void()> often = {};  ///< every half minute or so, and at the beginning
    std::function<bool()> spare = {};  ///< true: there is more to do soon
    std::function<void()> reload = {}; ///< after its settings were read anew
};

/// Has the worker work until a signal says to stop, with the credentials of the tool's settings, which SIGHUP
/// has it read anew. Tells on its console, and to the service manager that started it, what becomes of it.
/// Returns how the worker ended.
DeliveryState serve(const Invocation& invocation, const Signals& signals, Tool& tool,
                    DeliveryWorker::Options worker, const Chores& chores);

} // namespace till

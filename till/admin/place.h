#pragma once

#include "host/queue/outgoingqueue.h"
#include "till/admin/tool.h"
#include "till/audit/records.h"

#include <memory>

namespace till {

/// The options with which a command that looks at the till looks at the shop.
QList<OptionKind> shopOptions();

/// The first of them alone, for a command that knows no tills.
OptionKind shopOption();

/// Whether it was told so. Throws UsageError for an option of the shop's without it.
bool isOfShop(const Invocation& invocation);

/// The till of the shop that it is to look at alone; empty: at all.
QString tillNamed(const Invocation& invocation);

// Each throws UsageError when the till's data directory is not there, or the settings name no shop's
// database.

/// The outgoing queue.
std::unique_ptr<OutgoingQueue> queueOf(const Invocation& invocation, Tool& tool);
/// The receipts.
std::unique_ptr<Records> recordsOf(const Invocation& invocation, Tool& tool);

} // namespace till

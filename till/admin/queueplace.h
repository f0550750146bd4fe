#pragma once

#include "host/queue/outgoingqueue.h"
#include "till/admin/tool.h"

#include <memory>

namespace till {

/// The options with which a command that looks into the till's queue looks into the shop's.
QList<OptionKind> shopOptions();

/// Whether it was told so. Throws UsageError for an option of the shop's without it.
bool isOfShop(const Invocation& invocation);

/// The queue of the till's data directory, or that of the shop, as the command was told. Throws UsageError
/// when there is no such folder, or the settings name no database.
std::unique_ptr<OutgoingQueue> queueOf(const Invocation& invocation, Tool& tool);

} // namespace till

#pragma once

#include "till/cli/command.h"

/// The administrator's commands.
namespace till {

Command queueListCommand();
Command queueShowCommand();
Command queueRetryCommand();
Command queueDropCommand();
Command queueReaddressCommand();
Command queueDeliverCommand();
Command receiptsListCommand();
Command receiptsShowCommand();
Command backupCommand();
Command restoreCommand();
Command rescueCommand();
Command reconcileCommand();
Command deliverCommand();
Command shopPrepareCommand();
Command forgetCommand();
Command metricsCommand();
Command doctorCommand();
Command configCheckCommand();
Command supportBundleCommand();

} // namespace till

#pragma once

#include "till/commands/command.h"

namespace till {

Command runCommand();
Command shellCommand();
Command windowCommand();
Command queueListCommand();
Command queueShowCommand();
Command queueRetryCommand();
Command queueDropCommand();
Command queueDeliverCommand();
Command receiptsListCommand();
Command receiptsShowCommand();
Command reconcileCommand();
Command deliverCommand();
Command doctorCommand();
Command supportBundleCommand();

} // namespace till

#pragma once

#include "till/cli/command.h"

/// The cashier's window, as a command.
namespace till {

Command windowCommand();

} // namespace till

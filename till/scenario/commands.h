#pragma once

#include "till/cli/command.h"

/// The commands that play steps.
namespace till {

Command runCommand();
Command shellCommand();

} // namespace till

#pragma once

#include "till/commands/command.h"

namespace till {

Command runCommand();
Command shellCommand();

} // namespace till

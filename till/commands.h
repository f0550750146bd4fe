#pragma once

#include "till/cli/command.h"

namespace till {

/// All that the program does, in the order of help.
const Commands& commands();

} // namespace till

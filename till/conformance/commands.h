#pragma once

#include "till/cli/command.h"

/// The check of a loyalty service before it meets a customer.
namespace till {

Command conformanceCommand();

} // namespace till

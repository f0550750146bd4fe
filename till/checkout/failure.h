#pragma once

#include "host/utils/tr.h"

namespace till {

/// Throws BasicException: a failure that the till itself found, for the cashier.
[[noreturn]] void fail(const tr::Tr& text);

} // namespace till

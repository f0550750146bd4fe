#pragma once

#include "host/shop/connection.h"

namespace shop {

/// Until the transaction's end nobody else changes the sale of that identifier or its returns. Throws
/// DatabaseError, of Fault::Conflict when somebody else has it for too long.
void lockFamily(Connection& database, const QString& family);

} // namespace shop

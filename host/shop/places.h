#pragma once

#include "host/shop/connection.h"

namespace shop {

/// The month in whose tables the receipt of that identifier lies with its returns, as the database writes it;
/// null when it is not there. Who names the month in a statement has the database look, and take locks, in
/// the tables of that month alone. Throws DatabaseError.
[[nodiscard]] QVariant placeOf(Connection& database, const QString& identifier);

} // namespace shop

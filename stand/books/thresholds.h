#pragma once

#include "stand/books/money.h"

#include <QStringList>

namespace stand {

class Database;

/// The points that stay spent on positions which came back, because tills do not tell of a return whose
/// points are worth less than half a hundredth of money, nor of a part that costs nothing: each in a
/// sentence. Only as much is meant as the returns that were told of can account for; what is missing beyond
/// that may still come. Throws DatabaseError.
[[nodiscard]] QStringList leftByThresholds(Database& database, const Tariff& tariff);

} // namespace stand

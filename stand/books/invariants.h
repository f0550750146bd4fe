#pragma once

#include <QStringList>

namespace stand {

class Database;

/// What is wrong with the books, each in a sentence; empty when they are in order. `from` is the first
/// operation looked at: with the number of the newest one, all it has changed is checked in little time.
/// Throws DatabaseError.
[[nodiscard]] QStringList violations(Database& database, qint64 from = 0);

} // namespace stand

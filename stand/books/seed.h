#pragma once

#include <QJsonArray>

namespace stand {

class Database;

/// Writes the demonstration customers and cards into an empty database. Throws DatabaseError.
void seed(Database& database);

/// The demonstration cards for a person who wants to try them: number, phone, what each is for.
QJsonArray demonstrationCards();

} // namespace stand

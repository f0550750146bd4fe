#pragma once

#include "host/shop/connection.h"

#include <QStringList>

/// The tables of a shop's database, all in its schema "kyr".
namespace shop {

/// The version of the tables that this program works with.
constexpr int schemaVersion = 1;

/// Makes the tables, the rights on them and the roles "kyr_till" and "kyr_deliver", or brings those of an
/// earlier version up to date; harmless when they are so already. For the owner of the database, who may make
/// roles or has them made beforehand. Throws DatabaseError; then nothing was changed. So too when they are
/// of a later version.
void prepare(Connection& database);

/// Throws DatabaseError when the tables are not there or of another version.
void requirePrepared(Connection& database);

/// Removes from the database what is older than so many days, by whole months; 0: nothing. What is still
/// needed stays. Returns the names of the tables that went. Throws DatabaseError.
QStringList removeOld(Connection& database, int receiptDays, int journalDays);

} // namespace shop

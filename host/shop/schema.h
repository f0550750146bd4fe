#pragma once

#include "host/shop/connection.h"

#include <QStringList>

/// The tables of a shop's database, all in its schema "kyr".
namespace shop {

/// The version of the tables that this program works with.
constexpr int schemaVersion = 2;

/// Makes the tables, the rights on them and the roles "kyr_till", "kyr_deliver" and "kyr_admin", or brings
/// those of an earlier version up to date; harmless when they are so already. For the owner of the database,
/// who may make roles or has them made beforehand. Throws DatabaseError; then nothing was changed. So too
/// when they are of a later version.
void prepare(Connection& database);

/// Throws DatabaseError when the tables are not there, of an earlier version, or of a later one that this
/// program can't work with.
void requirePrepared(Connection& database);

/// How many bytes all of the database takes. Throws DatabaseError.
qint64 sizeOf(Connection& database);

/// Removes from the database what is older than so many days, by whole months; 0: nothing. What is still
/// needed stays. Returns the names of the tables that went. Throws DatabaseError.
QStringList removeOld(Connection& database, int receiptDays, int journalDays);

} // namespace shop

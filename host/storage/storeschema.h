#pragma once

#include "host/storage/database.h"

/// What the data directory's `till.sqlite` is made of; docs/storage.md says what each column means.
namespace utils {

constexpr auto storeName = "till.sqlite";

// The statements that make the tables of each family.
QStringList receiptTables();
QStringList queueTables();
QStringList journalTables();
QStringList importTables();

/// The two files of version 1, with the paths that they have in the data directory.
QList<Database::Source> formerFiles();

/// Version 2, the first that is one file.
Database::Format storeFormat();

} // namespace utils

#pragma once

#include "host/storage/database.h"

/// What the data directory's `till.sqlite` is made of; docs/storage.md says what each column means.
namespace storage {

/// Where it lies.
QString storePath();

Database::Format storeFormat();

} // namespace storage

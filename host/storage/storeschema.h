#pragma once

#include "host/storage/database.h"
#include "host/utils/export.h"

/// What the data directory's `till.sqlite` is made of; docs/storage.md says what each column means.
namespace storage {

/// Where it lies.
HOST_EXPORT QString storePath();

HOST_EXPORT Database::Format storeFormat();

} // namespace storage

#pragma once

#include "host/storage/storebackup.h"

namespace storage {

/// Reads the whole structure; throws BasicException when anything of it is damaged.
void requireSound(const Database& store);

/// Reads all of it.
StoreContents contentsOf(const Database& store);

} // namespace storage

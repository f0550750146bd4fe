#pragma once

#include "host/storage/storecheck.h"

/// Looks through the data directory at a program's start, before anything else uses it: the open receipt and
/// the store. What is damaged is set aside under another name, never overwritten, and told; then a new file
/// takes its place. Throws BasicException, and what is there stays as it is, when a file was written by a
/// later version, when the folder may not be written, or when there is no room: all of it before anything is
/// promised. utils::damagedFilesSetAside() lists what was set aside by this and by earlier starts.
HOST_EXPORT utils::OpenedStore openDataDirectory();

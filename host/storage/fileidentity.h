#pragma once

#include "host/utils/export.h"

#include <QString>

#include <sys/stat.h>
#include <sys/types.h>

#include <compare>
#include <optional>

namespace storage {

/// Which file or folder lies at a path: one that takes the place of another has another identity, as long as
/// somebody holds the other open.
struct FileIdentity
{
    dev_t device = 0;
    ino_t inode = 0;
    auto operator<=>(const FileIdentity&) const = default;
};

inline FileIdentity identityOf(const struct stat& found) { return {found.st_dev, found.st_ino}; }

/// Nothing when nothing lies there. A link is a file of its own.
HOST_EXPORT std::optional<FileIdentity> identityOf(const QString& path);

} // namespace storage

#pragma once

#include "host/utils/export.h"

#include <QString>

namespace storage {

/// Names the folder in which this process keeps what must outlive it. The till says it once, before anything
/// is stored; what is open already stays where it is. A relative path counts from the current folder of that
/// moment; an empty one takes the folder away. The host's thread only.
HOST_EXPORT void setDataDirectory(const QString& path);

/// The absolute path of the file of that name in the data directory; an absolute name stays itself. Creates
/// the folder, for its owner alone (0700), when it is missing. Throws BasicException when no folder was
/// named, it cannot be made, everybody may write it, or it was removed or replaced since this process first
/// used it: what was in the other is not to be begun anew unnoticed.
HOST_EXPORT QString dataFile(const QString& name);

} // namespace storage

#pragma once

#include "host/utils/basicexception.h"

namespace storage {

/// Why something could not be kept or read back.
enum class StorageFault {
    Full,    ///< no room left on the disk, or a limit on the file's size
    Denied,  ///< the file or its folder may not be written, or not be read
    Damaged, ///< the content is not what was once written, or was written by a stranger
    Newer,   ///< written by a later version of this program
    Locked,  ///< another program holds the file for longer than a till can wait
    Gone,    ///< removed or replaced under the program's hands
    Strange, ///< something that is no file of the till's lies in its place: a link, a pipe, a folder
    Exposed, ///< everybody may write the data directory
    Failed,  ///< anything else
};

/// The failure as the host shows it: which file, what is wrong with it and what was not done. `detail` is the
/// system's own words for the administrator.
HOST_EXPORT BasicException storageError(StorageFault fault, const QString& file, const QString& detail = {});

/// The same for a failed system call, told by its errno.
HOST_EXPORT BasicException systemError(int error, const QString& file);

/// True when the exception tells of that fault.
HOST_EXPORT bool isFault(const BasicException& exception, StorageFault fault);

} // namespace storage

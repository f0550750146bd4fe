#pragma once

#include "host/utils/export.h"

#include <QString>

namespace storage {

/// Who else keeps the file locked against writing, for the administrator: "process 1234"; empty when the
/// system does not tell. Opens nothing, so no lock of this process on the file is lost.
HOST_EXPORT QString lockHolder(const QString& path);

} // namespace storage

#pragma once

#include "host/utils/export.h"

#include <log4qt/logger.h>

namespace utils {

/// The logger of that name, owned by the log manager. The host's manager takes a factory name as well;
/// Log4Qt's own takes none, so this is the one place that knows the difference.
HOST_EXPORT Log4Qt::Logger* logger(const QString& name, const QString& factory = {});

} // namespace utils

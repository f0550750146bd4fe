#include "host/utils/logging.h"

#include <log4qt/logmanager.h>

namespace utils {

Log4Qt::Logger* logger(const QString& name, const QString& /*factory*/)
{
    return Log4Qt::LogManager::logger(name);
}

} // namespace utils

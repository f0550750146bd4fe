#include <log4qt/logmanager.h>

#include <log4qt/logger.h>

#include <QMutex>

#include <memory>
#include <unordered_map>

namespace Log4Qt {

Logger* LogManager::logger(const QString& name)
{
    static QMutex mutex;
    static std::unordered_map<QString, std::unique_ptr<Logger>> loggers;
    const QMutexLocker lock(&mutex);
    auto& logger = loggers[name];
    if (!logger)
        logger = std::make_unique<Logger>(name);
    return logger.get();
}

} // namespace Log4Qt

#pragma once

#include <QString>

namespace Log4Qt {

class Logger;

/// Owner of all loggers of the process.
class __attribute__((visibility("default"))) LogManager
{
public:
    /// The one logger of that name, made on first use; never null, owned by the manager.
    static Logger* logger(const QString& name);
};

} // namespace Log4Qt

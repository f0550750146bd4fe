#pragma once

#include "host/storage/filelock.h"

#include <memory>

namespace till {

/// While it lives, no till works on the process's data directory and no delivery is under way there.
class Standstill
{
public:
    /// Throws UsageError, naming who is in the way of that command, when somebody does.
    explicit Standstill(const QString& command);

private:
    std::unique_ptr<storage::FileLock> m_till;
    std::unique_ptr<storage::FileLock> m_delivery;
};

} // namespace till

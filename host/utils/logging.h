#pragma once

#include "host/utils/export.h"

#include <log4qt/logger.h>

#include <QString>

namespace utils {

/// The logger of that name, owned by the log manager. The host's manager takes a factory name as well;
/// Log4Qt's own takes none, so this is the one place that knows the difference.
HOST_EXPORT Log4Qt::Logger* logger(const QString& name, const QString& factory = {});

/// While it lives, the log lines of its thread are of that receipt, by its number: Log4Qt's MDC has it under
/// "receipt", for layouts and appenders. One inside another takes its place; an empty number is none. To end
/// in the reverse order, on the same thread.
class HOST_EXPORT LogReceipt
{
public:
    /// From now on.
    explicit LogReceipt(const QString& number);
    ~LogReceipt();
    LogReceipt(const LogReceipt&) = delete;
    LogReceipt& operator=(const LogReceipt&) = delete;

    /// The number for this thread's lines at the moment; empty: they are of none.
    [[nodiscard]] static QString current();

private:
    QString m_before;
};

} // namespace utils

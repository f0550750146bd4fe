#pragma once

#include "host/network/restclient.h"
#include "till/cli/logging.h"

#include <QString>
#include <QStringList>

#include <functional>

namespace till {

/// One thing that went on behind a step: a log line, or an exchange with the service.
struct TraceEntry
{
    LogLevel level; ///< Debug for an exchange
    QString source; ///< the logger's name; empty for an exchange
    QStringList lines;
    QString receipt = {}; ///< whose log line it is; empty: nobody's, or an exchange
};

/// The entry's lines in a column of their own, its level and source before the first. As they came: not yet
/// fit for a terminal.
QStringList headedLines(const TraceEntry& entry);
/// The same with the receipt's number behind the source.
QStringList headedLinesWithReceipt(const TraceEntry& entry);

/// While it lives, tells of what goes on, redacted, as it happens: log lines and, when asked to, exchanges.
/// Beside it there is no other LogCapture.
class TraceFeed
{
public:
    /// Log lines from `least` on; from debug on, the exchanges too. `hear` is called on whichever thread logs
    /// or made the exchange, perhaps on two at once, and must not log.
    TraceFeed(LogLevel least, std::function<void(const TraceEntry&)> hear);

private:
    LogCapture m_log;
    utils::Registration m_exchanges;
};

} // namespace till

#pragma once

#include "host/network/restclient.h"
#include "till/cli/logging.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <mutex>

namespace till {

/// One thing that went on behind a step: a log line, or an exchange with the service.
struct TraceEntry
{
    LogLevel level; ///< Debug for an exchange
    QString source; ///< the logger's name; empty for an exchange
    QStringList lines;
};

/// Collects what goes on behind the steps: log lines and, when asked to, exchanges. Nothing that was redacted
/// is kept. One at a time.
class Trace
{
public:
    /// Log lines from `least` on; from debug on, the exchanges too.
    explicit Trace(LogLevel least);
    /// What nobody took is written to stderr from warning on, so that no failure stays unseen.
    ~Trace();
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

    /// All entries since the last call.
    QList<TraceEntry> take();

private:
    void add(const LogLine& line);
    void add(const RestExchange& exchange);

    LogLevel m_least;
    std::mutex m_mutex;
    QList<TraceEntry> m_entries;
    LogCapture m_log;
};

/// The entry's lines in a column of their own, its level and source before the first.
QStringList headedLines(const TraceEntry& entry);

} // namespace till

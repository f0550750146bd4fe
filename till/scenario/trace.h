#pragma once

#include "till/audit/tracefeed.h"

#include <QList>

#include <mutex>

namespace till {

/// Collects what goes on behind the steps until somebody takes it: log lines and, when asked to, exchanges.
/// Nothing that was redacted is kept. One at a time.
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
    std::mutex m_mutex;
    QList<TraceEntry> m_entries;
    TraceFeed m_feed;
};

} // namespace till

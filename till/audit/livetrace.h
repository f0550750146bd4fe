#pragma once

#include "till/audit/tracefeed.h"

#include <cstdio>

namespace till {

/// While it lives, writes what goes on as it happens, and keeps nothing: for a program that runs all day.
class LiveTrace
{
public:
    /// Log lines from `least` on; from debug on, the exchanges too. `out` stays the caller's.
    explicit LiveTrace(LogLevel least, std::FILE* out = stderr);

private:
    TraceFeed m_feed;
};

} // namespace till

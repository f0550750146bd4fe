#pragma once

#include "host/queue/messagequeue.h"
#include "tests/support/stillclock.h"

#include <QDateTime>

#include <chrono>

namespace soaktest {

/// The delivery as the worker does it, by a clock of the test's: between two passes it is the next moment at
/// which something is due. The data directory is the process's.
class Simulation
{
public:
    explicit Simulation(const QDateTime& start)
        : m_clock(start)
    {}

    [[nodiscard]] QDateTime now() const { return m_clock.now(); }
    /// Delivers for that long, or until nothing waits.
    void pass(std::chrono::seconds time);

    [[nodiscard]] int attempts() const { return m_attempts; }
    /// Lets what is parked wait again, as an administrator does; returns how many that were.
    static int retryParked();

private:
    /// When the worker would wake up; invalid: never.
    [[nodiscard]] QDateTime nextMoment(MessageQueue& queue) const;

    test_support::StillClock m_clock;
    int m_attempts = 0;
};

} // namespace soaktest

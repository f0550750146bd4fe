#pragma once

#include "till/checkout/till.h"
#include "till/scenario/reporter.h"
#include "till/scenario/scenario.h"
#include "till/scenario/scenarioclock.h"
#include "till/scenario/trace.h"

namespace till {

/// What a step came to; what it throws is a failure. Only a UsageError comes out: then there is no till to go
/// on with.
Outcome played(const Workplace& at, const StepKind& kind, const QVariantMap& members);

/// Plays steps at a till, one after the other, and reports each.
class Player
{
public:
    /// All stay the caller's and must outlive the player. With a clock, each step takes its time on it;
    /// without (null), the till has the real time.
    Player(const Workplace& at, Trace& trace, Reporter& reporter, ScenarioClock* clock)
        : m_at(at)
        , m_trace(trace)
        , m_reporter(reporter)
        , m_clock(clock)
    {}

    /// Nothing that the plug-in throws comes out of here: it makes the step a failed one.
    void play(const Step& step);

    [[nodiscard]] const Tally& tally() const { return m_tally; }

private:
    void passTime();

    Workplace m_at;
    Trace& m_trace;
    Reporter& m_reporter;
    ScenarioClock* m_clock;
    int m_openedBefore = 0;
    Tally m_tally;
};

} // namespace till

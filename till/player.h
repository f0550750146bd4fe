#pragma once

#include "till/reporter.h"
#include "till/scenario.h"
#include "till/till.h"
#include "till/trace.h"

namespace till {

/// Plays steps at a till, one after the other, and reports each.
class Player
{
public:
    /// All three stay the caller's and must outlive the player.
    Player(Till& till, Trace& trace, Reporter& reporter)
        : m_till(till)
        , m_trace(trace)
        , m_reporter(reporter)
    {}

    /// Nothing that the plug-in throws comes out of here: it makes the step a failed one.
    void play(const Step& step);

    [[nodiscard]] const Tally& tally() const { return m_tally; }

private:
    Till& m_till;
    Trace& m_trace;
    Reporter& m_reporter;
    Tally m_tally;
};

} // namespace till

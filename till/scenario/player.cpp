#include "till/scenario/player.h"

#include "host/utils/basicexception.h"
#include "host/utils/logging.h"
#include "till/scenario/stepplays.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace till {

namespace plays {

Outcome outcomeOf(const Result& result, const QStringList& screen)
{
    return {.ok = result.ok, .error = result.error, .screen = result.ok ? screen : QStringList()};
}

} // namespace plays

Outcome played(const Workplace& at, const StepKind& kind, const QVariantMap& members)
{
    const State before = at.till.checkout().state();
    at.cashier.script({});
    Outcome outcome;
    Result thrown;
    carryOut(thrown, [&] { outcome = kind.play(at, members); });
    if (!thrown.ok)
        outcome = plays::outcomeOf(thrown);
    if (!outcome.ok && kind.action && !obstacle(*kind.action, before).isEmpty())
        outcome.error +=
            u'\n' +
            tr::shown(u"tillPossibleSteps"_s, u"Возможны шаги: %1"_s).arg(stepsIn(before).join(u", "_s));
    return outcome;
}

namespace {

QVariant balance(const Till& till)
{
    const auto card = till.checkout().card();
    return card ? card->getBonusBalance() : QVariant();
}

QList<DocumentImpact::PositionSum> newestImpact(const BasicLoyaltySystem& loyalty)
{
    const auto& impacts = loyalty.getBonusImpacts();
    return impacts.isEmpty() || !impacts.last() ? QList<DocumentImpact::PositionSum>()
                                                : impacts.last()->getPositionSums();
}

/// A queue that cannot be read is no reason to leave the cashier alone with an open receipt.
std::optional<int> waiting(Till& till)
{
    try {
        return till.queue().waitingCount();
    } catch (const BasicException& failure) {
        utils::logger(u"till"_s)->error(failure.tr().ru());
        return std::nullopt;
    }
}

} // namespace

void Player::passTime()
{
    using namespace std::chrono_literals;
    if (!m_clock)
        return;
    m_clock->advance(5s);
    if (std::exchange(m_openedBefore, m_at.till.turnover().opened) != m_at.till.turnover().opened)
        m_clock->advance(10min);
}

void Player::play(const Step& step)
{
    const Outcome outcome = played(m_at, *step.kind, step.members);
    passTime();
    ++m_tally.steps;
    m_tally.failed += outcome.ok ? 0 : 1;
    m_tally.allowed += !outcome.ok && step.mayFail ? 1 : 0;
    const auto unknown = m_at.till.checkout().unknownSpending();
    m_reporter.step({.number = m_tally.steps,
                     .name = step.kind->name,
                     .mayFail = step.mayFail,
                     .outcome = outcome,
                     .dialogs = m_at.cashier.shown(),
                     .points = m_at.till.loyalty().currentPointsForSpend(),
                     .balance = balance(m_at.till),
                     .impacts = newestImpact(m_at.till.loyalty()),
                     .queued = waiting(m_at.till),
                     .unknown = unknown ? std::optional(unknown->points) : std::nullopt,
                     .trace = m_trace.take()});
}

} // namespace till

#include "till/scenario/player.h"

#include "host/utils/basicexception.h"
#include "host/utils/logging.h"
#include "till/cli/usageerror.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace till {

Outcome played(Till& till, const StepKind& kind, const QVariantMap& members)
{
    till.cashier().script({});
    try {
        till.requireInPlace();
        return kind.play(till, members);
    } catch (const UsageError&) {
        throw;
    } catch (const BasicException& failure) {
        return {.ok = false, .error = failure.tr().ru()};
    } catch (const std::exception& failure) {
        return {.ok = false, .error = QString::fromUtf8(failure.what())};
    }
}

namespace {

QVariant balance(const Till& till)
{
    const auto card = till.card();
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
    if (std::exchange(m_openedBefore, m_till.openedReceipts()) != m_till.openedReceipts())
        m_clock->advance(10min);
}

void Player::play(const Step& step)
{
    const Outcome outcome = played(m_till, *step.kind, step.members);
    passTime();
    ++m_tally.steps;
    m_tally.failed += outcome.ok ? 0 : 1;
    m_tally.allowed += !outcome.ok && step.mayFail ? 1 : 0;
    const auto unknown = m_till.unknownSpending();
    m_reporter.step({.number = m_tally.steps,
                     .name = step.kind->name,
                     .mayFail = step.mayFail,
                     .outcome = outcome,
                     .dialogs = m_till.cashier().shown(),
                     .points = m_till.loyalty().currentPointsForSpend(),
                     .balance = balance(m_till),
                     .impacts = newestImpact(m_till.loyalty()),
                     .queued = waiting(m_till),
                     .unknown = unknown ? std::optional(unknown->points) : std::nullopt,
                     .trace = m_trace.take()});
}

} // namespace till

#include "till/checkout/checkout.h"

#include "host/utils/currenttime.h"
#include "host/utils/logging.h"
#include "host/utils/money.h"
#include "till/checkout/failure.h"
#include "till/checkout/receiptmarks.h"
#include "till/checkout/spendingshares.h"
#include "till/setup/hostobjects.h"
#include "till/setup/settings.h"

using namespace Qt::StringLiterals;

/// Points that become a discount.
namespace till {

namespace {

bool isSame(const UnknownSpending& spending, double points)
{
    const auto asked = utils::toHundredths(points);
    return utils::toHundredths(spending.points) == asked || utils::toHundredths(spending.wanted) == asked;
}

/// The impact has no shareFault().
void apply(const BonusImpact& impact, const Document& receipt)
{
    for (const auto& [position, sum] : impact.getPositionSums()) {
        const auto item = receipt.getGoodsItemByPosnum(position);
        item->setBonusImpactSum(item->getBonusImpactSum() + sum);
    }
}

} // namespace

Spending Checkout::spend(double wanted)
{
    Spending spending;
    attempt(Action::Spend, spending, [&] {
        requireCard();
        // Whoever counts with such an amount gets anything.
        if (!utils::toHundredths(wanted) || wanted < 0)
            fail({u"tillBadPoints"_s,
                  u"Баллы для списания: число меньше нуля, слишком велико или не число"_s});
        const auto earlier = unknownSpending();
        if (earlier && !isSame(*earlier, wanted))
            fail(doubt());
        m_loyalty.setPointsForSpend(earlier ? earlier->points : wanted);
        // Asked again it must be the same points, though the balance may be less by now.
        const double points = earlier ? earlier->points : m_loyalty.getPointsForSpend(m_receipt);
        spending.points = points;
        m_guard.expectSpending(points, wanted);
        const bool answered = earlier && !m_loyalty.getBonusImpacts().isEmpty(); // but it was not kept
        if (answered || m_loyalty.spendPoints())
            finishSpending(points);
        else
            failSpending();
    });
    return spending;
}

/// After a spending that failed: its outcome is not known, or is that nothing was spent.
void Checkout::failSpending()
{
    tr::Tr error = m_loyalty.getLastErrorString();
    if (m_guard.nothingSpent()) {
        setUnknownSpending(*m_receipt, std::nullopt);
        save();
    } else if (unknownSpending()) {
        m_journal.note(m_receipt->getIdentifier(), u"unknown"_s);
        error = tr::Tr::joined({error, doubt()}, u"\n"_s);
    }
    fail(error);
}

void Checkout::finishSpending(double points)
{
    if (makeDiscount(points))
        return;
    m_journal.note(m_receipt->getIdentifier(), u"unknown"_s);
    fail(tr::Tr::joined(
        {{u"tillSpentOnNothing"_s, u"Служба не сообщила, на какие позиции списаны баллы."_s}, doubt()},
        u" "_s));
}

// The loyalty system saves the receipt when the points are spent, so a power cut may come before they are a
// discount.
bool Checkout::makeDiscount(double points)
{
    const auto& impacts = m_loyalty.getBonusImpacts();
    const auto impact = impacts.size() == appliedImpacts(*m_receipt) + 1 ? impacts.last() : nullptr;
    const QString fault =
        impact ? shareFault(*impact, *m_receipt, worthOf(hostObject<Config>(), points)) : u"no discount"_s;
    if (fault.isEmpty()) {
        setUnknownSpending(*m_receipt, std::nullopt); // in the same save
        apply(*impact, *m_receipt);
        saveAppliedImpacts();
        return true;
    }
    utils::logger(u"till"_s)->error(
        u"Receipt %1: the service says that points were spent, but not on which positions: %2"_s.arg(
            m_receipt->getIdentifier(), fault));
    m_loyalty.cancel(); // there were no impacts before; asked again, the service repeats its first answer
    if (!unknownSpending()) { // of a loyalty system whose requests do not tell of it
        const QDateTime now = MockFactory<CurrentTime>::create()->currentDateTime();
        setUnknownSpending(*m_receipt, UnknownSpending{.points = points, .wanted = points, .since = now});
        save();
    }
    return false;
}

/// All that the loyalty system has are on the receipt.
void Checkout::saveAppliedImpacts() const
{
    setAppliedImpacts(*m_receipt, static_cast<int>(m_loyalty.getBonusImpacts().size()));
    save();
}

Result Checkout::forgetPoints()
{
    Result result;
    attempt(Action::ForgetPoints, result, [&] {
        requireDone(m_loyalty.cancel());
        if (m_receipt)
            saveAppliedImpacts(); // none are left
    });
    return result;
}

} // namespace till

#include "host/utils/money.h"
#include "till/checkout/amounts.h"
#include "till/checkout/refusal.h"
#include "till/checkout/screen.h"
#include "till/scenario/stepplays.h"

using namespace Qt::StringLiterals;

namespace till::plays {

namespace {

/// What a sale earns has to be told to the loyalty system before the receipt may be closed.
Outcome earn(Till& till)
{
    Outcome outcome{.ok = true};
    till.setStage(Till::Stage::Paying); // the service may know of an earning that a rollback would not undo
    const int waiting = till.queue().waitingCount();
    const bool known = till.loyalty().hasPointsForEarn();
    outcome.value = till.loyalty().getPointsForEarn();
    if (known)
        outcome.screen = {u"Начислено баллов: "_s + screen::amount(outcome.value.toDouble())};
    else if (till.queue().waitingCount() > waiting)
        outcome.screen = {u"Баллы будут начислены позже"_s};
    till.setStage(Till::Stage::Settled); // with the numbers that the service knows the earning by
    return outcome;
}

/// The one thing that may be done about a spending whose outcome is not known, besides a rollback.
void requireSameSpending(const Till& till, double wanted)
{
    const auto spending = till.unknownSpending();
    const auto asked = utils::toHundredths(wanted);
    const auto isSame = [&asked](double points) { return asked && utils::toHundredths(points) == asked; };
    if (!spending || !(isSame(spending->points) || isSame(spending->wanted)))
        requireChangeable(till);
}

} // namespace

Outcome request(Till& till, const QVariantMap& /*members*/)
{
    cardOf(till);
    if (!till.loyalty().request(receiptOf(till)))
        return failed(till.loyalty());
    return {.ok = true,
            .screen = {u"Можно списать баллов: "_s + screen::amount(till.loyalty().currentPointsForSpend())}};
}

Outcome spendPoints(Till& till, const QVariantMap& members)
{
    const auto receipt = receiptOf(till);
    cardOf(till);
    const double wanted = members.value(u"points"_s).toDouble();
    requireSameSpending(till, wanted);
    const auto earlier = till.unknownSpending();
    if (!earlier && till.hasSpentPoints())
        refuse(u"В чеке уже списаны баллы: второе списание сервис не отличит от первого. "
               "Отмените чек шагом rollback"_s);
    const QVariant code = members.value(u"code"_s);
    till.cashier().script(
        {.choice = {}, .text = code.isValid() ? std::optional(code.toString()) : std::nullopt});

    BasicLoyaltySystem& loyalty = till.loyalty();
    loyalty.setPointsForSpend(earlier ? earlier->points : wanted);
    // Asked again it must be the same points, though the balance may be less by now.
    const double points = earlier ? earlier->points : loyalty.getPointsForSpend(receipt);
    if (till.spendPoints(points, wanted))
        return {.ok = true, .value = points, .screen = screen::receipt(*receipt)};
    Outcome outcome = failed(loyalty, points);
    if (const auto unknown = till.unknownSpending())
        outcome.error += u"\nЧек %1: %2"_s.arg(receipt->getIdentifier(), unknownSpendingText(*unknown));
    return outcome;
}

Outcome cancel(Till& till, const QVariantMap& /*members*/)
{
    requireChangeable(till);
    if (!till.cancel())
        return failed(till.loyalty());
    return {.ok = true, .screen = {u"Данные о баллах сброшены"_s}};
}

Outcome rollback(Till& till, const QVariantMap& /*members*/)
{
    const QString name = u"Чек "_s + receiptOf(till)->getIdentifier();
    if (till.stage() == Till::Stage::Paying || till.stage() == Till::Stage::Settled)
        requireChangeable(till);
    if (!till.abandon())
        return failed(till.loyalty());
    return {.ok = true, .screen = {name + u" отменён"_s}};
}

Outcome pay(Till& till, const QVariantMap& /*members*/)
{
    const auto receipt = receiptOf(till);
    if (till.unknownSpending() || till.stage() == Till::Stage::Abandoned)
        requireChangeable(till);
    if (till.stage() == Till::Stage::Open)
        requireAmounts(*receipt); // once it is being paid there is no way back
    Outcome outcome{.ok = true};
    const bool earns = till.card() && receipt->getDocumentType() == SaleReceipt;
    if (earns && till.stage() != Till::Stage::Settled)
        outcome = earn(till);
    if (!till.close())
        return failed(till.loyalty(), outcome.value);
    outcome.screen.prepend(screen::closing(*receipt));
    return outcome;
}

} // namespace till::plays

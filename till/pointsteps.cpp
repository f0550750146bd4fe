#include "till/screen.h"
#include "till/stepplays.h"

using namespace Qt::StringLiterals;

namespace till::plays {

namespace {

/// What the loyalty system has to do before the receipt may be closed.
Outcome settle(Till& till, const QSharedPointer<Document>& receipt)
{
    Outcome outcome{.ok = true};
    if (receipt->getDocumentType() == SaleReceipt) {
        const int waiting = till.queue().waitingCount();
        const bool known = till.loyalty().hasPointsForEarn();
        outcome.value = till.loyalty().getPointsForEarn();
        if (known)
            outcome.screen = {u"Начислено баллов: "_s + screen::amount(outcome.value.toDouble())};
        else if (till.queue().waitingCount() > waiting)
            outcome.screen = {u"Баллы будут начислены позже"_s};
        till.save(); // with the numbers that the service knows the earning by
    }
    if (!till.loyalty().commit(receipt))
        return failed(till.loyalty(), outcome.value);
    return outcome;
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
    if (!till.loyalty().getBonusImpacts().isEmpty())
        refuse(u"В чеке уже списаны баллы: второе списание сервис не отличит от первого. "
               "Отмените чек шагом rollback"_s);
    const QVariant code = members.value(u"code"_s);
    till.cashier().script(
        {.choice = {}, .text = code.isValid() ? std::optional(code.toString()) : std::nullopt});

    BasicLoyaltySystem& loyalty = till.loyalty();
    loyalty.setPointsForSpend(members.value(u"points"_s).toDouble());
    const double points = loyalty.getPointsForSpend(receipt);
    if (!loyalty.spendPoints())
        return failed(loyalty, points);
    till.applyImpacts();
    return {.ok = true, .value = points, .screen = screen::receipt(*receipt)};
}

Outcome cancel(Till& till, const QVariantMap& /*members*/)
{
    if (!till.loyalty().cancel())
        return failed(till.loyalty());
    if (till.receipt())
        till.applyImpacts(); // none are left
    return {.ok = true, .screen = {u"Данные о баллах сброшены"_s}};
}

Outcome rollback(Till& till, const QVariantMap& /*members*/)
{
    const QString name = u"Чек "_s + receiptOf(till)->getIdentifier();
    if (!till.abandon())
        return failed(till.loyalty());
    return {.ok = true, .screen = {name + u" отменён"_s}};
}

Outcome pay(Till& till, const QVariantMap& /*members*/)
{
    const auto receipt = receiptOf(till);
    Outcome outcome{.ok = true};
    if (!till.isSettled()) {
        if (till.card())
            outcome = settle(till, receipt);
        if (!outcome.ok)
            return outcome;
        till.markSettled();
    }
    till.close();
    outcome.screen.prepend(screen::closing(*receipt));
    return outcome;
}

} // namespace till::plays

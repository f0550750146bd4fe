#include "host/utils/tr.h"
#include "till/checkout/screen.h"
#include "till/scenario/stepplays.h"

using namespace Qt::StringLiterals;

namespace till::plays {

Outcome request(const Workplace& at, const QVariantMap& /*members*/)
{
    const Result result = at.till.checkout().requestLimit();
    return outcomeOf(result, {tr::shown(u"tillLimit"_s, u"Можно списать баллов: %1"_s)
                                  .arg(screen::amount(at.till.loyalty().currentPointsForSpend()))});
}

Outcome spendPoints(const Workplace& at, const QVariantMap& members)
{
    const QVariant code = members.value(u"code"_s);
    at.cashier.script({.choice = {}, .text = code.isValid() ? std::optional(code.toString()) : std::nullopt});
    const Spending spending = at.till.checkout().spend(members.value(u"points"_s).toDouble());
    Outcome outcome = outcomeOf(spending);
    if (spending.points)
        outcome.value = *spending.points;
    if (spending.ok)
        outcome.screen = screen::receipt(*at.till.checkout().receipt());
    return outcome;
}

Outcome cancel(const Workplace& at, const QVariantMap& /*members*/)
{
    return outcomeOf(at.till.checkout().forgetPoints(),
                     {tr::shown(u"tillPointsForgotten"_s, u"Данные о баллах сброшены"_s)});
}

} // namespace till::plays

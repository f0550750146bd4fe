#include "host/utils/tr.h"
#include "till/checkout/screen.h"
#include "till/scenario/stepplays.h"

using namespace Qt::StringLiterals;

namespace till::plays {

namespace {

Outcome identified(const Till& till, const Identification& found)
{
    Outcome outcome = outcomeOf(found);
    if (!found.card.isEmpty())
        outcome.value = found.card;
    if (found.ok)
        outcome.screen = found.card.isEmpty()
                             ? QStringList{tr::shown(u"tillNoCardChosen"_s, u"Карта не выбрана"_s)}
                             : screen::customer(*till.checkout().card());
    return outcome;
}

} // namespace

Outcome identifyByCard(const Workplace& at, const QVariantMap& members)
{
    return identified(at.till, at.till.checkout().identifyByCard(members.value(u"card"_s).toString()));
}

Outcome identifyByPhone(const Workplace& at, const QVariantMap& members)
{
    const QVariant choose = members.value(u"choose"_s);
    at.cashier.script(
        {.choice = choose.isValid() ? std::optional(choose.toInt()) : std::nullopt, .text = {}});
    return identified(at.till, at.till.checkout().identifyByPhone(members.value(u"phone"_s).toString()));
}

Outcome getCardInfo(const Workplace& at, const QVariantMap& /*members*/)
{
    const Result result = at.till.checkout().refreshCard();
    return outcomeOf(result, result.ok ? screen::customer(*at.till.checkout().card()) : QStringList());
}

} // namespace till::plays

#include "till/checkout/failure.h"
#include "till/checkout/screen.h"
#include "till/scenario/stepplays.h"

using namespace Qt::StringLiterals;

namespace till::plays {

Outcome restart(const Workplace& at, const QVariantMap& /*members*/)
{
    QStringList screen{at.till.restart().shown()};
    if (const auto& receipt = at.till.checkout().receipt())
        screen += screen::receipt(*receipt);
    return {.ok = true, .screen = screen};
}

Outcome deliver(const Workplace& at, const QVariantMap& /*members*/)
{
    const DeliveryResult delivery = at.till.deliver();
    Outcome outcome = outcomeOf(delivery);
    if (delivery.delivered) {
        outcome.value = *delivery.delivered;
        outcome.screen = {screen::delivered(*delivery.delivered)};
    }
    return outcome;
}

Outcome service(const Workplace& at, const QVariantMap& members)
{
    if (!at.till.ownsService())
        fail({u"tillServiceForeign"_s,
              u"Служба лояльности не запущена этой кассой: остановить и запустить её нельзя"_s});
    const bool up = members.value(u"up"_s).toBool();
    at.till.setServiceUp(up);
    return {.ok = true,
            .screen = {up ? tr::shown(u"tillServiceUp"_s, u"Служба лояльности работает"_s)
                          : tr::shown(u"tillServiceDown"_s, u"Служба лояльности остановлена"_s)}};
}

} // namespace till::plays

#include "host/utils/masking.h"
#include "till/checkout/deliverynow.h"
#include "till/checkout/refusal.h"
#include "till/checkout/screen.h"
#include "till/cli/usageerror.h"
#include "till/scenario/stepplays.h"
#include "till/setup/hostobjects.h"

using namespace Qt::StringLiterals;

namespace till::plays {

Outcome restart(Till& till, const QVariantMap& /*members*/)
{
    QStringList screen{till.restart()};
    if (till.receipt())
        screen += screen::receipt(*till.receipt());
    return {.ok = true, .screen = screen};
}

Outcome deliver(Till& till, const QVariantMap& /*members*/)
{
    const RequestGuard::Pause pause(till.requestGuard()); // what waits is on disk, whoever's it is
    const auto summary = deliverNow(till.queue(), hostObject<Config>());
    till.countDelivered(summary.delivered);
    const QString sent = u"Отправлено сообщений: %1"_s.arg(summary.delivered);
    if (summary.waiting == 0 && summary.parked == 0)
        return {.ok = true, .value = summary.delivered, .screen = {sent}};
    QString error = u"В очереди осталось сообщений: %1"_s.arg(summary.waiting + summary.parked);
    if (summary.parked > 0)
        error += u", из них отклонено службой: %1"_s.arg(summary.parked);
    if (!summary.firstError.isEmpty())
        error += u" ("_s + utils::maskNumbers(summary.firstError) + u')';
    return {.ok = false, .value = summary.delivered, .error = error, .screen = {sent}};
}

Outcome service(Till& till, const QVariantMap& members)
{
    if (!till.ownsService())
        refuse(u"Служба лояльности не запущена этой кассой: остановить и запустить её нельзя"_s);
    const bool up = members.value(u"up"_s).toBool();
    till.setServiceUp(up);
    return {.ok = true,
            .screen = {up ? u"Служба лояльности работает"_s : u"Служба лояльности остановлена"_s}};
}

} // namespace till::plays

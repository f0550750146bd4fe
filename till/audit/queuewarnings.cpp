#include "till/audit/queuewarnings.h"

#include "host/utils/currenttime.h"
#include "till/audit/queuereport.h"
#include "till/setup/settingkeys.h"
#include "till/setup/settings.h"

#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till {

namespace {

constexpr qsizetype named = 5;

QString localText(const QDateTime& time) { return time.toLocalTime().toString(u"dd.MM.yyyy HH:mm"_s); }

} // namespace

QList<QueueWarning> tillWarnings(const OutgoingQueue& queue, const Config& config)
{
    return queueWarnings(queue, config) + stuckWarnings(config);
}

QList<QueueWarning> stuckWarnings(const Config& config)
{
    if (config.getString(keys::shopDatabase, {}).isEmpty())
        return {};
    return stuckWarnings(shop::stuckReceipts());
}

QList<QueueWarning> stuckWarnings(const QList<shop::StuckReceipt>& stuck)
{
    if (stuck.isEmpty())
        return {};
    QStringList receipts;
    for (const shop::StuckReceipt& one : stuck.first(std::min(named, stuck.size())))
        receipts.append(u"%1 of till %2"_s.arg(one.receipt, one.till));
    if (stuck.size() > named)
        receipts.append(u"and %1 more"_s.arg(stuck.size() - named));
    return {{tr::Tr(u"tillStuck"_s, u"Чеков с номерами, которые уже заняты другой кассой: %1, первый %2. "
                                    "Сообщите администратору"_s)
                 .arg(QString::number(stuck.size()), stuck.first().receipt),
             u"%1 closed here stay here: the shop's database has another receipt of the same identifier: %2"_s
                 .arg(QString::number(stuck.size()), receipts.join(u", "_s)),
             u"see to it that no two tills of the shop give a receipt the same identifier; docs/shop.md says "
             u"what "
             "becomes of these"_s}};
}

QList<QueueWarning> queueWarnings(const OutgoingQueue& queue, const Config& config)
{
    return queueWarnings(queue.health(), MockFactory<CurrentTime>::create()->currentDateTime(),
                         std::chrono::minutes(alarmMinutes(config)));
}

QList<QueueWarning> queueWarnings(const QueueHealth& health, const QDateTime& now,
                                  std::chrono::minutes patience)
{
    QList<QueueWarning> warnings;
    // With nothing to send nobody finds out that a mended password is taken again.
    if (health.credentialsSuspended.isValid() && health.waiting > 0)
        warnings.append(
            {tr::Tr(u"tillCredentialsRefused"_s,
                    u"Служба лояльности не принимает имя или пароль с %1. Сообщите администратору"_s)
                 .arg(localText(health.credentialsSuspended)),
             u"the service refuses the credentials for %1; %2 waiting"_s.arg(
                 ageText(health.credentialsSuspended, now), QString::number(health.waiting)),
             u"mend KYRLoyalty:user and the password, restart the till; then till queue deliver"_s});
    if (health.parked > 0)
        warnings.append(
            {tr::Tr(
                 u"tillParked"_s,
                 u"Сообщений, которые не удастся отправить службе лояльности: %1. Сообщите администратору"_s)
                 .arg(QString::number(health.parked)),
             u"%1 parked: refused by the service for good, or not to be sent as they are"_s.arg(
                 health.parked),
             u"see till queue list --parked; then till queue retry or till queue drop"_s});
    if (health.oldestWaiting.isValid() &&
        health.oldestWaiting.addSecs(std::chrono::seconds(patience).count()) < now)
        warnings.append({tr::Tr(u"tillOldWaiting"_s,
                                u"Сообщения не доходят до службы лояльности с %1. Сообщите администратору"_s)
                             .arg(localText(health.oldestWaiting)),
                         u"%1 waiting, the oldest for %2"_s.arg(QString::number(health.waiting),
                                                                ageText(health.oldestWaiting, now)),
                         u"see till queue list, and what is said of the service here"_s});
    return warnings;
}

} // namespace till

#include "till/queuewarnings.h"

#include "host/utils/currenttime.h"
#include "till/commands/queuereport.h"
#include "till/settings.h"

using namespace Qt::StringLiterals;

namespace till {

QList<QueueWarning> queueWarnings(const MessageQueue& queue, const Config& config)
{
    QList<QueueWarning> warnings;
    const int parked = queue.parkedCount();
    if (parked > 0)
        warnings.append({u"Служба лояльности отклонила сообщений: %1. Сообщите администратору"_s.arg(parked),
                         u"%1 parked: the service refuses them for good"_s.arg(parked),
                         u"see till queue list --parked; then till queue retry or till queue drop"_s});
    const auto oldest = queue.after(0);
    const QDateTime now = MockFactory<CurrentTime>::create()->currentDateTime();
    if (oldest && oldest->state == QueuedMessage::State::Waiting &&
        oldest->enqueued.secsTo(now) > alarmMinutes(config) * 60)
        warnings.append(
            {u"Сообщения не доходят до службы лояльности с %1. Сообщите администратору"_s.arg(
                 oldest->enqueued.toLocalTime().toString(u"dd.MM.yyyy HH:mm"_s)),
             u"%1 waiting, the oldest for %2"_s.arg(queue.waitingCount()).arg(ageText(oldest->enqueued, now)),
             u"see till queue list, and the lines on the service above"_s});
    return warnings;
}

} // namespace till

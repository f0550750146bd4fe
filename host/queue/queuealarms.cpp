#include "host/queue/queuealarms.h"

QList<QueueAlarm> alarmsOf(const QueueHealth& health, const QDateTime& now, std::chrono::seconds patience)
{
    QList<QueueAlarm> alarms;
    // With nothing to send nobody finds out that a mended password is taken again.
    if (health.credentialsRefused.isValid() && health.waiting > 0)
        alarms.append(QueueAlarm::CredentialsRefused);
    if (health.parked > 0)
        alarms.append(QueueAlarm::Parked);
    if (health.oldestWaiting.isValid() && health.oldestWaiting.addSecs(patience.count()) < now)
        alarms.append(QueueAlarm::WaitingTooLong);
    return alarms;
}

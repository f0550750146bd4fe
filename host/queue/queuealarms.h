#pragma once

#include "host/queue/messagequeue.h"

#include <QList>

#include <chrono>

/// What about the outgoing queue needs a person.
enum class QueueAlarm {
    CredentialsRefused, ///< messages wait, and the service refuses user or password
    Parked,             ///< the service refused a message for good; somebody has to retry or drop it
    WaitingTooLong,     ///< a message has waited for longer than anybody should be patient
};

/// How long a message may wait where nobody says otherwise: most breakdowns of a line are over by then.
inline constexpr std::chrono::seconds usualPatience = std::chrono::hours(1);

/// The alarms that the queue gives at that moment, each at most once, the gravest first.
[[nodiscard]] HOST_EXPORT QList<QueueAlarm> alarmsOf(const QueueHealth& health, const QDateTime& now,
                                                     std::chrono::seconds patience = usualPatience);

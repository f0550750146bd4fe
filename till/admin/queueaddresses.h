#pragma once

#include "host/queue/messagequeue.h"

#include <QMap>
#include <QString>

namespace till {

/// The addresses of services that messages of the queue are for, waiting and parked, with how many each has.
/// Damaged messages, and those for nowhere, are left out.
QMap<QString, qsizetype> queuedAddresses(const OutgoingQueue& queue);

} // namespace till

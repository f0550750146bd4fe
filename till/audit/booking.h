#pragma once

#include "host/queue/messagequeue.h"
#include "till/audit/reconciliation.h"

#include <QSet>

namespace till {

/// The receipts that messages in the queue are about, a return's under its sale.
QSet<QString> awaitedReceipts(const MessageQueue& queue);

/// The receipt as this data directory has it: closed and stored, or `open` when that is the one, or neither.
/// `awaited` are awaitedReceipts().
BookedReceipt bookedReceipt(const QString& identifier, const QSharedPointer<AbstractDocument>& open,
                            const QSet<QString>& awaited);

} // namespace till

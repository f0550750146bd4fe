#include "host/queue/queuedgroup.h"

#include "host/queue/queuedform.h"
#include "host/storage/store.h"

using namespace Qt::StringLiterals;

namespace network {

QList<QueuedMessage> queuedOf(const QString& group)
{
    QList<QueuedMessage> messages;
    for (const QVariantList& row : storage::store()->rows(
             queuedColumns() + u"WHERE receipt = ? AND receipt <> '' ORDER BY id"_s, {group}))
        messages.append(queuedFromRow(row));
    return messages;
}

} // namespace network

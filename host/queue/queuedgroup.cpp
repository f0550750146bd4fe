#include "host/queue/queuedgroup.h"

#include "host/queue/queuedform.h"
#include "host/storage/store.h"

using namespace Qt::StringLiterals;

namespace network {

QList<QueuedMessage> queuedOf(const QString& group)
{
    const auto store = storage::store();
    QSqlQuery query = store->prepared(queuedColumns() + u"WHERE receipt = ? AND receipt <> '' ORDER BY id"_s);
    QList<QueuedMessage> messages;
    for (const QVariantList& row : store->rows(query, {group}))
        messages.append(queuedFromRow(row));
    return messages;
}

} // namespace network

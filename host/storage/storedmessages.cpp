#include "host/storage/storedmessages.h"

#include "host/storage/storedtables.h"

#include <QCryptographicHash>

#include <limits>

using namespace Qt::StringLiterals;

namespace storage {

QByteArray contentDigest(const QVariant& content)
{
    return QCryptographicHash::hash(content.toByteArray(), QCryptographicHash::Sha1);
}

void forEachMessage(const Database& store, bool inQueue,
                    const std::function<void(const StoredMessage&)>& look)
{
    QSqlQuery page = store.prepared(
        u"SELECT id, queue, receipt, enqueued, text, %1 FROM %2 WHERE id > ? ORDER BY id LIMIT 1000"_s.arg(
            inQueue ? u"message"_s : u"NULL"_s, inQueue ? u"queued"_s : u"history"_s));
    qint64 last = std::numeric_limits<qint64>::min();
    for (auto rows = store.rows(page, {last}); !rows.isEmpty(); rows = store.rows(page, {last})) {
        for (const QVariantList& row : rows) {
            last = row[0].toLongLong();
            look({.id = last,
                  .receipt = row[2].toString(),
                  .text = row[4].toString(),
                  .identity = messageIdentity(row[1], row[2], row[3], row[4]),
                  .content = inQueue ? contentDigest(row[5]) : QByteArray()});
        }
    }
}

} // namespace storage

#include "host/queue/readdressing.h"

#include "host/queue/queuedform.h"
#include "host/storage/journal.h"
#include "host/storage/store.h"

using namespace Qt::StringLiterals;

namespace network {

namespace {

void tell(storage::Journal& journal, const QueuedMessage& message, const QUrl& url)
{
    if (message.group.isEmpty())
        return; // the journal is the receipts'
    journal.add({.time = {},
                 .receipt = message.group,
                 .event = u"readdressed"_s,
                 .operation = url.fileName(),
                 .message = message.id,
                 .code = 0,
                 .detail = url.toString(QUrl::RemoveUserInfo),
                 .milliseconds = 0});
}

} // namespace

qsizetype readdress(const std::function<std::optional<QUrl>(const QUrl&)>& moved)
{
    const std::shared_ptr<storage::Database> database = storage::store();
    QSqlQuery next = database->prepared(queuedColumns() + u"WHERE id > ? ORDER BY id LIMIT 1"_s);
    QSqlQuery write = database->prepared(u"UPDATE queued SET message = ? WHERE id = ?"_s);
    storage::Journal journal;
    qsizetype changed = 0;
    database->atomically([&] {
        qint64 last = 0;
        for (auto rows = database->rows(next, {last}); !rows.isEmpty(); rows = database->rows(next, {last})) {
            QueuedMessage message = queuedFromRow(rows.first());
            last = message.id;
            QVariant& address = message.message[u"url"_s];
            const auto url = message.damaged ? std::nullopt : moved(address.toUrl());
            if (!url)
                continue;
            address = address.typeId() == QMetaType::QUrl ? QVariant(*url)
                                                          : QVariant(url->toString(QUrl::FullyEncoded));
            database->change(write, {writtenMessage(message.message), message.id});
            tell(journal, message, *url);
            ++changed;
        }
    });
    return changed;
}

} // namespace network

#pragma once

#include "host/queue/dbqueuebroker.h"
#include "host/storage/documents.h"

#include <QHash>
#include <QList>
#include <QSharedPointer>

#include <functional>

namespace test_support {

/// An outgoing queue that only remembers. Make it with new and store it in Singleton<DBQueueBroker>.
class RecordingQueue : public DBQueueBroker
{
public:
    struct Entry
    {
        QString queue;
        QVariantMap message;
        QString text;
    };

    void enqueue(const QString& queueName, const QVariantMap& message, const QString& text) override;

    QList<Entry> entries;
    std::function<void()> before; ///< called first on each enqueue; may throw
};

/// A store of documents in memory. Make it with new and store it in Singleton<DocumentsDao>.
class FakeDocuments : public DocumentsDao
{
public:
    QSharedPointer<AbstractDocument> loadDocument(const QVariant& reference, bool forUpdate) override;
    void saveCardRecord(const QSharedPointer<DocumentCardRecord>& record) override;

    QHash<QString, QSharedPointer<AbstractDocument>> documents; ///< by the text of their reference
    QList<QSharedPointer<DocumentCardRecord>> saved;
    std::function<void()> beforeSave; ///< called first on each save; may throw
};

} // namespace test_support

#pragma once

#include "host/core/document.h"
#include "host/queue/messagequeue.h"
#include "host/storage/documents.h"
#include "host/storage/journal.h"

/// A sale of eight positions with a card and what the plug-in keeps of it.
QSharedPointer<Document> ordinarySale(const QString& identifier);
/// A return of the first of them.
QSharedPointer<Document> ordinaryReturn(const QString& identifier, const QString& sale);

/// What a till does to its store when it closes receipts, without everything before.
class ClosedReceipts
{
public:
    /// With its card, eight entries of the journal and one message, as one commit.
    void close(const QSharedPointer<Document>& receipt);
    /// `body` goes to that port of this machine.
    void enqueue(const QString& receipt, const QByteArray& body, int port);

    static constexpr int entries = 8;

private:
    DocumentsDao m_documents;
    storage::Journal m_journal;
    MessageQueue m_queue;
};

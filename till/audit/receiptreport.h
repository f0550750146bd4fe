#pragma once

#include "host/core/abstractdocument.h"
#include "host/queue/messagequeue.h"
#include "host/storage/journal.h"

#include <QJsonObject>

namespace till {

/// All that the data directory knows of a receipt.
struct ReceiptReport
{
    QString identifier;
    QSharedPointer<AbstractDocument>
        document;  ///< as closed, or as open; null: abandoned, damaged, or only heard of
    QString state; ///< "open", "closed", "abandoned", "damaged" or "unknown"
    QList<storage::JournalEntry> timeline;
    QList<QueuedMessage> pending; ///< its messages that are still in the queue
    QString next;                 ///< what will happen or has to, in English
};

/// Reads such reports. Opens the store; throws BasicException when it can't be used.
class ReceiptReports
{
public:
    ReceiptReports();
    ~ReceiptReports();
    ReceiptReports(const ReceiptReports&) = delete;
    ReceiptReports& operator=(const ReceiptReports&) = delete;

    [[nodiscard]] ReceiptReport of(const QString& identifier) const;
    /// Those to which something happened last, at most `limit`; before them a damaged open receipt, whose
    /// identifier nobody knows, as "open-receipt".
    [[nodiscard]] QList<ReceiptReport> latest(int limit) const;

private:
    storage::Journal m_journal;
    QSharedPointer<AbstractDocument> m_open;
    bool m_openIsDamaged = false;
};

/// For `till receipts list --json`: all but positions and timeline.
QJsonObject summaryJson(const ReceiptReport& report);
/// For `till receipts show --json`: all of it, the card masked.
QJsonObject receiptJson(const ReceiptReport& report);

/// One entry of the timeline in columns: time, event, operation, outcome.
QStringList timelineCells(const storage::JournalEntry& entry);

} // namespace till

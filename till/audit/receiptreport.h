#pragma once

#include "till/audit/records.h"

#include <QJsonObject>

namespace till {

/// All that is known of a receipt at a till, or in a shop.
struct ReceiptReport
{
    QString identifier;
    QSharedPointer<AbstractDocument>
        document;  ///< as closed, or as open; null: abandoned, damaged, or only heard of
    QString state; ///< "open", "closed", "abandoned", "damaged" or "unknown"
    QList<storage::JournalEntry> timeline;
    QList<QueuedMessage> pending; ///< its messages that are still in the queue
    QString next;                 ///< what will happen or has to, in English
    QString till = {};            ///< in a shop: the till that has closed it
};

/// Reads such reports. Throws BasicException when the records can't be used.
class ReceiptReports
{
public:
    explicit ReceiptReports(Records& records);

    [[nodiscard]] ReceiptReport of(const QString& identifier) const;
    /// Those to which something happened last, at most `limit`; before them a damaged open receipt, whose
    /// identifier nobody knows, as "open-receipt".
    [[nodiscard]] QList<ReceiptReport> latest(int limit) const;

private:
    Records& m_records;
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

#pragma once

#include "host/utils/export.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QVariantList>

#include <memory>

namespace storage {

/// One thing that happened to a receipt.
struct JournalEntry
{
    QDateTime time;  ///< UTC, to the millisecond; add() takes the present when it is not valid
    QString receipt; ///< the document's identifier; for messages of the queue their group
    QString event; ///< "opened", "request", "answer", "queued", "attempt", "delivered", "parked", "retried",
                   ///< "readdressed", "dropped", "closed", "abandoned", "recovered" or "unknown"
    QString operation;  ///< the last segment of the service's path, or empty; long numbers are masked when it
                        ///< is kept
    qint64 message = 0; ///< the id in the outgoing queue; 0 for none
    int code = 0;       ///< RestClient's code; 0 for success
    QString detail;     ///< never a secret; masked like the operation
    qint64 milliseconds = 0; ///< how long it took
};

/// What happened to the receipts, kept in the store for the administrator. Belongs to the thread that made
/// it. Each operation throws BasicException, and changes nothing, when the file can't be used.
class HOST_EXPORT Journal
{
public:
    Journal();
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    /// Durable on return, or with the Transaction around it.
    void add(const JournalEntry& entry);

    /// All that happened to the receipt, in the order in which it was added.
    [[nodiscard]] QList<JournalEntry> of(const QString& receipt) const;

    /// The receipts to which something happened, the one of the latest entry first, at most `limit`.
    [[nodiscard]] QList<QString> receipts(int limit) const;

private:
    struct Statements;
    std::unique_ptr<Statements> m;
};

/// What such a row says: `time`, `receipt`, `event`, `operation`, `message`, `code`, `detail` and
/// `milliseconds` of a journal.
HOST_EXPORT JournalEntry entryFromRow(const QVariantList& row);

} // namespace storage

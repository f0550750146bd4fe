#pragma once

#include "host/storage/journal.h"
#include "host/storage/store.h"

#include <QString>

namespace till {

/// The journal as the till writes it: an account for the administrator, so what can't be written is told in
/// the log and stops no receipt.
class ReceiptJournal
{
public:
    void note(const QString& receipt, const QString& event) { add(entry(receipt, event)); }
    /// The same of a request, or of its answer.
    void note(const QString& receipt, const QString& event, const QString& operation, int code = 0,
              qint64 milliseconds = 0);

    [[nodiscard]] static storage::JournalEntry entry(const QString& receipt, const QString& event);

private:
    void add(const storage::JournalEntry& entry);

    storage::StoreUser<storage::Journal> m_journal;
};

} // namespace till

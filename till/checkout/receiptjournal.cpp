#include "till/checkout/receiptjournal.h"

#include "host/utils/basicexception.h"
#include "host/utils/logging.h"

using namespace Qt::StringLiterals;

namespace till {

storage::JournalEntry ReceiptJournal::entry(const QString& receipt, const QString& event)
{
    storage::JournalEntry entry;
    entry.receipt = receipt;
    entry.event = event;
    return entry;
}

void ReceiptJournal::note(const QString& receipt, const QString& event, const QString& operation, int code,
                          qint64 milliseconds)
{
    storage::JournalEntry told = entry(receipt, event);
    told.operation = operation;
    told.code = code;
    told.milliseconds = milliseconds;
    add(told);
}

void ReceiptJournal::add(const storage::JournalEntry& entry)
{
    try {
        m_journal.get().add(entry);
    } catch (const BasicException& failure) {
        utils::logger(u"till"_s)->error(
            u"No entry \"%1\" in the journal of %2: %3"_s.arg(entry.event, entry.receipt, failure.tr().ru()));
    }
}

} // namespace till

#include "till/audit/records.h"

#include "host/core/document.h"
#include "host/queue/queuedgroup.h"
#include "host/shop/localmarks.h"
#include "host/storage/documents.h"
#include "till/setup/hostobjects.h"

#include <algorithm>
#include <limits>

namespace till {

Records::~Records() = default;

TillRecords::TillRecords()
    : m_hadDocuments(Singleton<DocumentsDao>::instance != nullptr)
{}

TillRecords::~TillRecords()
{
    if (!m_hadDocuments)
        dropHostObject<DocumentsDao>();
}

QSharedPointer<AbstractDocument> TillRecords::closed(const QString& receipt)
{
    return hostObject<DocumentsDao>().loadDocument(receipt, false);
}

QList<QSharedPointer<AbstractDocument>> TillRecords::returnsOf(const QString& sale)
{
    return hostObject<DocumentsDao>().returnsOf(sale);
}

QSharedPointer<AbstractDocument> TillRecords::open()
{
    if (!m_open)
        m_open = SaveToFileLogic::loadOpenReceipt();
    return *m_open;
}

QList<storage::JournalEntry> TillRecords::journalOf(const QString& receipt) { return m_journal.of(receipt); }

QStringList TillRecords::latest(int limit) { return m_journal.receipts(limit); }

QStringList TillRecords::ofDay(const QDate& day)
{
    constexpr int all = std::numeric_limits<int>::max();
    QStringList found;
    for (const QString& receipt : m_journal.receipts(all)) {
        const QList<storage::JournalEntry> entries = m_journal.of(receipt);
        const auto onDay = [&day](const storage::JournalEntry& entry) {
            return entry.time.toLocalTime().date() == day;
        };
        if (std::any_of(entries.begin(), entries.end(), onDay))
            found.prepend(receipt);
        else if (!entries.isEmpty() && entries.last().time.toLocalTime().date() < day)
            break; // the latest come first
    }
    return found;
}

QList<QueuedMessage> TillRecords::messagesOf(const QString& receipt) { return network::queuedOf(receipt); }

bool TillRecords::concerns(const QString& receipt) { return !shop::hasMovedOn(receipt); }

} // namespace till

#include "till/audit/shoprecords.h"

namespace till {

ShopRecords::ShopRecords(const QString& address, const QString& till)
    : m_database(address)
    , m_journal(m_database, till)
    , m_queue(address)
    , m_isOfOneTill(!till.isEmpty())
{}

QSharedPointer<AbstractDocument> ShopRecords::closed(const QString& receipt)
{
    return m_receipts.find(receipt).document;
}

QList<QSharedPointer<AbstractDocument>> ShopRecords::returnsOf(const QString& sale)
{
    const auto returns = m_receipts.returnsOf(sale);
    return {returns.cbegin(), returns.cend()};
}

QList<storage::JournalEntry> ShopRecords::journalOf(const QString& receipt) { return m_journal.of(receipt); }

QStringList ShopRecords::latest(int limit) { return m_journal.receipts(limit); }

QStringList ShopRecords::ofDay(const QDate& day)
{
    return m_journal.receiptsBetween(day.startOfDay(), day.addDays(1).startOfDay());
}

QList<QueuedMessage> ShopRecords::messagesOf(const QString& receipt) { return m_queue.messagesOf(receipt); }

QString ShopRecords::tillOf(const QString& receipt) { return m_receipts.tillOf(receipt); }

bool ShopRecords::concerns(const QString& receipt) { return !m_isOfOneTill || m_journal.knows(receipt); }

} // namespace till

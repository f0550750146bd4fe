#pragma once

#include "host/shop/sharedreceipts.h"
#include "host/shop/shopjournal.h"
#include "host/shop/shopqueue.h"
#include "till/audit/records.h"

namespace till {

/// In the database of a shop: what has moved on from its tills.
class ShopRecords : public Records
{
public:
    /// `address` is the database's; with a till, receipts are listed only to which that till has done
    /// something. Throws shop::DatabaseError when it can't be reached or is not prepared.
    ShopRecords(const QString& address, const QString& till);

    [[nodiscard]] QSharedPointer<AbstractDocument> closed(const QString& receipt) override;
    [[nodiscard]] QList<QSharedPointer<AbstractDocument>> returnsOf(const QString& sale) override;
    [[nodiscard]] QSharedPointer<AbstractDocument> open() override { return nullptr; }
    [[nodiscard]] QList<storage::JournalEntry> journalOf(const QString& receipt) override;
    [[nodiscard]] QStringList latest(int limit) override;
    [[nodiscard]] QStringList ofDay(const QDate& day) override;
    [[nodiscard]] QList<QueuedMessage> messagesOf(const QString& receipt) override;
    [[nodiscard]] QString tillOf(const QString& receipt) override;
    [[nodiscard]] bool concerns(const QString& receipt) override;

private:
    shop::Connection m_database;
    shop::SharedReceipts m_receipts{m_database};
    shop::ShopJournal m_journal;
    shop::ShopQueue m_queue;
    bool m_isOfOneTill;
};

} // namespace till

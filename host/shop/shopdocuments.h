#pragma once

#include "host/shop/moving.h"
#include "host/storage/database.h"
#include "host/storage/documents.h"

#include <optional>

namespace shop {

/// The closed documents of all tills of a shop: what has not moved on yet is found in this till's store, all
/// else in the shop's database. What is stored goes into the till's store, whether the database can be
/// reached or not.
///
/// Who returns goods of a sale that has moved on changes what all tills see: inside a storage::Transaction
/// the sale is locked from loadDocument(…, true) on, and with its end the return, the messages that were put
/// in for it, and what was written back of the sale's cards are kept in the database as one commit, before
/// the rest is here. When that fails, nothing of it is kept here either. A till that dies in between finds
/// its return open here, and closed in the database.
class ShopDocuments : public DocumentsDao, private storage::Database::Companion
{
public:
    /// `till` names this till among those of the shop; `address` is the database's, see Connection.
    ShopDocuments(const QString& till, const QString& address);
    ~ShopDocuments() override;

    /// Null also when the database can't be reached: see seesAll(). Throws DatabaseError with `forUpdate`
    /// when another till is just working on that sale.
    [[nodiscard]] QSharedPointer<AbstractDocument> loadDocument(const QVariant& reference,
                                                                bool forUpdate) override;
    void saveCardRecord(const QSharedPointer<DocumentCardRecord>& record) override;
    [[nodiscard]] QList<QSharedPointer<AbstractDocument>> returnsOf(const QString& sale) override;
    /// Of this till; without those that have moved on when the database can't be reached.
    [[nodiscard]] QList<ClosedSale> newestSales(int limit) override;
    [[nodiscard]] bool contains(const QString& identifier) override;
    [[nodiscard]] bool isShared(const QString& identifier) override { return !isHere(identifier); }
    [[nodiscard]] bool seesAll() const override { return m_seesAll; }

private:
    void keep() override;
    void undo() noexcept override;

    /// Whether the sale is this till's alone.
    [[nodiscard]] bool isHere(const QString& identifier);
    void enlist(const QString& family);
    [[nodiscard]] QSharedPointer<Document> loadFromShop(const QString& identifier);
    [[nodiscard]] QSharedPointer<Document> documentOf(const QVariant& month, const QString& identifier,
                                                      const QByteArray& content);
    void writeRecord(const DocumentCardRecord& record, int revision);
    Moving& moving();

    QString m_till;
    Connection m_database;
    std::optional<Moving> m_moving;
    QStringList m_families; ///< that the transaction is about
    bool m_seesAll = true;
};

} // namespace shop

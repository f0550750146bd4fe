#pragma once

#include "host/core/document.h"
#include "host/shop/connection.h"
#include "host/storage/documents.h"

#include <QList>
#include <QString>

namespace shop {

/// A closed receipt in the shop's database.
struct SharedReceipt
{
    QString identifier;
    QString till;                                ///< which has closed it
    QSharedPointer<Document> document = nullptr; ///< with what was written back of its cards since
    QByteArray original = {};                    ///< as it was closed, in its stored form
};

/// Reads the closed receipts in the shop's database. Everything throws DatabaseError when that can't be used.
class SharedReceipts
{
public:
    explicit SharedReceipts(Connection& database)
        : m_database(database)
    {}

    /// Without a document when there is no such receipt. Throws BasicException when it is damaged.
    [[nodiscard]] SharedReceipt find(const QString& identifier) const;
    /// The till that has closed it; empty: nobody has.
    [[nodiscard]] QString tillOf(const QString& identifier) const;
    /// The returns of that sale, in the order in which they were closed. Throws BasicException when one is
    /// damaged.
    [[nodiscard]] QList<QSharedPointer<Document>> returnsOf(const QString& sale) const;
    /// The sales that the till closed last, the newest first, at most `limit`.
    [[nodiscard]] QList<ClosedSale> newestSales(const QString& till, int limit) const;

private:
    [[nodiscard]] QSharedPointer<Document> read(const QVariant& month, const QString& identifier,
                                                const QByteArray& content) const;

    Connection& m_database;
};

} // namespace shop

#pragma once

#include "host/core/document.h"
#include "host/storage/documents.h"
#include "host/storage/store.h"

/// The file behind DocumentsDao. A document stays as it was stored; what was written back of its card records
/// lies beside it. Belongs to one thread; everything throws BasicException when the file can't be used.
class ReceiptStore
{
public:
    ReceiptStore();

    /// Null when there is no document of that identifier.
    [[nodiscard]] QSharedPointer<Document> load(const QString& identifier);
    void saveCardRecord(const QSharedPointer<DocumentCardRecord>& record);
    void store(const QSharedPointer<Document>& document);
    /// The stored returns of that sale, in the order in which they were stored.
    [[nodiscard]] QList<QSharedPointer<Document>> returnsOf(const QString& sale);
    /// The closed sales, the one that was closed last first, at most `limit`.
    [[nodiscard]] QList<ClosedSale> newestSales(int limit);

private:
    /// The document as it was stored, without what was written back since; nothing when there is none.
    [[nodiscard]] QByteArray original(const QString& identifier);
    [[nodiscard]] int revision(const QString& identifier, int kind);
    /// True when this very content is stored already; its records then know their places.
    bool isStored(const QSharedPointer<Document>& document, const QByteArray& bytes);

    /// Notes on documents taken over from an earlier format which sale they return. One that is damaged stays
    /// without a note.
    void noteSales();

    std::shared_ptr<utils::Database> m_database;
    QSqlQuery m_insert;
    QSqlQuery m_select;
    QSqlQuery m_records;
    QSqlQuery m_revision;
    QSqlQuery m_write;
    QSqlQuery m_returns;
};

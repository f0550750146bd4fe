#pragma once

#include "host/core/abstractdocument.h"
#include "host/utils/export.h"
#include "host/utils/mockfactory.h"
#include "host/utils/singleton.h"

#include <functional>
#include <memory>

class Document;
namespace storage {
class Database;
}

/// A closed sale as a list of them shows it.
struct ClosedSale
{
    QString identifier;                        ///< the sale's
    QSharedPointer<AbstractDocument> document; ///< null: it is damaged
};

/// The closed documents in the store of the data directory. Every operation is durable when it returns, or
/// with the storage::Transaction around it, and throws BasicException, with nothing changed, when it cannot
/// be. A document stays as it was stored; what was written back of its card records lies beside it. Opens its
/// file at the first operation, whose thread then has to make the others.
class HOST_EXPORT DocumentsDao
{
public:
    DocumentsDao();
    virtual ~DocumentsDao();
    DocumentsDao(const DocumentsDao&) = delete;
    DocumentsDao& operator=(const DocumentsDao&) = delete;

    /// The stored document that `reference` (AbstractDocument::getSaleDocumentId, the sale's identifier as a
    /// text) names, with what saveCardRecord() wrote since, or null when there is none. Each call makes an
    /// object of its own. `forUpdate` locks it against other tills until the storage::Transaction
    /// around it ends; this store is one till's, so here it changes nothing.
    [[nodiscard]] virtual QSharedPointer<AbstractDocument> loadDocument(const QVariant& reference,
                                                                        bool forUpdate);

    /// Writes a card record of a stored document back to the store. The record is one of a document that was
    /// loaded or stored; any other throws BasicException, and so does one that was written back from another
    /// object in the meantime: the later write would silently undo the earlier.
    virtual void saveCardRecord(const QSharedPointer<DocumentCardRecord>& record);

    /// Stores a closed document. A stored one is never replaced: storing the same again changes nothing, and
    /// another under the same identifier throws BasicException.
    virtual void store(const QSharedPointer<Document>& document);

    /// The closed returns of that sale, in the order in which they were closed. Throws BasicException when
    /// one of them is damaged: what was given back before is then not known.
    [[nodiscard]] virtual QList<QSharedPointer<AbstractDocument>> returnsOf(const QString& sale);

    /// The closed sales, the one that was closed last first, at most `limit`.
    [[nodiscard]] virtual QList<ClosedSale> newestSales(int limit);

    /// Whether a document of that identifier was ever stored here, as far as is still known.
    [[nodiscard]] virtual bool contains(const QString& identifier);

    /// Whether other tills see that document, and may change what it tells, too.
    [[nodiscard]] virtual bool isShared(const QString& /*identifier*/) { return false; }

    /// False when a place where documents lie could not be asked by the last loadDocument(): then the null
    /// that it returned says nothing. This store is one place, which throws instead.
    [[nodiscard]] virtual bool seesAll() const { return true; }

protected:
    /// Throws unless the document is the stored one of its identifier, either as it was stored (`original`)
    /// or as it is since then (`stored`). Its card records know their places then.
    static void requireStored(const Document& document, const Document& stored, const QByteArray& original);

private:
    /// The store, kept open from now on.
    const storage::Database& opened();

    std::shared_ptr<storage::Database> m_store;
};

/// Adds to the list what that loads, if it is a sale, or that it is damaged.
HOST_EXPORT void addSale(QList<ClosedSale>& sales, const QString& identifier,
                         const std::function<QSharedPointer<Document>()>& load);

/// Keeps the open receipt in the store of the data directory, so that a till that dies finds it again. Every
/// operation is durable when it returns, or with the storage::Transaction around it, and throws
/// BasicException, with nothing changed, when it cannot be.
class HOST_EXPORT SaveToFileLogic
{
public:
    virtual ~SaveToFileLogic();

    /// Writes the document, one of the class Document, with its plug-in data; one that is kept just so
    /// already is not written again. An empty file name is the host's own place for the open receipt; any
    /// other is a file of its own, in the data directory where the name is relative, replaced whole or not at
    /// all.
    virtual void save(const QSharedPointer<AbstractDocument>& document, const QString& fileName);

    /// What was last saved in the host's own place; null when there is none. One that is damaged throws, and
    /// is left untouched.
    [[nodiscard]] static QSharedPointer<Document> loadOpenReceipt();
    /// Forgets it, with the storage::Transaction that closes the receipt; fine when there is none.
    static void removeOpenReceipt();
};

extern template class HOST_EXPORT Singleton<DocumentsDao>;
extern template class HOST_EXPORT MockFactory<SaveToFileLogic>;

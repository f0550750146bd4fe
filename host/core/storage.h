#pragma once

#include "host/core/abstractdocument.h"
#include "host/utils/export.h"
#include "host/utils/mockfactory.h"
#include "host/utils/singleton.h"

/// The store of closed documents.
///
/// The embedded host has no store yet, so every operation throws BasicException instead of losing a document
/// silently.
class HOST_EXPORT DocumentsDao
{
public:
    virtual ~DocumentsDao();

    /// The stored document that `reference` (AbstractDocument::getSaleDocumentId) names, or null when there
    /// is none. `forUpdate` locks it against other tills.
    [[nodiscard]] virtual QSharedPointer<AbstractDocument> loadDocument(const QVariant& reference,
                                                                        bool forUpdate);

    /// Writes a card record of a stored document back to the store.
    virtual void saveCardRecord(const QSharedPointer<DocumentCardRecord>& record);
};

/// Writes the open receipt to disk, so that a till that dies finds it again.
///
/// The embedded host has no file for it yet: save() throws BasicException.
class HOST_EXPORT SaveToFileLogic
{
public:
    virtual ~SaveToFileLogic();

    /// Writes the document with its plug-in data. An empty file name is the host's own file for open
    /// receipts.
    virtual void save(const QSharedPointer<AbstractDocument>& document, const QString& fileName);
};

extern template class HOST_EXPORT Singleton<DocumentsDao>;
extern template class HOST_EXPORT MockFactory<SaveToFileLogic>;

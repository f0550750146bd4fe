#pragma once

#include "host/core/abstractdocument.h"
#include "host/utils/export.h"

#include <QSharedPointer>

/// Keeps the document that the host has handed over to be worked on: the watched document.
class HOST_EXPORT DocumentWatcher
{
public:
    virtual ~DocumentWatcher();
    /// The document is shared with the host; null takes it away.
    virtual void setDocument(const QSharedPointer<AbstractDocument>& document) { m_document = document; }

protected:
    /// The watched document, or null.
    [[nodiscard]] QSharedPointer<AbstractDocument> watchedDocument() const { return m_document; }

private:
    QSharedPointer<AbstractDocument> m_document;
};

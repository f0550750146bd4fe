#pragma once

#include "host/core/abstractdocument.h"
#include "host/utils/export.h"
#include "host/utils/singleton.h"

#include <QSharedPointer>
#include <QString>

/// What the till knows about the shop it stands in.
class HOST_EXPORT Registry
{
public:
    virtual ~Registry();

    /// Under which code the shop is known to the loyalty service.
    [[nodiscard]] virtual QString getShopCode() const { return m_shopCode; }
    /// A text of the shop's configuration; unless set, empty.
    void setShopCode(const QString& code) { m_shopCode = code; }

private:
    QString m_shopCode;
};

/// The cashier's session: the receipt at work and the shop.
class HOST_EXPORT Session
{
public:
    virtual ~Session();

    /// The current document, shared with the session; null between receipts.
    [[nodiscard]] virtual QSharedPointer<AbstractDocument> getDocument() const { return m_document; }
    /// Shared with the caller; null: there is none any more.
    void setDocument(const QSharedPointer<AbstractDocument>& document) { m_document = document; }

    /// Never null, shared with the session.
    [[nodiscard]] virtual QSharedPointer<Registry> getRegistry() const { return m_registry; }

private:
    QSharedPointer<AbstractDocument> m_document;
    QSharedPointer<Registry> m_registry = QSharedPointer<Registry>::create();
};

extern template class HOST_EXPORT Singleton<Session>;

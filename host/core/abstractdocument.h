#pragma once

#include "host/core/documentcardrecord.h"
#include "host/core/goodsitem.h"
#include "host/core/hostcodes.h"
#include "host/utils/export.h"

#include <QList>
#include <QSharedPointer>
#include <QString>
#include <QVariant>

/// A receipt as the host shows it to plug-ins.
class HOST_EXPORT AbstractDocument
{
public:
    virtual ~AbstractDocument();

    /// The host's code for what the document is: EDocumentType names those that the plug-in knows.
    [[nodiscard]] virtual int getDocumentType() const = 0;
    /// The receipt's identifier, unique in the shop.
    [[nodiscard]] virtual QString getIdentifier() const = 0;
    /// The identifier that a return receipt is reported under.
    [[nodiscard]] virtual QString getReturnIdentifier() const = 0;
    /// What a return refers to its sale by, for DocumentsDao::loadDocument; invalid on a sale.
    [[nodiscard]] virtual QVariant getSaleDocumentId() const = 0;

    /// The record of that loyalty system's card, shared with the document; null when there is none.
    [[nodiscard]] virtual QSharedPointer<DocumentCardRecord> getCardRecord(int kind) const = 0;
    /// Whether getCardRecord() of that loyalty system gives a record.
    [[nodiscard]] virtual bool hasCardRecord(int kind) const = 0;
    /// Whether the document has that flag: EDocumentFlag names those that the plug-in knows. False for
    /// others.
    [[nodiscard]] virtual bool isFlagSet(int code) const = 0;

    /// What the customer pays: the sum of all positions' getSumb(), money.
    [[nodiscard]] virtual double getSum() const = 0;
    /// All discounts of all positions, money.
    [[nodiscard]] virtual double getDiscountSum() const = 0;
    /// The positions in receipt order, shared with the document.
    [[nodiscard]] virtual QList<QSharedPointer<GoodsItem>> getGoodsItems() const = 0;
    /// The position with that number, or null.
    [[nodiscard]] virtual QSharedPointer<GoodsItem> getGoodsItemByPosnum(int posnum) const = 0;

    /// A plug-in's own values, which travel with the document and are stored with it, types included.
    [[nodiscard]] virtual QVariant getPluginData(const QString& pluginName, const QString& key,
                                                 const QVariant& defaultValue) const = 0;
    /// Adds or replaces one value of that plug-in. A list or map in it may hold lists and maps; all else is
    /// of Qt's own types (number, text, date, bytes). It is on the disk once the document is saved.
    virtual void setPluginData(const QString& pluginName, const QString& key, const QVariant& value) = 0;
};

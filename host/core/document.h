#pragma once

#include "host/core/abstractdocument.h"

#include <QHash>
#include <QSet>
#include <QVariantMap>

/// The embedded host's receipt: a sale, or a return that refers to its sale.
class HOST_EXPORT Document : public AbstractDocument
{
public:
    /// Without positions, cards or flags; the identifier is not empty and unique in the shop.
    Document(EDocumentType type, const QString& identifier);
    ~Document() override;

    /// Positions keep the order in which they are added; their numbers must differ.
    void addGoodsItem(const QSharedPointer<GoodsItem>& item);
    /// Puts the record in the place of an earlier one of the same kind.
    void setCardRecord(const QSharedPointer<DocumentCardRecord>& record);
    /// Sets the flag, or takes it away.
    void setFlag(int code, bool on = true);
    /// Of a return: the identifier of its sale, a text in a variant.
    void setSaleDocumentId(const QVariant& reference) { m_saleDocumentId = reference; }
    /// What a return is reported under; unless set, its identifier.
    void setReturnIdentifier(const QString& identifier) { m_returnIdentifier = identifier; }

    [[nodiscard]] int getDocumentType() const override { return m_type; }
    [[nodiscard]] QString getIdentifier() const override { return m_identifier; }
    [[nodiscard]] QString getReturnIdentifier() const override { return m_returnIdentifier; }
    [[nodiscard]] QVariant getSaleDocumentId() const override { return m_saleDocumentId; }
    [[nodiscard]] QSharedPointer<DocumentCardRecord> getCardRecord(int kind) const override;
    [[nodiscard]] bool hasCardRecord(int kind) const override;
    [[nodiscard]] bool isFlagSet(int code) const override;
    [[nodiscard]] double getSum() const override;
    [[nodiscard]] double getDiscountSum() const override;
    [[nodiscard]] QList<QSharedPointer<GoodsItem>> getGoodsItems() const override { return m_goodsItems; }
    [[nodiscard]] QSharedPointer<GoodsItem> getGoodsItemByPosnum(int posnum) const override;
    [[nodiscard]] QVariant getPluginData(const QString& pluginName, const QString& key,
                                         const QVariant& defaultValue) const override;
    void setPluginData(const QString& pluginName, const QString& key, const QVariant& value) override;

    // All that a stored form needs beside the above.
    /// The card records by their kind, shared with the document.
    [[nodiscard]] const QHash<int, QSharedPointer<DocumentCardRecord>>& cardRecords() const
    {
        return m_cardRecords;
    }
    /// The flags that are set.
    [[nodiscard]] const QSet<int>& flags() const { return m_flags; }
    /// Each plug-in's values by its name.
    [[nodiscard]] const QHash<QString, QVariantMap>& pluginData() const { return m_pluginData; }

private:
    EDocumentType m_type;
    QString m_identifier;
    QString m_returnIdentifier;
    QVariant m_saleDocumentId;
    QHash<int, QSharedPointer<DocumentCardRecord>> m_cardRecords;
    QSet<int> m_flags;
    QList<QSharedPointer<GoodsItem>> m_goodsItems;
    QHash<int, QSharedPointer<GoodsItem>> m_byPosnum; // a return of many positions looks each of them up
    QHash<QString, QVariantMap> m_pluginData;
};

#pragma once

#include "host/core/document.h"
#include "tests/support/fakehost.h"
#include "tests/support/fakeservice.h"
#include "tests/support/golden.h"
#include "tests/support/hostworld.h"
#include "tests/support/stillclock.h"
#include "tests/unit/client/openclient.h"

#include <gmock/gmock.h>

/// A position whose sums are what the test says, whatever its price and quantity.
class FixedItem : public GoodsItem
{
public:
    FixedItem(int posnum, double sum, double bonusImpact = 0, double quantity = 1)
        : GoodsItem(posnum, QStringLiteral("46%1").arg(posnum), QStringLiteral("Товар %1").arg(posnum), 10,
                    quantity)
        , m_sum(sum)
        , m_bonusImpact(bonusImpact)
    {}
    [[nodiscard]] double getSumb() const override { return m_sum; }
    [[nodiscard]] double getBonusImpactSum() const override { return m_bonusImpact; }

private:
    double m_sum;
    double m_bonusImpact;
};

/// A till with a receipt open for a card, at 2024-06-01 12:00 UTC; the service answers what the test scripts.
class ReceiptWorld : public test_support::HostWorld
{
protected:
    static constexpr qint64 noon = 1717243200;

    ReceiptWorld()
    {
        Singleton<Session>::instance = new Session;
        Singleton<Session>::instance->getRegistry()->setShopCode(QStringLiteral("shop-7"));
        Singleton<Session>::instance->setDocument(document);
        Singleton<DBQueueBroker>::instance = queue;
        Singleton<DocumentsDao>::instance = documents;
        document->setCardRecord(card);
        set("serverUrl", QStringLiteral("http://service/"));
        set("user", QStringLiteral("shop"));
        set("password", QStringLiteral("pass"));
        set("timeout", 7);
        client.init();
    }

    void openReturnOf(const QSharedPointer<Document>& sale, const QString& identifier = QStringLiteral("V-1"))
    {
        documents->documents.insert(sale->getIdentifier(), sale);
        document.reset(new Document(ReturnReceipt, identifier));
        document->setSaleDocumentId(sale->getIdentifier());
        document->setCardRecord(card);
        Singleton<Session>::instance->setDocument(document);
    }

    [[nodiscard]] QByteArray sentBody(qsizetype request = 0) const
    {
        return service.requests().value(request).body;
    }
    [[nodiscard]] QByteArray queuedBody(qsizetype entry = 0) const
    {
        return queue->entries.value(entry).message.value(QStringLiteral("body")).toByteArray();
    }
    [[nodiscard]] QVariantMap queuedJson(qsizetype entry = 0) const
    {
        return QJsonDocument::fromJson(queuedBody(entry)).toVariant().toMap();
    }

    test_support::FakeService service;
    test_support::StillClock clock{QDateTime::fromSecsSinceEpoch(noon)};
    test_support::RecordingQueue* queue = new test_support::RecordingQueue;
    test_support::FakeDocuments* documents = new test_support::FakeDocuments;
    QSharedPointer<Document> document{new Document(SaleReceipt, QStringLiteral("R-1"))};
    QSharedPointer<DocumentCardRecord> card{
        new DocumentCardRecord(KyrLoyaltySystem, QStringLiteral("2000000000017"), 4)};
    OpenClient client;
};

/// A map's value by a plain key.
inline QVariant at(const QVariantMap& map, const char* key) { return map.value(QString::fromUtf8(key)); }

#include "bench/shopreceipts.h"

#include "host/storage/transaction.h"

#include <array>

using namespace Qt::StringLiterals;

QSharedPointer<Document> ordinarySale(const QString& identifier)
{
    auto sale = QSharedPointer<Document>::create(SaleReceipt, identifier);
    for (int i = 1; i <= 8; ++i)
        sale->addGoodsItem(QSharedPointer<GoodsItem>::create(i, u"460123400%1"_s.arg(i),
                                                             u"Молоко пастеризованное 3,2 %"_s, 89.9, 2));
    const auto record = QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, u"2000000000017"_s, 2);
    record->setCardStatus(ECard::Active);
    record->setBonusBalance(1234.5);
    record->setOperationId(u"{\"earn\":\"%1\"}"_s.arg(identifier));
    sale->setCardRecord(record);
    QVariantList impacts;
    for (int i = 1; i <= 8; ++i)
        impacts.append(QVariantMap{{u"posnum"_s, i}, {u"sum"_s, 12.5}});
    sale->setPluginData(u"KyrLoyalty"_s, u"bonusImpacts"_s, impacts);
    return sale;
}

QSharedPointer<Document> ordinaryReturn(const QString& identifier, const QString& sale)
{
    auto receipt = QSharedPointer<Document>::create(ReturnReceipt, identifier);
    receipt->setSaleDocumentId(sale);
    receipt->addGoodsItem(
        QSharedPointer<GoodsItem>::create(1, u"4601234001"_s, u"Молоко пастеризованное 3,2 %"_s, 89.9, 1));
    return receipt;
}

void ClosedReceipts::close(const QSharedPointer<Document>& receipt)
{
    constexpr std::array events{"opened", "request", "answer", "request",
                                "answer", "request", "answer", "closed"};
    static_assert(events.size() == entries);
    storage::Transaction together;
    m_documents.store(receipt);
    if (receipt->hasCardRecord(KyrLoyaltySystem))
        m_documents.saveCardRecord(receipt->getCardRecord(KyrLoyaltySystem));
    for (const char* event : events) {
        storage::JournalEntry entry;
        entry.receipt = receipt->getIdentifier();
        entry.event = QString::fromLatin1(event);
        entry.operation = u"payment-b2c"_s;
        m_journal.add(entry);
    }
    const QString sale = receipt->getSaleDocumentId().toString();
    enqueue(sale.isEmpty() ? receipt->getIdentifier() : sale, QByteArray(2048, 'x'), 9);
    together.commit();
}

void ClosedReceipts::enqueue(const QString& receipt, const QByteArray& body, int port)
{
    m_queue.enqueue(u"bench"_s, receipt,
                    {{u"method"_s, u"POST"_s},
                     {u"headers"_s, QVariantMap{{u"Authorization"_s, u"Basic dXNlcjpwYXNz"_s}}},
                     {u"body"_s, body},
                     {u"timeout"_s, 10},
                     {u"url"_s, u"http://127.0.0.1:%1/v2/partner/operation/payment-b2c"_s.arg(port)}},
                    {});
}

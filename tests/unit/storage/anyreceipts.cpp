#include "tests/unit/storage/anyreceipts.h"

namespace test_support {

void AnyReceipts::store(const QSharedPointer<Document>& receipt)
{
    clock.move(std::chrono::milliseconds(1));
    dao->store(receipt);
    home->take();
}

QString AnyReceipts::storedOperationId() const
{
    return home->open()
        ->loadDocument(QStringLiteral("R-1"), true)
        ->getCardRecord(KyrLoyaltySystem)
        ->getOperationId();
}

void AnyReceipts::writeBack(const QString& operationId) const
{
    const auto its = record();
    its->setOperationId(operationId);
    dao->saveCardRecord(its);
}

QStringList AnyReceipts::identifiersOf(const QList<QSharedPointer<AbstractDocument>>& receipts)
{
    QStringList identifiers;
    for (const auto& receipt : receipts)
        identifiers.append(receipt->getIdentifier());
    return identifiers;
}

QStringList AnyReceipts::identifiersOf(const QList<ClosedSale>& sales)
{
    QStringList identifiers;
    for (const ClosedSale& sale : sales)
        identifiers.append(sale.document ? sale.identifier : sale.identifier + u'!');
    return identifiers;
}

} // namespace test_support

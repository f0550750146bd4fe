#include "till/audit/booking.h"

#include "host/storage/documents.h"
#include "host/utils/money.h"
#include "till/checkout/receiptsums.h"
#include "till/setup/hostobjects.h"

namespace till {

namespace {

/// Of a return whose points come to nothing the service hears only what it earned, and of a part that costs
/// nothing not even that.
int untoldParts(const QList<QSharedPointer<AbstractDocument>>& returns)
{
    int parts = 0;
    for (const auto& receipt : returns) {
        const bool told = bonusDiscountOf(*receipt) > 0;
        const auto items = receipt->getGoodsItems();
        for (const auto& item : items)
            parts += told && utils::toHundredths(item->getSumb() + item->getBonusImpactSum()) != 0 ? 0 : 1;
    }
    return parts;
}

} // namespace

QSet<QString> awaitedReceipts(const MessageQueue& queue)
{
    QSet<QString> receipts;
    for (auto next = queue.after(0); next; next = queue.after(next->id))
        receipts.insert(next->group);
    return receipts;
}

BookedReceipt bookedReceipt(const QString& identifier, const QSharedPointer<AbstractDocument>& open,
                            const QSet<QString>& awaited)
{
    auto& documents = hostObject<DocumentsDao>();
    BookedReceipt receipt{.document = documents.loadDocument(identifier, false)};
    receipt.closed = !receipt.document.isNull();
    if (!receipt.closed && open && open->getIdentifier() == identifier)
        receipt.document = open;
    const bool isReturn = receipt.document && receipt.document->getDocumentType() == ReturnReceipt;
    const QString sale = isReturn ? receipt.document->getSaleDocumentId().toString() : QString();
    if (isReturn)
        receipt.sale = documents.loadDocument(sale, false);
    if (receipt.sale && bonusDiscountOf(*receipt.sale) > 0)
        receipt.untold = untoldParts(documents.returnsOf(sale));
    receipt.awaited = awaited.contains(isReturn ? sale : identifier);
    return receipt;
}

} // namespace till

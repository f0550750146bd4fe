#include "till/audit/booking.h"

#include "host/utils/money.h"
#include "till/checkout/receiptsums.h"

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

BookedReceipt bookedReceipt(const QString& identifier, Records& records)
{
    BookedReceipt receipt{.document = records.closed(identifier)};
    receipt.closed = !receipt.document.isNull();
    if (const auto open = receipt.closed ? nullptr : records.open();
        open && open->getIdentifier() == identifier)
        receipt.document = open;
    const bool isReturn = receipt.document && receipt.document->getDocumentType() == ReturnReceipt;
    const QString sale = isReturn ? receipt.document->getSaleDocumentId().toString() : QString();
    if (isReturn)
        receipt.sale = records.closed(sale);
    if (receipt.sale && bonusDiscountOf(*receipt.sale) > 0)
        receipt.untold = untoldParts(records.returnsOf(sale));
    receipt.awaited = !records.messagesOf(isReturn ? sale : identifier).isEmpty();
    return receipt;
}

} // namespace till

#include "till/checkout/amounts.h"
#include "till/checkout/refusal.h"
#include "till/checkout/screen.h"
#include "till/scenario/stepplays.h"

using namespace Qt::StringLiterals;

namespace till::plays {

void addPositions(Document& receipt, const QVariantList& positions)
{
    int posnum = 0;
    for (const QVariant& entry : positions) {
        const QVariantMap position = entry.toMap();
        const auto item = QSharedPointer<GoodsItem>::create(
            ++posnum, position.value(u"articul"_s).toString(), position.value(u"name"_s).toString(),
            position.value(u"price"_s).toDouble(), position.value(u"quantity"_s).toDouble());
        item->setDiscount(position.value(u"discount"_s).toDouble());
        receipt.addGoodsItem(item);
    }
    requireAmounts(receipt);
}

// The points were taken for the receipt as it stood, so from then on its positions stay.
Outcome setPositions(Till& till, const QVariantMap& members)
{
    const auto before = receiptOf(till);
    if (before->getDocumentType() != SaleReceipt)
        refuse(u"Позиции возврата не меняются: отмените его и начните заново"_s);
    requireChangeable(till);
    if (till.hasSpentPoints())
        refuse(u"Баллы уже списаны: позиции не изменить. Оплатите чек или отмените его"_s);
    const auto receipt = QSharedPointer<Document>::create(SaleReceipt, before->getIdentifier());
    addPositions(*receipt, members.value(u"positions"_s).toList());
    for (const auto& record : before->cardRecords())
        receipt->setCardRecord(record);
    for (const int flag : before->flags())
        receipt->setFlag(flag);
    for (auto own = before->pluginData().cbegin(); own != before->pluginData().cend(); ++own) {
        for (auto value = own->cbegin(); value != own->cend(); ++value)
            receipt->setPluginData(own.key(), value.key(), value.value());
    }
    till.change(receipt);
    return {.ok = true, .screen = screen::receipt(*receipt)};
}

} // namespace till::plays

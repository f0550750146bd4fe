#include "host/utils/money.h"
#include "host/utils/quantity.h"
#include "till/screen.h"
#include "till/stepplays.h"

#include <algorithm>

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

QString quantityRule() { return u"количество — от 0,001 до 999 999,999, не мельче тысячных"_s; }

void requireAmounts(const AbstractDocument& receipt)
{
    const auto items = receipt.getGoodsItems();
    for (const auto& item : items) {
        const QString position = u"Позиция %1: "_s.arg(item->getPosnum());
        if (!utils::toThousandths(item->getBquant()))
            refuse(position + quantityRule());
        const auto amounts = {item->getPrice(), item->getDiscount(), item->getBonusImpactSum(),
                              item->getSumb()};
        const auto isAmount = [](double amount) { return utils::toHundredths(amount).has_value(); };
        if (!std::all_of(amounts.begin(), amounts.end(), isAmount))
            refuse(position + u"цена, скидка или сумма слишком велика или не число"_s);
    }
    if (!utils::toHundredths(receipt.getSum()))
        refuse(u"Сумма чека слишком велика"_s);
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

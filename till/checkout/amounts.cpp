#include "till/checkout/amounts.h"

#include "host/utils/money.h"
#include "host/utils/quantity.h"
#include "till/checkout/failure.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till {

tr::Tr badQuantity(int posnum)
{
    return tr::Tr(u"tillBadQuantity"_s,
                  u"Позиция %1: количество — от 0,001 до 999 999,999, не мельче тысячных"_s)
        .arg(QString::number(posnum));
}

void requireAmounts(const AbstractDocument& receipt)
{
    const auto items = receipt.getGoodsItems();
    for (const auto& item : items) {
        if (!utils::toThousandths(item->getBquant()))
            fail(badQuantity(item->getPosnum()));
        const auto amounts = {item->getPrice(), item->getDiscount(), item->getBonusImpactSum(),
                              item->getSumb()};
        const auto isAmount = [](double amount) { return utils::toHundredths(amount).has_value(); };
        if (!std::all_of(amounts.begin(), amounts.end(), isAmount))
            fail(tr::Tr(u"tillBadAmount"_s,
                        u"Позиция %1: цена, скидка или сумма слишком велика или не число"_s)
                     .arg(QString::number(item->getPosnum())));
        const bool isCost =
            item->getPrice() >= 0 && item->getDiscount() >= 0 &&
            utils::toHundredths(item->getDiscount()) <= utils::toHundredths(item->getGrossSum());
        if (!isCost)
            fail(tr::Tr(u"tillBadDiscount"_s,
                        u"Позиция %1: цена и скидка — не меньше нуля, скидка — не больше стоимости"_s)
                     .arg(QString::number(item->getPosnum())));
    }
    if (!utils::toHundredths(receipt.getSum()))
        fail({u"tillBadTotal"_s, u"Сумма чека слишком велика"_s});
}

} // namespace till

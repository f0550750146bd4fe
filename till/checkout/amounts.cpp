#include "till/checkout/amounts.h"

#include "host/utils/money.h"
#include "host/utils/quantity.h"
#include "till/checkout/failure.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till {

QString quantityRule() { return u"количество — от 0,001 до 999 999,999, не мельче тысячных"_s; }

void requireAmounts(const AbstractDocument& receipt)
{
    const auto items = receipt.getGoodsItems();
    for (const auto& item : items) {
        const QString position = u"Позиция %1: "_s.arg(item->getPosnum());
        if (!utils::toThousandths(item->getBquant()))
            fail(position + quantityRule());
        const auto amounts = {item->getPrice(), item->getDiscount(), item->getBonusImpactSum(),
                              item->getSumb()};
        const auto isAmount = [](double amount) { return utils::toHundredths(amount).has_value(); };
        if (!std::all_of(amounts.begin(), amounts.end(), isAmount))
            fail(position + u"цена, скидка или сумма слишком велика или не число"_s);
    }
    if (!utils::toHundredths(receipt.getSum()))
        fail(u"Сумма чека слишком велика"_s);
}

} // namespace till

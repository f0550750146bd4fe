#include "till/checkout/receiptsums.h"

#include "host/utils/money.h"

#include <cstdint>

namespace till {

std::optional<std::int64_t> bonusDiscountOf(const AbstractDocument& document)
{
    std::int64_t sum = 0;
    const auto items = document.getGoodsItems();
    for (const auto& item : items) {
        const auto discount = utils::toHundredths(item->getBonusImpactSum());
        if (!discount)
            return std::nullopt;
        sum += *discount;
    }
    return sum;
}

std::optional<std::int64_t> earnedBy(const AbstractDocument& document)
{
    const auto record = document.getCardRecord(KyrLoyaltySystem);
    if (!record || !record->getPointsForEarn().isValid())
        return std::nullopt;
    return utils::toHundredths(record->getPointsForEarn().toDouble());
}

} // namespace till

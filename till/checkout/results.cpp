#include "till/checkout/results.h"

#include "host/utils/basicexception.h"
#include "till/cli/usageerror.h"

namespace till {

void carryOut(Result& result, const std::function<void()>& operation)
{
    try {
        operation();
    } catch (const UsageError&) {
        throw;
    } catch (const BasicException& failure) {
        result.ok = false;
        result.error = failure.tr().shown();
    } catch (const std::exception& failure) {
        result.ok = false;
        result.error = QString::fromUtf8(failure.what());
    }
}

QList<Line> linesOf(const AbstractDocument& receipt)
{
    QList<Line> lines;
    const auto items = receipt.getGoodsItems();
    for (const auto& item : items)
        lines.append({.articul = item->getArticul(),
                      .name = item->getName(false),
                      .price = item->getPrice(),
                      .quantity = item->getBquant(),
                      .discount = item->getDiscount()});
    return lines;
}

} // namespace till

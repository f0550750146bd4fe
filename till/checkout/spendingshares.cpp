#include "till/checkout/spendingshares.h"

#include "host/utils/money.h"

#include <QMap>

#include <cstdint>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace till {

namespace {

QString number(double value) { return QString::number(value, 'g', 12); }

QString number(std::int64_t hundredths)
{
    return QString::number(static_cast<double>(hundredths) / 100, 'f', 2);
}

bool isNear(std::int64_t one, std::int64_t other) { return std::abs(one - other) <= 1; }

} // namespace

QString shareFault(const BonusImpact& impact, const Document& receipt, double worth)
{
    const double discount = impact.getTotals()->getDiscountSum();
    const auto total = utils::toHundredths(discount);
    const auto asked = utils::toHundredths(worth);
    if (!total || !asked || !isNear(*total, *asked))
        return u"the discount is %1, the points asked for are worth %2"_s.arg(number(discount),
                                                                              number(worth));

    QMap<int, double> shares; // a position may have several
    for (const auto& [position, sum] : impact.getPositionSums()) {
        if (!receipt.getGoodsItemByPosnum(position))
            return u"a share is position %1's, which the receipt does not have"_s.arg(position);
        if (!(sum >= 0) || !utils::toHundredths(sum))
            return u"the share of position %1 is %2"_s.arg(QString::number(position), number(sum));
        shares[position] += sum;
    }

    std::int64_t given = 0; // as the receipt will count it, position by position
    for (auto share = shares.cbegin(); share != shares.cend(); ++share) {
        const double sum = receipt.getGoodsItemByPosnum(share.key())->getSumb();
        const auto most = utils::toHundredths(sum);
        const auto part = utils::toHundredths(share.value());
        if (!most || !part || *part > *most)
            return u"position %1 costs %2 and gets %3"_s.arg(QString::number(share.key()), number(sum),
                                                             number(share.value()));
        given += *part;
    }
    if (!isNear(given, *total))
        return u"the shares come to %1, the discount is %2"_s.arg(number(given), number(*total));
    return {};
}

} // namespace till

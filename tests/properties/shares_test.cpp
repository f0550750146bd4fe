// What a spending puts on the positions of a receipt is taken when each has its own, and never otherwise,
// though the sum be right.
#include "tests/properties/receipts.h"
#include "till/checkout/spendingshares.h"

#include <gtest/gtest.h>

#include <rapidcheck/gtest.h>

#include <cmath>
#include <map>

namespace {

using Shares = std::map<int, int>; // hundredths by position

int costOf(const Document& receipt, int posnum)
{
    return static_cast<int>(std::lround(receipt.getGoodsItemByPosnum(posnum)->getSumb() * 100));
}

/// So much for each position as it has room for, one at least for one of them.
Shares sharesOf(const Document& receipt)
{
    Shares shares;
    int total = 0;
    for (const auto& item : receipt.getGoodsItems()) {
        const int cost = costOf(receipt, item->getPosnum());
        shares[item->getPosnum()] = *rc::gen::inRange(0, cost + 1);
        total += shares[item->getPosnum()];
    }
    RC_PRE(total > 0);
    return shares;
}

int sumOf(const Shares& shares)
{
    int sum = 0;
    for (const auto& [posnum, share] : shares)
        sum += share;
    return sum;
}

/// What is wrong with them as the discount of that total, in hundredths.
QString faultOf(const Shares& shares, int total, const Document& receipt, int worth)
{
    const auto totals = QSharedPointer<DocumentImpactDetail>::create();
    totals->setDiscountSum(total / 100.0);
    BonusImpact impact(totals);
    for (const auto& [posnum, share] : shares) {
        const int half = share / 2; // a position may have several
        impact.addDetailForPosition(posnum, half / 100.0);
        impact.addDetailForPosition(posnum, (share - half) / 100.0);
    }
    return till::shareFault(impact, receipt, worth / 100.0);
}

} // namespace

RC_GTEST_PROP(SpendingShares, AreTakenWhenEachPositionHasItsOwn, ())
{
    const auto receipt = *properties::soldReceipts();
    const Shares shares = sharesOf(*receipt);
    const int total = sumOf(shares);
    RC_ASSERT(faultOf(shares, total, *receipt, total).isEmpty());
}

RC_GTEST_PROP(SpendingShares, AreRefusedWhenAPositionHasMoreThanItCostsThoughTheSumIsRight, ())
{
    const auto receipt = *properties::soldReceipts();
    Shares shares = sharesOf(*receipt);
    const int total = sumOf(shares);
    const auto items = receipt->getGoodsItems();
    const auto greedy = items[*rc::gen::inRange<qsizetype>(0, items.size())];
    const int cost = costOf(*receipt, greedy->getPosnum());
    int missing = cost + 1 - shares[greedy->getPosnum()];
    for (auto& [posnum, share] : shares) { // the others give it what they have
        const int given = posnum == greedy->getPosnum() ? 0 : std::min(share, missing);
        share -= given;
        missing -= given;
    }
    RC_PRE(missing == 0);
    shares[greedy->getPosnum()] = cost + 1;
    RC_ASSERT(sumOf(shares) == total);
    RC_ASSERT(!faultOf(shares, total, *receipt, total).isEmpty());
}

RC_GTEST_PROP(SpendingShares, AreRefusedWhenOneIsOfNoPositionOfTheReceipt, ())
{
    const auto receipt = *properties::soldReceipts();
    Shares shares = sharesOf(*receipt);
    const int total = sumOf(shares);
    const int stranger = *rc::gen::suchThat(rc::gen::inRange(-5, 2000), [&](int posnum) {
        return receipt->getGoodsItemByPosnum(posnum).isNull();
    });
    const auto moved = shares.extract(receipt->getGoodsItems().first()->getPosnum());
    shares[stranger] = moved.mapped();
    RC_ASSERT(!faultOf(shares, total, *receipt, total).isEmpty());
}

RC_GTEST_PROP(SpendingShares, AreRefusedWhenTheyComeToAnotherSumThanWasAskedFor, ())
{
    const auto receipt = *properties::soldReceipts();
    const Shares shares = sharesOf(*receipt);
    const int total = sumOf(shares);
    const int other = total + *rc::gen::element(-1, 1) * *rc::gen::inRange(2, 1000);
    RC_ASSERT(!faultOf(shares, total, *receipt, other).isEmpty());
    RC_ASSERT(!faultOf(shares, other, *receipt, other).isEmpty());
}

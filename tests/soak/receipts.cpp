#include "tests/soak/receipts.h"

#include "tests/support/steps.h"

using namespace story;

namespace soaktest {

namespace {

Step saleOf(const QByteArray& number) { return openSale("R-" + number, {tea(150, 2), honey(99.9)}); }

Step returned(const QByteArray& number, const char* which, const QList<Back>& positions)
{
    return openReturn("V-" + number + which, "R-" + number, positions);
}

const Back oneTea = position(1);
const Back honeyJar = position(2);
const QList<Back> allOfIt{position(1, 2), honeyJar};

/// One receipt, and what comes at the end of the day.
struct Receipt
{
    Steps now;
    Steps later = {};
};

Receipt receiptOf(int index)
{
    const QByteArray n = QByteArray::number(index + 1);
    const Step sale = saleOf(n);
    const Step rich = identifyByCard("2000000000031"); // so that no spending depends on what came before it
    const Step plain = identifyByCard("2000000000017");
    const Step spend = spendPoints(100);
    constexpr int kinds = 6;
    switch (index % kinds) {
    case 0:
        return {sale + rich + spend + pay(),
                returned(n, "a", {oneTea}) + pay() + returned(n, "b", {honeyJar}) + pay()};
    case 1:
        return {sale + pay() + returned(n, "a", {oneTea}) + pay()};
    case 2:
        return {sale + rich + spend + rollback()};
    case 3:
        return {sale + plain + pay() + returned(n, "a", allOfIt) + pay()};
    case 4:
        return {sale + pay(), returned(n, "a", allOfIt) + pay()};
    default:
        return {sale + rich + spend + pay() + returned(n, "a", {oneTea}) + pay(),
                returned(n, "b", {oneTea}) + pay()};
    }
}

} // namespace

QByteArray scenarioWith(int receipts)
{
    Steps steps;
    Steps later;
    for (int index = 0; index < receipts; ++index) {
        const Receipt receipt = receiptOf(index);
        steps += receipt.now;
        later += receipt.later;
    }
    return scenario(steps + later);
}

} // namespace soaktest

#include "tests/soak/receipts.h"

#include <QList>

namespace soaktest {

namespace {

const QByteArray spend = R"({ "do": "spendPoints", "points": 100 })";
const QByteArray pay = R"({ "do": "pay" })";
const QByteArray rollback = R"({ "do": "rollback" })";

QByteArray sale(const QByteArray& number)
{
    return R"({ "do": "openSale", "id": "R-)" + number +
           R"(", "positions": [ { "articul": "1", "name": "Чай", "price": 150, "quantity": 2 },
                { "articul": "2", "name": "Мёд", "price": 99.9, "quantity": 1 } ] })";
}

QByteArray card(const QByteArray& number)
{
    return R"({ "do": "identifyByCard", "card": ")" + number + "\" }";
}

QByteArray returned(const QByteArray& number, const QByteArray& which, const QByteArray& positions)
{
    return R"({ "do": "openReturn", "id": "V-)" + number + which + R"(", "of": "R-)" + number +
           R"(", "positions": [ )" + positions + " ] }";
}

const QByteArray oneTea = R"({ "posnum": 1, "quantity": 1 })";
const QByteArray honey = R"({ "posnum": 2, "quantity": 1 })";
const QByteArray allOfIt = R"({ "posnum": 1, "quantity": 2 }, )" + honey;

/// The steps of one receipt, and those that come at the end of the day.
struct Steps
{
    QList<QByteArray> now;
    QList<QByteArray> later = {};
};

Steps stepsOf(int index)
{
    const QByteArray n = QByteArray::number(index + 1);
    const QByteArray rich = card("2000000000031"); // so that no spending depends on what came before it
    const QByteArray plain = card("2000000000017");
    constexpr int kinds = 6;
    switch (index % kinds) {
    case 0:
        return {{sale(n), rich, spend, pay}, {returned(n, "a", oneTea), pay, returned(n, "b", honey), pay}};
    case 1:
        return {{sale(n), pay, returned(n, "a", oneTea), pay}};
    case 2:
        return {{sale(n), rich, spend, rollback}};
    case 3:
        return {{sale(n), plain, pay, returned(n, "a", allOfIt), pay}};
    case 4:
        return {{sale(n), pay}, {returned(n, "a", allOfIt), pay}};
    default:
        return {{sale(n), rich, spend, pay, returned(n, "a", oneTea), pay}, {returned(n, "b", oneTea), pay}};
    }
}

} // namespace

QByteArray scenarioWith(int receipts)
{
    QList<QByteArray> steps;
    QList<QByteArray> later;
    for (int index = 0; index < receipts; ++index) {
        const Steps own = stepsOf(index);
        steps += own.now;
        later += own.later;
    }
    return R"({ "steps": [ )" + (steps + later).join(",\n") + " ] }";
}

} // namespace soaktest

#include "till/checkout/screen.h"
#include "till/scenario/stepplays.h"

using namespace Qt::StringLiterals;

namespace till::plays {

namespace {

QList<Line> linesOf(const QVariantMap& members)
{
    QList<Line> lines;
    const QVariantList positions = members.value(u"positions"_s).toList();
    for (const QVariant& entry : positions) {
        const QVariantMap position = entry.toMap();
        lines.append({.articul = position.value(u"articul"_s).toString(),
                      .name = position.value(u"name"_s).toString(),
                      .price = position.value(u"price"_s).toDouble(),
                      .quantity = position.value(u"quantity"_s).toDouble(),
                      .discount = position.value(u"discount"_s).toDouble()});
    }
    return lines;
}

QList<ReturnLine> returnLinesOf(const QVariantMap& members)
{
    QList<ReturnLine> lines;
    const QVariantList positions = members.value(u"positions"_s).toList();
    for (const QVariant& entry : positions) {
        const QVariantMap position = entry.toMap();
        lines.append({.posnum = position.value(u"posnum"_s).toInt(),
                      .quantity = position.value(u"quantity"_s).toDouble()});
    }
    return lines;
}

/// With the receipt as it stands now.
Outcome shown(const Till& till, const Result& result)
{
    Outcome outcome = outcomeOf(result);
    if (result.ok)
        outcome.screen = screen::receipt(*till.checkout().receipt());
    return outcome;
}

} // namespace

Outcome openSale(const Workplace& at, const QVariantMap& members)
{
    return shown(at.till, at.till.checkout().openSale(members.value(u"id"_s).toString(), linesOf(members)));
}

Outcome openReturn(const Workplace& at, const QVariantMap& members)
{
    return shown(at.till,
                 at.till.checkout().openReturn(members.value(u"id"_s).toString(),
                                               members.value(u"of"_s).toString(), returnLinesOf(members)));
}

Outcome setPositions(const Workplace& at, const QVariantMap& members)
{
    return shown(at.till, at.till.checkout().setLines(linesOf(members)));
}

Outcome pay(const Workplace& at, const QVariantMap& /*members*/)
{
    const Payment payment = at.till.checkout().pay();
    Outcome outcome = outcomeOf(payment);
    if (payment.earned)
        outcome.value = *payment.earned;
    if (payment.ok)
        outcome.screen = screen::payment(payment);
    return outcome;
}

Outcome rollback(const Workplace& at, const QVariantMap& /*members*/)
{
    Checkout& checkout = at.till.checkout();
    const QString identifier = checkout.receipt() ? checkout.receipt()->getIdentifier() : QString();
    return outcomeOf(checkout.rollBack(), {screen::abandoned(identifier)});
}

} // namespace till::plays

#include "till/reconciliation.h"

#include "host/utils/masking.h"
#include "host/utils/money.h"
#include "till/screen.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

struct Operation
{
    QString kind;
    QString receipt;
};

QString number(std::int64_t hundredths)
{
    return QString::number(static_cast<double>(hundredths) / 100, 'f', 2);
}

/// "R-1, card …0055: spent 30.00 at the till, 0.00 in the ledger"; empty when they are the same.
QString difference(const QString& heading, const QString& what, std::int64_t till, std::int64_t ledger)
{
    return till == ledger ? QString()
                          : u"%1: %2 %3 at the till, %4 in the ledger"_s.arg(heading, what, number(till),
                                                                             number(ledger));
}

} // namespace

Ledger::Ledger(const QVariantMap& page, const Ratio& ratio)
{
    QHash<qlonglong, Operation> known;
    const QVariantList operations = page.value(u"operations"_s).toList();
    for (const QVariant& entry : operations) {
        const QVariantMap operation = entry.toMap();
        const QString kind = operation.value(u"operation"_s).toString();
        if (kind == u"opening"_s)
            continue;
        const Operation root = known.value(operation.value(u"root"_s).toLongLong());
        // A cancellation names no receipt but the one whose spending it cancels.
        const QString identifier =
            kind == u"cancellation"_s ? root.receipt : operation.value(u"check_identifier"_s).toString();
        if (identifier.isEmpty())
            continue; // a cancellation of nothing
        known.insert(operation.value(u"n"_s).toLongLong(), {kind, identifier});
        if (!m_receipts.contains(identifier))
            m_order.append(identifier);

        const std::int64_t points = utils::toHundredths(operation.value(u"points"_s).toDouble());
        const std::int64_t money = points * ratio.money / ratio.points;
        LedgerReceipt& receipt = m_receipts[identifier];
        if (receipt.card.isEmpty())
            receipt.card = operation.value(u"card"_s).toString();
        if (kind == u"spending"_s) {
            receipt.spent += money;
        } else if (kind == u"cancellation"_s) {
            receipt.spent -= money;
        } else if (kind == u"earning"_s) {
            receipt.earned += money;
            receipt.earnedInPoints += points;
            ++receipt.earnings;
        } else if (root.kind == u"spending"_s) {
            receipt.givenBack += money;
        }
    }
}

QStringList Ledger::differences(const QString& identifier, const BookedReceipt& booked) const
{
    const LedgerReceipt books = receipt(identifier);
    const AbstractDocument* document = booked.document.get();
    const auto record = document ? document->getCardRecord(KyrLoyaltySystem) : nullptr;
    const QString card = record ? record->getNumber().toString() : books.card;
    const QString heading = identifier + (card.isEmpty() ? u""_s : u", card "_s + utils::maskNumbers(card));
    const bool isSale = document && document->getDocumentType() == SaleReceipt;
    const bool isReturn = document && !isSale;

    QStringList found;
    if (record && !books.card.isEmpty() && books.card != card)
        found.append(u"%1: card %2 in the ledger"_s.arg(heading, utils::maskNumbers(books.card)));
    // Unless the cancellation of an abandoned spending waits in the queue.
    if (isSale || !booked.awaited)
        found.append(difference(heading, u"spent"_s, isSale ? bonusDiscountOf(*document) : 0, books.spent));

    const bool refusalWaits = booked.awaited && books.givenBack == 0;
    if (!isReturn)
        found.append(difference(heading, u"given back"_s, 0, books.givenBack));
    else if (booked.closed && !refusalWaits)
        found.append(difference(heading, u"given back"_s, bonusDiscountOf(*document), books.givenBack));

    const bool earns = isSale && record;
    if (!earns)
        found.append(difference(heading, u"earned"_s, 0, books.earned));
    else if (books.earnings > 1)
        found.append(u"%1: %2 earnings in the ledger"_s.arg(heading, QString::number(books.earnings)));
    else if (const auto earned = earnedBy(*document); earned && books.earnings == 1)
        found.append(difference(heading, u"earned"_s, *earned, books.earned));
    else if (books.earnings == 0 && booked.closed && !booked.awaited)
        found.append(heading + u": no earning in the ledger"_s);
    found.removeAll(QString());
    return found;
}

std::int64_t bonusDiscountOf(const AbstractDocument& document)
{
    std::int64_t sum = 0;
    const auto items = document.getGoodsItems();
    for (const auto& item : items)
        sum += utils::toHundredths(item->getBonusImpactSum());
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

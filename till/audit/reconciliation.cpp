#include "till/audit/reconciliation.h"

#include "host/utils/masking.h"
#include "host/utils/money.h"
#include "till/checkout/receiptsums.h"
#include "till/cli/usageerror.h"

#include <cstdint>

using namespace Qt::StringLiterals;

namespace till {

namespace {

QString number(std::int64_t hundredths)
{
    return QString::number(static_cast<double>(hundredths) / 100, 'f', 2);
}

/// "R-1, card …0055: spent 30.00 at the till, 0.00 in the ledger"; empty when they are no further apart than
/// that.
QString difference(const QString& heading, const QString& what, const std::optional<std::int64_t>& till,
                   std::int64_t ledger, std::int64_t noise = 0)
{
    if (till && std::abs(*till - ledger) <= noise)
        return {};
    return u"%1: %2 %3 at the till, %4 in the ledger"_s.arg(
        heading, what, till ? number(*till) : u"no amount"_s, number(ledger));
}

std::int64_t amountOf(const QVariantMap& entry, const QString& member)
{
    const double amount = entry.value(member).toDouble();
    if (const auto hundredths = utils::toHundredths(amount))
        return *hundredths;
    throw UsageError(u"the ledger has %1 for %2"_s.arg(QString::number(amount), member));
}

/// How far the points that come back with a return may be worth more or less than at the till: both cut each
/// position's part, each to hundredths of its own unit; and after a part that the service was told nothing of
/// it cuts elsewhere.
std::int64_t cutsOf(const BookedReceipt& booked, const Ratio& ratio)
{
    const bool sameUnit = ratio.points == ratio.money;
    const auto positions = static_cast<std::int64_t>(booked.document->getGoodsItems().size());
    return booked.untold + (sameUnit ? 0 : positions * (1 + ratio.money / ratio.points));
}

} // namespace

Ledger::Ledger(const QVariantMap& page, const Ratio& ratio)
    : m_ratio(ratio)
{
    const QVariantList operations = page.value(u"operations"_s).toList();
    for (const QVariant& operation : operations)
        addOperation(operation.toMap());
    const QVariantList anonymous = page.value(u"anonymous"_s).toList();
    for (const QVariant& report : anonymous)
        addAnonymous(report.toMap());
}

void Ledger::addOperation(const QVariantMap& operation)
{
    const QString kind = operation.value(u"operation"_s).toString();
    if (kind == u"opening"_s)
        return;
    const Root root = m_operations.value(operation.value(u"root"_s).toLongLong());
    // A cancellation names no receipt but the one whose spending it cancels.
    const QString identifier =
        kind == u"cancellation"_s ? root.receipt : operation.value(u"check_identifier"_s).toString();
    if (identifier.isEmpty())
        return; // a cancellation of nothing
    m_operations.insert(operation.value(u"n"_s).toLongLong(), {kind, identifier});
    noteDay(identifier, operation.value(u"time"_s).toString());

    const std::int64_t points = amountOf(operation, u"points"_s);
    const std::int64_t money = utils::cutPart(points, m_ratio.money, m_ratio.points);
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
    } else {
        receipt.takenBack += points;
    }
}

void Ledger::addAnonymous(const QVariantMap& report)
{
    const QString identifier = report.value(u"receipt_number"_s).toString();
    const std::int64_t amount = amountOf(report.value(u"receipt"_s).toMap(), u"receipt_amount"_s);
    noteDay(identifier, report.value(u"time"_s).toString());
    m_anonymous.insert(report.value(u"method"_s).toString() + u' ' + identifier, amount);
}

void Ledger::noteDay(const QString& identifier, const QString& time)
{
    if (!m_known.contains(identifier))
        m_order.append(identifier);
    m_known.insert(identifier);
    m_days.insert(QDateTime::fromString(time, Qt::ISODateWithMs).toLocalTime().date(), identifier);
}

QStringList Ledger::receiptsOf(const QDate& day) const
{
    QStringList found;
    for (const QString& identifier : m_order) {
        if (m_days.contains(day, identifier))
            found.append(identifier);
    }
    return found;
}

QStringList Ledger::differences(const QString& identifier, const BookedReceipt& booked) const
{
    const LedgerReceipt books = receipt(identifier);
    const auto record = booked.document ? booked.document->getCardRecord(KyrLoyaltySystem) : nullptr;
    const QString card = record ? record->getNumber().toString() : books.card;
    const QString heading = identifier + (card.isEmpty() ? u""_s : u", card "_s + utils::maskWhole(card));
    QStringList found;
    if (record && !books.card.isEmpty() && books.card != card)
        found.append(u"%1: card %2 in the ledger"_s.arg(heading, utils::maskWhole(books.card)));
    found += pointsDifferences(heading, books, booked);
    found.append(earningDifference(heading, books, booked));
    found.append(takenBackDifference(heading, books, booked));
    if (!record)
        found.append(anonymousDifference(identifier, booked));
    found.removeAll(QString());
    return found;
}

QStringList Ledger::pointsDifferences(const QString& heading, const LedgerReceipt& books,
                                      const BookedReceipt& booked) const
{
    const AbstractDocument* document = booked.document.get();
    const bool isSale = document && document->getDocumentType() == SaleReceipt;
    const bool isReturn = document && !isSale;
    QStringList found;
    // Unless the cancellation of an abandoned spending waits in the queue.
    if (isSale || !booked.awaited)
        found.append(difference(heading, u"spent"_s, isSale ? bonusDiscountOf(*document) : 0, books.spent));
    const bool suspensionWaits = booked.awaited && books.givenBack == 0;
    if (!isReturn)
        found.append(difference(heading, u"given back"_s, 0, books.givenBack));
    else if (booked.closed && !suspensionWaits)
        found.append(difference(heading, u"given back"_s, bonusDiscountOf(*document), books.givenBack,
                                cutsOf(booked, m_ratio)));
    return found;
}

QString Ledger::earningDifference(const QString& heading, const LedgerReceipt& books,
                                  const BookedReceipt& booked) const
{
    const AbstractDocument* document = booked.document.get();
    const bool earns =
        document && document->getDocumentType() == SaleReceipt && document->getCardRecord(KyrLoyaltySystem);
    if (!earns)
        return difference(heading, u"earned"_s, 0, books.earned);
    if (books.earnings > 1)
        return u"%1: %2 earnings in the ledger"_s.arg(heading, QString::number(books.earnings));
    if (const auto earned = earnedBy(*document); earned && books.earnings == 1)
        return difference(heading, u"earned"_s, *earned, books.earned);
    const bool missing = books.earnings == 0 && booked.closed && !booked.awaited;
    return missing ? heading + u": no earning in the ledger"_s : QString();
}

// What comes back counts in proportion to the sums; the service cuts each position's share of the earning to
// hundredths, and each part of that again.
QString Ledger::takenBackDifference(const QString& heading, const LedgerReceipt& books,
                                    const BookedReceipt& booked) const
{
    const AbstractDocument* document = booked.document.get();
    const bool isReturn = booked.closed && document && document->getDocumentType() == ReturnReceipt;
    if (!isReturn)
        return books.takenBack == 0
                   ? QString()
                   : u"%1: %2 earned points taken back in the ledger, none at the till"_s.arg(
                         heading, number(books.takenBack));
    if (!booked.sale || (booked.awaited && books.takenBack == 0))
        return {};
    const auto sold = utils::toHundredths(booked.sale->getSum());
    const auto back = utils::toHundredths(document->getSum());
    if (!sold || !back)
        return heading + u": what was paid is no amount"_s;
    const std::int64_t earned = receipt(booked.sale->getIdentifier()).earnedInPoints;
    const std::int64_t expected = *sold > 0 ? utils::cutPart(earned, *back, *sold) : 0;
    const auto noise = 2 * static_cast<std::int64_t>(booked.sale->getGoodsItems().size()) - 1;
    return std::abs(expected - books.takenBack) <= noise
               ? QString()
               : u"%1: earned points taken back: %2 for what came back, %3 in the ledger"_s.arg(
                     heading, number(expected), number(books.takenBack));
}

QString Ledger::anonymousDifference(const QString& identifier, const BookedReceipt& booked) const
{
    if (!booked.document && m_anonymous.contains(u"POST "_s + identifier))
        return identifier + u", no card: reported to the service, unknown to the till"_s;
    if (!booked.closed || booked.awaited)
        return {};
    const bool isReturn = booked.document->getDocumentType() == ReturnReceipt;
    const QString key =
        isReturn ? u"PUT "_s + booked.document->getReturnIdentifier() : u"POST "_s + identifier;
    const auto reported = m_anonymous.constFind(key);
    if (reported == m_anonymous.constEnd())
        return identifier + u", no card: not reported to the service"_s;
    if (isReturn) // of a part of the sale the service is told the whole sale, and then the rest anew
        return {};
    return difference(identifier + u", no card"_s, u"reported"_s,
                      utils::toHundredths(booked.document->getSum()), *reported);
}

} // namespace till

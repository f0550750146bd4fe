// Whether till and service agree in the end, and with what people have seen.

#include "tests/simulation/shop.h"

#include "host/storage/documents.h"
#include "till/audit/booking.h"
#include "till/audit/reconciliation.h"
#include "till/setup/hostobjects.h"

#include <QMap>
#include <QSet>

#include <cmath>
#include <numeric>

using namespace Qt::StringLiterals;

namespace simulation {

namespace {

/// What the service's books hold of one receipt, told from its rows and nothing else.
struct Booked
{
    int spendings = 0; ///< that were not canceled
    int earnings = 0;
    int posted = 0;               ///< as a receipt without a card
    QMap<QString, qint64> points; ///< spent on each position, in hundredths
};

QHash<QString, Booked> bookedBy(Service& service)
{
    QHash<QString, Booked> all;
    const QString stands =
        u"o.operation = 'spending' AND NOT EXISTS "
        "(SELECT 1 FROM operations c WHERE c.root = o.n AND c.operation = 'cancellation')"_s;
    for (const QVariantList& row :
         service.rows(u"SELECT o.check_identifier FROM operations o WHERE "_s + stands))
        ++all[row[0].toString()].spendings;
    for (const QVariantList& row :
         service.rows(u"SELECT o.check_identifier, s.position, s.points FROM operations o "
                      "JOIN shares s ON s.operation = o.n WHERE s.points <> 0 AND "_s +
                      stands))
        all[row[0].toString()].points[row[1].toString()] += row[2].toLongLong();
    for (const QVariantList& row :
         service.rows(u"SELECT check_identifier FROM operations WHERE operation = 'earning'"_s))
        ++all[row[0].toString()].earnings;
    for (const QVariantList& row :
         service.rows(u"SELECT receipt_number FROM anonymous WHERE method = 'POST'"_s))
        ++all[row[0].toString()].posted;
    return all;
}

/// The points on each position of the receipt, as bookedBy() has them.
QMap<QString, qint64> pointsOn(const AbstractDocument& receipt)
{
    QMap<QString, qint64> points;
    const auto items = receipt.getGoodsItems();
    for (const auto& item : items) {
        if (const qint64 hundredths = std::llround(item->getBonusImpactSum() * 100); hundredths != 0)
            points.insert(QString::number(item->getPosnum()), hundredths);
    }
    return points;
}

QString textOf(const QMap<QString, qint64>& points)
{
    QStringList parts;
    for (auto part = points.begin(); part != points.end(); ++part)
        parts.append(u"%1 on position %2"_s.arg(part.value()).arg(part.key()));
    return parts.isEmpty() ? u"nothing"_s : parts.join(u", "_s);
}

/// What is wrong with a sale; `closed` is null where it was not.
QStringList faultsOf(const Seen& seen, const AbstractDocument* closed, const Booked& booked)
{
    QStringList faults;
    const auto find = [&faults](const QString& fault) { faults.append(fault); };
    const QString& name = seen.identifier;
    const QMap<QString, qint64> points = closed ? pointsOn(*closed) : QMap<QString, qint64>();
    if (booked.points != points || booked.spendings != (points.isEmpty() ? 0 : 1))
        find(u"%1: %2 spendings in the books, %3; on the receipt %4"_s.arg(name)
                 .arg(booked.spendings)
                 .arg(textOf(booked.points), textOf(points)));
    const qint64 spent = std::accumulate(points.begin(), points.end(), qint64{0});
    if (closed && seen.spent && std::llround(*seen.spent * 100) != spent)
        find(u"%1: the cashier saw %2 points spent, the receipt has %3 hundredths"_s.arg(name)
                 .arg(*seen.spent)
                 .arg(spent));
    // A till may die between finding the card and telling of it; it is never the other way round.
    const auto record = closed ? closed->getCardRecord(KyrLoyaltySystem) : nullptr;
    const QString card = record ? record->getNumber().toString() : QString();
    if (closed && !seen.card.isEmpty() && seen.card != card)
        find(name + u": the cashier saw a card that is not on the receipt"_s);
    const bool mustEarn = closed && seen.earns && !card.isEmpty();
    if (booked.earnings > (closed ? 1 : 0) || (mustEarn && booked.earnings == 0))
        find(u"%1: earned %2 times"_s.arg(name).arg(booked.earnings));
    if (booked.posted != (closed && card.isEmpty() ? 1 : 0))
        find(u"%1: reported %2 times without a card"_s.arg(name).arg(booked.posted));
    return faults;
}

} // namespace

bool Shop::isDropped(const Seen& seen) const
{
    return m_dropped.contains(seen.sale.isEmpty() ? seen.identifier : seen.sale);
}

void Shop::checkBooks()
{
    const till::Ledger ledger(m_service.ledger(), {});
    const QHash<QString, Booked> books = bookedBy(m_service);
    const QStringList received = ledger.receipts();
    till::TillRecords records;
    QStringList findings;
    QSet<QString> ours(received.cbegin(), received.cend());
    ours.removeIf([this](const QString& name) { return !name.startsWith(u"T%1-"_s.arg(m_at + 1)); });
    for (const Seen& seen : m_seen) {
        if (seen.till != m_at)
            continue;
        ours.insert(seen.identifier);
        const till::BookedReceipt booked = till::bookedReceipt(seen.identifier, records);
        if (seen.paid && !booked.closed)
            findings.append(seen.identifier + u": paid, and not closed"_s);
        if (seen.gone && booked.closed)
            findings.append(seen.identifier + u": rolled back, and closed"_s);
        if (isDropped(seen))
            continue;
        const bool isReturn = booked.document && booked.document->getDocumentType() == ReturnReceipt;
        if (!isReturn && seen.sale.isEmpty()) // what comes back of which position is in the differences
            findings += faultsOf(seen, booked.document.data(), books.value(seen.identifier));
    }
    for (const Seen& seen : m_seen)
        if (isDropped(seen))
            ours.remove(seen.identifier);
    for (const QString& name : ours)
        findings += ledger.differences(name, till::bookedReceipt(name, records));
    for (const QString& finding : findings)
        find(finding);
}

} // namespace simulation

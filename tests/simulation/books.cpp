// Whether till and service agree in the end, and with what people have seen.

#include "tests/simulation/shop.h"

#include "host/storage/documents.h"
#include "till/audit/booking.h"
#include "till/audit/reconciliation.h"
#include "till/checkout/receiptsums.h"
#include "till/setup/hostobjects.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace simulation {

namespace {

/// What the service's books hold of one receipt, told from its rows and nothing else.
struct Booked
{
    qint64 spent = 0;  ///< hundredths of a point that are spent now
    int spendings = 0; ///< that were not canceled
    int earnings = 0;
    int posted = 0; ///< as a receipt without a card
};

QHash<QString, Booked> bookedBy(Service& service)
{
    QHash<QString, Booked> all;
    const QStringList operations =
        service.rows(u"SELECT o.check_identifier, o.operation, o.points, "
                     "coalesce((SELECT sum(c.points) FROM operations c WHERE c.root = o.n AND c.operation = "
                     "'cancellation'), 0) "
                     "FROM operations o WHERE o.operation IN ('spending', 'earning')"_s);
    for (const QString& row : operations) {
        const QStringList columns = row.split(u' ');
        Booked& booked = all[columns.at(0)];
        if (columns.at(1) == u"earning") {
            ++booked.earnings;
            continue;
        }
        const qint64 left = columns.at(2).toLongLong() - columns.at(3).toLongLong();
        booked.spent += left;
        booked.spendings += left != 0 ? 1 : 0;
    }
    for (const QString& number :
         service.rows(u"SELECT receipt_number FROM anonymous WHERE method = 'POST'"_s))
        ++all[number].posted;
    return all;
}

} // namespace

void Shop::checkBooks()
{
    const till::Ledger ledger(m_service.ledger(), {});
    const QHash<QString, Booked> books = bookedBy(m_service);
    for (const Seen& seen : m_seen) {
        if (seen.till != m_at)
            continue;
        const QString& name = seen.identifier;
        const till::BookedReceipt booked = till::bookedReceipt(name, {}, {});
        for (const QString& difference : ledger.differences(name, booked))
            find(difference);
        if (seen.paid && !booked.closed)
            find(name + u": paid, and not closed"_s);
        if (seen.gone && booked.closed)
            find(name + u": rolled back, and closed"_s);
        const bool isReturn = booked.document && booked.document->getDocumentType() == ReturnReceipt;
        if (isReturn || !seen.sale.isEmpty())
            continue; // what comes back of which position the ledger's differences tell
        const Booked there = books.value(name);
        const qint64 spent = booked.closed ? till::bonusDiscountOf(*booked.document).value_or(-1) : 0;
        if (there.spent != spent || there.spendings > 1)
            find(u"%1: %2 spendings of %3 in the books, %4 on the receipt"_s.arg(name)
                     .arg(there.spendings)
                     .arg(there.spent)
                     .arg(spent));
        if (booked.closed && seen.spent && std::llround(*seen.spent * 100) != spent)
            find(u"%1: the cashier saw %2 points spent, the receipt has %3 hundredths"_s.arg(name)
                     .arg(*seen.spent)
                     .arg(spent));
        if (there.earnings > 1 || (seen.earns && !seen.card.isEmpty() && there.earnings != 1) ||
            (!booked.closed && there.earnings > 0))
            find(u"%1: earned %2 times"_s.arg(name).arg(there.earnings));
        // A till may die between finding the card and telling of it; without one it is not the other way
        // round.
        const auto record = booked.closed ? booked.document->getCardRecord(KyrLoyaltySystem) : nullptr;
        const QString card = record ? record->getNumber().toString() : QString();
        if (booked.closed && !seen.card.isEmpty() && seen.card != card)
            find(name + u": the cashier saw a card that is not on the receipt"_s);
        if (there.posted != (booked.closed && card.isEmpty() ? 1 : 0))
            find(u"%1: reported %2 times without a card"_s.arg(name).arg(there.posted));
    }
    const QStringList received = ledger.receipts();
    for (const QString& name : received) {
        if (name.startsWith(u"T%1-"_s.arg(m_at + 1)) &&
            std::none_of(m_seen.cbegin(), m_seen.cend(),
                         [&](const Seen& seen) { return seen.identifier == name; })) {
            const till::BookedReceipt booked = till::bookedReceipt(name, {}, {});
            for (const QString& difference : ledger.differences(name, booked))
                find(difference);
        }
    }
}

} // namespace simulation

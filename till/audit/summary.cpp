#include "till/audit/summary.h"

#include "host/storage/documents.h"
#include "host/utils/money.h"
#include "till/audit/booking.h"
#include "till/audit/queuewarnings.h"
#include "till/audit/reconciliation.h"
#include "till/audit/standbooks.h"
#include "till/checkout/receiptsums.h"
#include "till/checkout/till.h"
#include "till/setup/hostobjects.h"

#include <QSet>

#include <cstdint>

using namespace Qt::StringLiterals;

namespace till {

namespace {

QSharedPointer<AbstractDocument> closedReceipt(const QString& identifier)
{
    return hostObject<DocumentsDao>().loadDocument(identifier, false);
}

/// The receipts of the till and of the ledger, each once.
QStringList allReceipts(const Till& till, const Ledger& ledger)
{
    QStringList all = till.turnover().closed;
    if (till.checkout().receipt())
        all.append(till.checkout().receipt()->getIdentifier());
    all += ledger.receipts();
    all.removeDuplicates();
    return all;
}

/// Adds what the receipts of this till have moved.
void addPoints(Summary& summary, const QStringList& receipts, const Ledger& ledger, const Ratio& ratio)
{
    const auto points = [&ratio](std::int64_t money) {
        return utils::cutPart(money, ratio.points, ratio.money);
    };
    std::int64_t discounts = 0; // the parts of a sale add up to it in money
    for (const QString& identifier : receipts) {
        const auto document = closedReceipt(identifier);
        const bool isSale = document->getDocumentType() == SaleReceipt;
        const std::int64_t discount = bonusDiscountOf(*document).value_or(0); // what is none is a difference
        discounts += isSale ? discount : -discount;
        if (!isSale)
            continue;
        const auto earned = earnedBy(*document);
        summary.earned += earned ? points(*earned) : ledger.receipt(identifier).earnedInPoints;
    }
    summary.spent = points(discounts);
}

} // namespace

Summary summaryOf(Till& till)
{
    const Ratio ratio = ratioOf(hostObject<Config>()).value_or(Ratio{});
    Summary summary;
    summary.receipts = static_cast<int>(till.turnover().closed.size());
    summary.delivered = till.deliveredMessages();
    summary.waiting = till.queue().waitingCount();
    summary.parked = till.queue().parkedCount();
    summary.queued = summary.delivered + summary.waiting + summary.parked;

    for (const QueueWarning& warning : tillWarnings(till.queue(), hostObject<Config>()))
        summary.alarms.append(warning.text.shown());

    QVariantMap page;
    if (till.ownsService()) {
        till.setServiceUp(true);
        const StandBooks books =
            standBooksAt(till.serviceUrl(), u"the stand's books cannot be read (error %1)"_s);
        page = books.ledger;
        summary.differences = books.violations;
    }
    const Ledger ledger(page, ratio);
    addPoints(summary, till.turnover().closed, ledger, ratio);
    if (summary.differences) {
        TillRecords records;
        for (const QString& identifier : allReceipts(till, ledger))
            *summary.differences += ledger.differences(identifier, bookedReceipt(identifier, records));
    }
    return summary;
}

} // namespace till

#include "till/audit/summary.h"

#include "host/network/exchangeoutcome.h"
#include "host/network/restclient.h"
#include "host/storage/documents.h"
#include "host/utils/money.h"
#include "till/audit/booking.h"
#include "till/audit/queuewarnings.h"
#include "till/audit/reconciliation.h"
#include "till/checkout/receiptsums.h"
#include "till/checkout/till.h"
#include "till/cli/usageerror.h"
#include "till/setup/hostobjects.h"

#include <QSet>

using namespace Qt::StringLiterals;

namespace till {

namespace {

QVariantMap askStand(const Till& till, const QString& page)
{
    const auto client = MockFactory<RestClient>::create();
    client->get(QUrl(till.serviceUrl() + u"stand/"_s + page), {}, {});
    if (network::outcomeOf(client->getErrorCode()) != network::ExchangeOutcome::Accepted)
        throw UsageError(
            u"the stand's %1 cannot be read (error %2)"_s.arg(page, QString::number(client->getErrorCode())));
    return client->getResponse().toMap();
}

QSharedPointer<AbstractDocument> closedReceipt(const QString& identifier)
{
    return hostObject<DocumentsDao>().loadDocument(identifier, false);
}

/// The receipts of the till and of the ledger, each once.
QStringList allReceipts(const Till& till, const Ledger& ledger)
{
    QStringList all = till.closedReceipts();
    if (till.receipt())
        all.append(till.receipt()->getIdentifier());
    all += ledger.receipts();
    all.removeDuplicates();
    return all;
}

QStringList violations(const Till& till)
{
    QStringList found;
    const QStringList broken = askStand(till, u"invariants"_s).value(u"violations"_s).toStringList();
    for (const QString& violation : broken)
        found.append(u"the ledger itself: "_s + violation);
    return found;
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
    summary.receipts = static_cast<int>(till.closedReceipts().size());
    summary.delivered = till.deliveredMessages();
    summary.waiting = till.queue().waitingCount();
    summary.parked = till.queue().parkedCount();
    summary.queued = summary.delivered + summary.waiting + summary.parked;

    for (const QueueWarning& warning : queueWarnings(till.queue(), hostObject<Config>()))
        summary.alarms.append(warning.russian);

    QVariantMap page;
    if (till.ownsService()) {
        till.setServiceUp(true);
        page = askStand(till, u"ledger"_s);
        summary.differences = violations(till);
    }
    const Ledger ledger(page, ratio);
    addPoints(summary, till.closedReceipts(), ledger, ratio);
    if (summary.differences) {
        const QSet<QString> awaited = awaitedReceipts(till.queue());
        for (const QString& identifier : allReceipts(till, ledger))
            *summary.differences +=
                ledger.differences(identifier, bookedReceipt(identifier, till.receipt(), awaited));
    }
    return summary;
}

} // namespace till

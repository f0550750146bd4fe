#include "till/checkout/unknownspending.h"

#include "host/network/exchangeoutcome.h"
#include "till/checkout/spendingpaths.h"

#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace till {

namespace {

const QString ownName = u"Till"_s;
const QString mark = u"unknownSpending"_s;

/// Whether a first request that ended so cannot have been carried out.
bool wasNotDone(network::ExchangeOutcome outcome)
{
    using enum network::ExchangeOutcome;
    switch (outcome) {
    case Unsendable:
    case NeverSent:
    case Rejected:
    case Unauthorized:
    case Forbidden:
    case Denied:
    case Throttled:
        return true;
    case Accepted:
    case NoAnswer:
    case NotTheService:
    case Unfinished:
    case Failing:
        break;
    }
    return false;
}

} // namespace

std::optional<UnknownSpending> unknownSpendingOf(const AbstractDocument& receipt)
{
    const QVariantMap kept = receipt.getPluginData(ownName, mark, {}).toMap();
    if (kept.isEmpty())
        return std::nullopt;
    return UnknownSpending{.points = kept.value(u"points"_s).toDouble(),
                           .wanted = kept.value(u"wanted"_s).toDouble(),
                           .since = kept.value(u"since"_s).toDateTime()};
}

void setUnknownSpending(AbstractDocument& receipt, const std::optional<UnknownSpending>& spending)
{
    receipt.setPluginData(ownName, mark,
                          spending ? QVariant(QVariantMap{{u"points"_s, spending->points},
                                                          {u"wanted"_s, spending->wanted},
                                                          {u"since"_s, spending->since}})
                                   : QVariant());
}

bool movesPoints(const QUrl& url) { return spendingPath(url) != nullptr; }

bool provesNothingSpent(const RestExchange& exchange, bool askedAgain)
{
    const SpendingPath* path = spendingPath(exchange.url);
    if (!path)
        return false;
    const network::ExchangeOutcome outcome = network::outcomeOf(exchange.errorCode);
    // Refusals of the caller, or by somebody in between, say nothing of an earlier request.
    if (askedAgain)
        return path->rejectionSettlesARepeat && outcome == network::ExchangeOutcome::Rejected;
    return wasNotDone(outcome);
}

} // namespace till

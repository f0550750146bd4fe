#include "till/audit/standbooks.h"

#include "host/network/exchangeoutcome.h"
#include "host/network/restclient.h"
#include "till/cli/usageerror.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

QVariantMap pageAt(const QString& url, const QString& complaint)
{
    const auto client = MockFactory<RestClient>::create();
    client->get(QUrl(url), {}, {});
    const QVariantMap page = client->getResponse().toMap();
    if (network::outcomeOf(client->getErrorCode()) != network::ExchangeOutcome::Accepted || page.isEmpty())
        throw UsageError(complaint.arg(client->getErrorCode()));
    return page;
}

} // namespace

StandBooks standBooksAt(const QString& url, const QString& complaint)
{
    StandBooks books{.ledger = pageAt(url + u"stand/ledger"_s, complaint), .violations = {}};
    const QVariantMap invariants = pageAt(url + u"stand/invariants"_s, complaint);
    for (const QString& violation : invariants.value(u"violations"_s).toStringList())
        books.violations.append(u"the ledger itself: "_s + violation);
    return books;
}

} // namespace till

#include "till/requestguard.h"

#include "host/core/storage.h"
#include "host/utils/currenttime.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace till {

RequestGuard::RequestGuard(std::function<QSharedPointer<Document>()> receipt)
    : m_receipt(std::move(receipt))
{
    RestClient::setGuard({
        .departing = [this](const QString& method, const QUrl& url) { departing(method, url); },
        .answered = [this](const RestExchange& exchange) { answered(exchange); },
    });
}

RequestGuard::~RequestGuard() { RestClient::setGuard({}); }

void RequestGuard::expectSpending(double points, double wanted)
{
    const auto receipt = m_receipt();
    m_points = points;
    m_wanted = wanted;
    m_askedAgain = receipt && unknownSpendingOf(*receipt);
    m_nothingSpent = false;
}

void RequestGuard::departing(const QString& method, const QUrl& url)
{
    const auto receipt = m_receipt();
    if (m_pauses > 0 || !receipt || method == u"GET"_s) // a GET changes nothing at the service
        return;
    const bool spends = movesPoints(url) && !m_askedAgain;
    if (spends)
        mark(*receipt);
    try {
        MockFactory<SaveToFileLogic>::create()->save(receipt, {});
    } catch (...) {
        if (spends)
            setUnknownSpending(*receipt, std::nullopt); // it does not leave
        throw;
    }
}

void RequestGuard::mark(Document& receipt) const
{
    const QDateTime now = MockFactory<CurrentTime>::create()->currentDateTime();
    setUnknownSpending(receipt, UnknownSpending{.points = m_points, .wanted = m_wanted, .since = now});
}

void RequestGuard::answered(const RestExchange& exchange)
{
    if (m_pauses == 0 && movesPoints(exchange.url))
        m_nothingSpent = provesNothingSpent(exchange, m_askedAgain);
}

} // namespace till

#include "till/checkout/requestguard.h"

#include "host/storage/documents.h"
#include "host/utils/currenttime.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace till {

RequestGuard::RequestGuard(std::function<QSharedPointer<Document>()> receipt, ReceiptJournal& journal,
                           StoreStep& step)
    : m_receipt(std::move(receipt))
    , m_journal(journal)
    , m_step(step)
    , m_registration(RestClient::guard({
          .departing = [this](const QString& method, const QUrl& url) { departing(method, url); },
          .answered = [this](const RestExchange& exchange) { answered(exchange); },
      }))
{}

void RequestGuard::expectSpending(double points, double wanted)
{
    const auto receipt = m_receipt();
    m_points = points;
    m_wanted = wanted;
    m_askedAgain = receipt && unknownSpendingOf(*receipt);
    m_nothingSpent = false;
}

QSharedPointer<Document> RequestGuard::guarded(const QString& method) const
{
    // A GET changes nothing at the service, and its address may hold a phone number.
    return m_pauses > 0 || method == u"GET"_s ? nullptr : m_receipt();
}

void RequestGuard::departing(const QString& method, const QUrl& url)
{
    const auto receipt = guarded(method);
    const bool isNewDoubt = receipt && movesPoints(url) && !m_askedAgain;
    if (isNewDoubt)
        mark(*receipt);
    try {
        if (receipt) {
            MockFactory<SaveToFileLogic>::create()->save(receipt, {});
            m_journal.note(receipt->getIdentifier(), u"request"_s, url.fileName());
        }
        m_step.settle();
    } catch (...) {
        if (isNewDoubt)
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
    m_step.resume();
    const auto receipt = guarded(exchange.method);
    if (!receipt)
        return;
    m_journal.note(receipt->getIdentifier(), u"answer"_s, exchange.url.fileName(), exchange.errorCode,
                   exchange.milliseconds);
    if (movesPoints(exchange.url))
        m_nothingSpent = provesNothingSpent(exchange, m_askedAgain);
}

} // namespace till

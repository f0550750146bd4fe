#include "stand/service/earning.h"

#include "stand/books/accounts.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

/// The points in proportion to the positions' sums.
QList<Hundredths> spreadOver(const Receipt& receipt, Hundredths points)
{
    QList<Hundredths> sums;
    for (const auto& position : receipt.positions)
        sums.append(position.sum);
    return spread(points, sums);
}

} // namespace

Answer Earning::payment(const QJsonObject& body)
{
    Members members(body);
    const auto receipt = receiptFrom(members);
    members.check();
    const Key key{.kind = Kind::Earning,
                  .receiptNumber = receipt.number,
                  .card = receipt.card,
                  .checkIdentifier = receipt.checkIdentifier,
                  .asked = receipt.amount};
    if (const auto before = m_ledger.firstAnswer(key))
        return repeated(*before);
    const auto card = m_accounts.known(receipt.card);
    requireUnblocked(card);

    const auto points = m_tariff.earnedFor(receipt.amount);
    const auto settled = std::min(points, m_ledger.owed(card.account));
    QList<Entry> entries = {{m_ledger.service(), -points}, {card.account, points - settled}};
    if (settled > 0)
        entries.append({m_ledger.debtOf(card.account), settled});
    auto answer = success({{u"paymentBonus"_s, inUnits(points)}});
    m_ledger.record(key, points, entries, sharesOf(receipt, spreadOver(receipt, points)), answer.body);
    return answer;
}

} // namespace stand

#include "stand/service/spending.h"

#include "stand/books/accounts.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

QJsonObject recipients(const Receipt& receipt, const QList<Hundredths>& discounts)
{
    QJsonArray details;
    for (qsizetype i = 0; i < discounts.size(); ++i) {
        details.append(QJsonObject{{u"position"_s, receipt.positions[i].number},
                                   {u"discount_bonus"_s, inUnits(discounts[i])}});
    }
    return {{u"receipt_number"_s, receipt.number}, {u"newRecipientDetails"_s, details}};
}

} // namespace

Key SpendingRequest::key() const
{
    return {.kind = Kind::Spending,
            .receiptNumber = receipt.number,
            .card = receipt.card,
            .checkIdentifier = receipt.checkIdentifier,
            .asked = points};
}

SpendingRequest Spending::requestFrom(const QJsonObject& body)
{
    Members members(body);
    SpendingRequest request{receiptFrom(members), members.writtenAmount(u"receipt_bonus_amount"_s)};
    members.check();
    return request;
}

Answer Spending::prePayment(const QJsonObject& body) const
{
    const auto [receipt, points] = requestFrom(body);
    const auto card = m_accounts.known(receipt.card);
    requireUnblocked(card);

    auto left = card.status == CardStatus::Active ? m_ledger.balance(card.account) : 0;
    QJsonArray details;
    const auto limits = discountLimits(receipt);
    for (qsizetype i = 0; i < limits.size(); ++i) {
        const auto allowed = std::min(m_tariff.pointsFor(limits[i]), left);
        left -= allowed;
        details.append(
            QJsonObject{{u"position"_s, receipt.positions[i].number},
                        {u"parameters"_s, QJsonObject{{u"max_payment_bonus"_s, inUnits(allowed)}}}});
    }
    const auto discount = m_tariff.moneyFor(std::max(points, Hundredths(0)));
    const auto rest = std::max(receipt.amount - discount, Hundredths(0));
    return success(
        {{u"receipt_details"_s, details}, {u"payment_bonus"_s, inUnits(m_tariff.earnedFor(rest))}});
}

qint64 Spending::perform(const SpendingRequest& request)
{
    const auto plan = this->plan(request);
    return m_ledger.record(
        request.key(), request.points, {{plan.account, -request.points}, {m_ledger.shop(), request.points}},
        sharesOf(request.receipt, plan.points), success(recipients(request.receipt, plan.discounts)).body);
}

Spending::Plan Spending::plan(const SpendingRequest& request) const
{
    if (m_ledger.isCanceled(request.receipt.number))
        throw ApiError(409, u"Списание по этому номеру отменено"_s);
    const auto card = m_accounts.known(request.receipt.card);
    requireActive(card);

    // Points that are worth less than the smallest sum of money would be given away for nothing.
    const auto discount = m_tariff.moneyFor(std::max(request.points, Hundredths(0)));
    if (discount == 0)
        throw ApiError(422, u"Сумма списания должна быть больше нуля"_s);
    if (request.points > m_ledger.balance(card.account))
        throw ApiError(422, u"Недостаточно бонусов на карте"_s);
    const auto limits = discountLimits(request.receipt);
    Hundredths allowed = 0;
    for (const auto limit : limits)
        allowed += m_tariff.pointsFor(limit);
    if (request.points > allowed)
        throw ApiError(422, u"Сумма списания больше допустимой"_s);

    const auto discounts = spread(discount, limits);
    return {card.account, discounts, spread(request.points, discounts)};
}

QList<Hundredths> Spending::discountLimits(const Receipt& receipt) const
{
    QList<Hundredths> limits;
    for (const auto& position : receipt.positions)
        limits.append(m_tariff.discountLimit(position.sum));
    return limits;
}

} // namespace stand

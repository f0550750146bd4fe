#include "stand/service/reversal.h"

#include "stand/books/accounts.h"
#include "stand/service/approvals.h"

#include <algorithm>
#include <numeric>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

const Share* find(const QList<Share>& shares, const QString& position)
{
    const auto found = std::find_if(shares.begin(), shares.end(),
                                    [&](const Share& share) { return share.position == position; });
    return found == shares.end() ? nullptr : &*found;
}

Hundredths pointsOf(const QList<Share>& shares)
{
    return std::accumulate(shares.begin(), shares.end(), Hundredths(0),
                           [](Hundredths sum, const Share& share) { return sum + share.points; });
}

/// What of a position's points goes with the part of it that was returned so far. `whole` is its sum or its
/// quantity, as `returned` is.
Hundredths partOf(Hundredths points, qint64 returned, qint64 whole)
{
    return returned >= whole ? points : scaled(points, returned, whole);
}

/// The returned positions, each with the points to take back now. Reckoned from all that was returned so far,
/// so that what was cut from one part comes with a later one, and the last leaves nothing over.
QList<Share> sharesToTakeBack(const QList<Position>& returned, Kind kind, const QList<Share>& moved,
                              const QList<Share>& taken)
{
    Members texts({});
    QList<Share> back;
    for (const auto& position : returned) {
        const auto* whole = find(moved, position.number);
        if (whole == nullptr) {
            texts.complain(u"receipt_details"_s,
                           u"Позиции %1 нет в отменяемой операции"_s.arg(position.number));
            continue;
        }
        const auto* before = find(taken, position.number);
        const auto earlier = before != nullptr ? *before : Share{};
        const auto due =
            kind == Kind::Earning
                ? partOf(whole->points, earlier.sum + position.sum, whole->sum)
                : partOf(whole->points, earlier.thousandths + position.thousandths, whole->thousandths);
        back.append({position.number, position.sum, position.thousandths,
                     std::max(due - earlier.points, Hundredths(0))});
    }
    texts.check();
    return back;
}

/// What is left of every position.
QList<Share> rest(QList<Share> moved, const QList<Share>& taken)
{
    for (auto& share : moved) {
        if (const auto* before = find(taken, share.position))
            share.points -= before->points;
    }
    return moved;
}

} // namespace

Answer Reversal::refusePayment(const QJsonObject& body)
{
    Members members(body);
    const auto receipt = receiptFrom(members);
    const auto refused = members.textOrEmpty(u"receipt_to_refuse"_s);
    members.exactly(u"refuse_mode"_s, u"1"_s);
    members.exactly(u"receipt_bonus_amount"_s, u"0"_s);
    members.text(u"refuse_receipt_description"_s);
    members.text(u"refuse_receipt_number"_s);
    members.check();
    const Key key{.kind = Kind::Refusal,
                  .receiptNumber = receipt.number,
                  .card = receipt.card,
                  .checkIdentifier = receipt.checkIdentifier,
                  .asked = receipt.amount,
                  .names = refused};
    if (const auto before = m_ledger.firstAnswer(key))
        return repeated(*before);

    const auto root = m_ledger.root(refused, receipt.card);
    if (!root)
        throw ApiError(404, u"Операция для отмены не найдена"_s);
    const auto shares = sharesToTakeBack(receipt.positions, root->kind, m_ledger.shares(root->n),
                                         m_ledger.takenBack(root->n));
    const auto points = pointsOf(shares);
    auto answer = success({{u"receipt_number"_s, receipt.number}, {u"refused_bonus"_s, inUnits(points)}});
    m_ledger.record(key, points, backTo(*root, points), shares, answer.body, root->n);
    return answer;
}

Answer Reversal::cancelPayment(const QJsonObject& body)
{
    Members members(body);
    const auto number = members.text(u"receipt_number"_s);
    const auto canceled = members.textOrEmpty(u"receipt_to_cancel"_s);
    members.text(u"receipt_description"_s);
    members.check();
    const Key key{.kind = Kind::Cancellation, .receiptNumber = number, .card = {}, .names = canceled};
    if (const auto before = m_ledger.firstAnswer(key))
        return repeated(*before);

    const auto answerFor = [&number](Hundredths points) {
        return success({{u"receipt_number"_s, number}, {u"canceled_bonus"_s, inUnits(points)}});
    };
    m_approvals.cancel(canceled);
    const auto root = m_ledger.spending(canceled);
    if (!root) {
        auto answer = answerFor(0);
        m_ledger.record(key, 0, {}, {}, answer.body);
        return answer;
    }
    const auto shares = rest(m_ledger.shares(root->n), m_ledger.takenBack(root->n));
    const auto points = pointsOf(shares);
    auto answer = answerFor(points);
    m_ledger.record(key, points, backTo(*root, points), shares, answer.body, root->n);
    return answer;
}

QList<Entry> Reversal::backTo(const Operation& root, Hundredths points)
{
    const auto account = m_accounts.known(root.card).account;
    if (root.kind == Kind::Spending)
        return {{m_ledger.shop(), -points}, {account, points}};
    // Of earned points the customer may have spent some already: those are owed.
    const auto owed = std::max(points - m_ledger.balance(account), Hundredths(0));
    QList<Entry> entries = {{account, owed - points}, {m_ledger.service(), points}};
    if (owed > 0)
        entries.append({m_ledger.debtOf(account), -owed});
    return entries;
}

} // namespace stand

#include "stand/service/approvals.h"

#include "stand/books/accounts.h"
#include "stand/books/clock.h"
#include "stand/books/database.h"

#include <QJsonDocument>
#include <QTextStream>

using namespace Qt::StringLiterals;

namespace stand {

struct Approvals::Approval
{
    qint64 id = 0;
    QString state; ///< As it is now: a waiting one whose time is over is late.
    QString code;
    int attemptsLeft = 0;
    QByteArray request;
    qint64 spending = 0;
};

namespace {

const auto waiting = u"waiting"_s;
const auto confirmed = u"confirmed"_s;
const auto usedUp = u"used up"_s;
const auto late = u"late"_s;
const auto canceled = u"canceled"_s;
const auto replaced = u"replaced"_s;

QString stateNow(const QString& state, qint64 expires)
{
    const bool isOver = state == waiting && now().toMSecsSinceEpoch() >= expires;
    return isOver ? late : state;
}

Answer attemptsUsedUp() { return failure(422, u"Превышено число попыток ввода кода"_s); }

Answer approvalAnswer(qint64 id) { return success({{u"approve_id"_s, id}}); }

} // namespace

Answer Approvals::forcePayment(const QJsonObject& body)
{
    const auto request = Spending::requestFrom(body);
    if (const auto before = m_ledger.firstAnswer(request.key()))
        return repeated(*before);
    const auto operation = m_spending.perform(request);
    replaceWaiting(request.receipt);
    return repeated(m_ledger.answerOf(operation));
}

Answer Approvals::payment(const QJsonObject& body)
{
    const auto request = Spending::requestFrom(body);
    if (m_ledger.firstAnswer(request.key())) {
        const auto before = approval(u"receipt_number = ? AND card = ? AND state = ?"_s,
                                     {request.receipt.number, request.receipt.card, confirmed});
        if (!before)
            throw ApiError(409, u"Номер чека уже использован другой операцией"_s); // spent at once
        return approvalAnswer(before->id);
    }
    m_spending.check(request);
    replaceWaiting(request.receipt);
    return approvalAnswer(add(request, body));
}

Answer Approvals::confirmPayment(const QJsonObject& body)
{
    Members members(body);
    const auto id = members.integer(u"approve_id"_s);
    const auto code = members.textOrEmpty(u"code"_s);
    members.check();
    const auto found = approval(u"id = ?"_s, {id});
    if (!found)
        throw ApiError(404, u"Запрос на списание не найден"_s);

    if (found->state == replaced)
        throw ApiError(409, u"Запрос на списание заменён более поздним"_s);
    if (found->state == usedUp)
        return attemptsUsedUp();
    if (found->state == late) {
        setState(id, late);
        return failure(422, u"Срок действия кода истёк"_s);
    }
    if (code != found->code)
        return countWrongCode(*found);
    return confirm(*found);
}

Answer Approvals::confirm(const Approval& approval)
{
    if (approval.state == confirmed)
        return repeated(m_ledger.answerOf(approval.spending));
    const auto request = Spending::requestFrom(QJsonDocument::fromJson(approval.request).object());
    const auto operation = m_spending.perform(request);
    m_database.run(u"UPDATE approvals SET state = ?, spending = ? WHERE id = ?"_s,
                   {confirmed, operation, approval.id});
    return repeated(m_ledger.answerOf(operation));
}

// An answer, not an exception: the attempt counts, though the request fails.
Answer Approvals::countWrongCode(const Approval& approval)
{
    if (approval.state == waiting) {
        m_database.run(u"UPDATE approvals SET attempts_left = attempts_left - 1 WHERE id = ?"_s,
                       {approval.id});
        if (approval.attemptsLeft == 1) {
            setState(approval.id, usedUp);
            return attemptsUsedUp();
        }
    }
    return failure(422, u"Неверный код подтверждения"_s);
}

void Approvals::cancel(const QString& receiptNumber)
{
    m_database.run(u"UPDATE approvals SET state = ? WHERE receipt_number = ? AND state = ?"_s,
                   {canceled, receiptNumber, waiting});
}

void Approvals::replaceWaiting(const Receipt& receipt)
{
    m_database.run(u"UPDATE approvals SET state = ? WHERE receipt_number = ? AND card = ? AND state = ?"_s,
                   {replaced, receipt.number, receipt.card, waiting});
}

QJsonArray Approvals::list() const
{
    auto query =
        m_database.run(uR"(SELECT time, phone, id, code, state, expires, attempts_left, receipt_number
                                    FROM approvals ORDER BY id)"_s);
    QJsonArray codes;
    const auto current = now().toMSecsSinceEpoch();
    while (query.next()) {
        const auto state = stateNow(query.value(4).toString(), query.value(5).toLongLong());
        const auto left = state == waiting ? (query.value(5).toLongLong() - current + 999) / 1000 : 0;
        codes.append(QJsonObject{
            {u"time"_s, query.value(0).toString()},
            {u"phone"_s, masked(query.value(1).toString())},
            {u"approve_id"_s, query.value(2).toLongLong()},
            {u"code"_s, query.value(3).toString()},
            {u"state"_s, state},
            {u"seconds_left"_s, left},
            {u"attempts_left"_s, query.value(6).toInt()},
            {u"receipt_number"_s, query.value(7).toString()},
        });
    }
    return codes;
}

std::optional<Approvals::Approval> Approvals::approval(const QString& condition,
                                                       const QVariantList& values) const
{
    auto query = m_database.run(uR"(SELECT id, state, expires, code, attempts_left, request, spending
                                    FROM approvals WHERE )"_s +
                                    condition,
                                values);
    if (!query.next())
        return std::nullopt;
    Approval found;
    found.id = query.value(0).toLongLong();
    found.state = stateNow(query.value(1).toString(), query.value(2).toLongLong());
    found.code = query.value(3).toString();
    found.attemptsLeft = query.value(4).toInt();
    found.request = query.value(5).toString().toUtf8();
    found.spending = query.value(6).toLongLong();
    return found;
}

void Approvals::setState(qint64 id, const QString& state)
{
    m_database.run(u"UPDATE approvals SET state = ? WHERE id = ?"_s, {state, id});
}

qint64 Approvals::add(const SpendingRequest& request, const QJsonObject& body)
{
    const auto card = m_accounts.known(request.receipt.card);
    const auto customer = card.customer ? m_accounts.customer(*card.customer) : std::nullopt;
    const auto phone = customer ? customer->mobile : u""_s;
    const auto code = nextCode(m_rules);
    const auto time = now();
    const auto id =
        m_database
            .run(
                uR"(INSERT INTO approvals(time, expires, phone, receipt_number, card, check_identifier, asked,
                                           request, code, attempts_left, state)
                     VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?))"_s,
                {time.toString(Qt::ISODateWithMs),
                 time.toMSecsSinceEpoch() + m_rules.lifetimeInSeconds * 1000, phone, request.receipt.number,
                 request.receipt.card, request.receipt.checkIdentifier, request.points,
                 QString::fromUtf8(QJsonDocument(body).toJson(QJsonDocument::Compact)), code,
                 m_rules.attempts, waiting})
            .lastInsertId()
            .toLongLong();
    if (m_rules.areTold) {
        QTextStream(stderr) << "stand: code " << code << " for approve_id " << id << " to " << masked(phone)
                            << Qt::endl;
    }
    return id;
}

} // namespace stand

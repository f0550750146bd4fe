#include "stand/service/anonymous.h"

#include "stand/books/clock.h"
#include "stand/books/database.h"
#include "stand/service/receipts.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace stand {

Answer Anonymous::receipt(const QByteArray& method, const QJsonObject& body)
{
    Members members(body);
    const auto number = members.text(u"receipt_number"_s);
    const auto amount = members.amount(u"receipt_amount"_s);
    members.textOrEmpty(u"branch_id"_s);
    members.text(u"receipt_description"_s);
    members.digits(u"receipt_datetime"_s);
    for (const auto& unused : {u"operator_id"_s, u"terminal_id"_s, u"session_id"_s, u"user_type"_s})
        members.textOrNull(unused);
    positionsFrom(members.value(u"receipt_details"_s), members, u"receipt_details"_s);
    members.exactly(u"\u0441anceled"_s, method == "PUT" ? 1 : 0); // begins with a Cyrillic letter
    if (members.has(u"canceled"_s))
        members.complain(u"canceled"_s, u"Неизвестное поле"_s);
    members.check();

    auto query = m_database.run(
        u"SELECT answer, amount_in_money FROM anonymous WHERE method = ? AND receipt_number = ?"_s,
        {QString::fromLatin1(method), number});
    if (query.next()) {
        if (query.value(1).toLongLong() != amount)
            throw ApiError(409, u"Номер чека уже использован другой операцией"_s);
        return repeated(query.value(0).toString().toUtf8());
    }
    auto answer = success({{u"receipt_number"_s, number}});
    m_database.run(uR"(INSERT INTO anonymous(time, method, receipt_number, amount_in_money, request, answer)
                       VALUES (?, ?, ?, ?, ?, ?))"_s,
                   {now().toString(Qt::ISODateWithMs), QString::fromLatin1(method), number, amount,
                    QString::fromUtf8(QJsonDocument(body).toJson(QJsonDocument::Compact)),
                    QString::fromUtf8(answer.body)});
    return answer;
}

QJsonArray Anonymous::list() const
{
    auto query =
        m_database.run(u"SELECT n, time, method, receipt_number, request FROM anonymous ORDER BY n"_s);
    QJsonArray list;
    while (query.next()) {
        list.append(QJsonObject{
            {u"n"_s, query.value(0).toLongLong()},
            {u"time"_s, query.value(1).toString()},
            {u"method"_s, query.value(2).toString()},
            {u"receipt_number"_s, query.value(3).toString()},
            {u"receipt"_s, QJsonDocument::fromJson(query.value(4).toString().toUtf8()).object()},
        });
    }
    return list;
}

} // namespace stand

#include "stand/service/receipts.h"

#include <QJsonDocument>
#include <QSet>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

Position positionFrom(Members& members)
{
    members.number(u"prod_cat"_s);
    members.textOrEmpty(u"prod_code"_s);
    members.textOrEmpty(u"prod_name"_s);
    members.amount(u"prod_price"_s);
    Position position;
    position.number = members.text(u"position"_s);
    position.thousandths = members.amount(u"prod_amount"_s, quantityParts);
    position.sum = members.amount(u"prod_sum"_s);
    return position;
}

} // namespace

bool isDigits(const QString& text)
{
    return !text.isEmpty() &&
           std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

QList<Share> sharesOf(const Receipt& receipt, const QList<Hundredths>& points)
{
    QList<Share> shares;
    for (qsizetype i = 0; i < points.size(); ++i) {
        const auto& position = receipt.positions[i];
        shares.append({position.number, position.sum, position.thousandths, points[i]});
    }
    return shares;
}

QString Members::text(const QString& name)
{
    auto text = textOrEmpty(name);
    if (text.isEmpty() && !m_complaints.contains(name))
        complain(name, u"Пустое значение"_s);
    return text;
}

QString Members::textOrEmpty(const QString& name)
{
    const auto value = m_object.value(name);
    if (!value.isString())
        complain(name, has(name) ? u"Ожидается строка"_s : u"Обязательное поле"_s);
    return value.toString();
}

QString Members::digits(const QString& name)
{
    auto digits = text(name);
    if (!digits.isEmpty() && !isDigits(digits))
        complain(name, u"Ожидается строка из цифр"_s);
    return digits;
}

void Members::textOrNull(const QString& name)
{
    if (!m_object.value(name).isNull())
        textOrEmpty(name);
}

double Members::number(const QString& name)
{
    const auto value = m_object.value(name);
    if (!value.isDouble())
        complain(name, has(name) ? u"Ожидается число"_s : u"Обязательное поле"_s);
    return value.toDouble();
}

qint64 Members::integer(const QString& name)
{
    const auto value = number(name);
    const auto whole = rounded(value, 1);
    if (!whole || static_cast<double>(*whole) != value)
        complain(name, u"Ожидается целое число"_s);
    return whole.value_or(0);
}

qint64 Members::amount(const QString& name, qint64 parts)
{
    const auto value = number(name);
    const auto amount = rounded(value, parts);
    if (value < 0)
        complain(name, u"Отрицательное значение"_s);
    else if (!amount)
        complain(name, u"Слишком большое значение"_s);
    return std::max(amount.value_or(0), qint64(0));
}

Hundredths Members::writtenAmount(const QString& name)
{
    const auto text = this->text(name);
    const auto amount = read(text);
    if (!amount && !text.isEmpty())
        complain(name, u"Ожидается сумма вида 12.50"_s);
    return amount.value_or(0);
}

void Members::exactly(const QString& name, const QJsonValue& expected)
{
    if (!has(name))
        complain(name, u"Обязательное поле"_s);
    else if (m_object.value(name) != expected)
        complain(name, u"Ожидается значение %1"_s.arg(expected.toVariant().toString()));
}

void Members::complain(const QString& name, const QString& text)
{
    auto texts = m_complaints.value(name).toArray();
    texts.append(text);
    m_complaints.insert(name, texts);
}

void Members::check() const
{
    if (!m_complaints.isEmpty())
        throw ApiError(m_complaints);
}

QList<Position> positionsFrom(const QJsonValue& list, Members& members, const QString& name)
{
    if (!list.isArray()) {
        members.complain(name, u"Ожидается список позиций"_s);
        return {};
    }
    QList<Position> positions;
    QSet<QString> seen;
    const auto array = list.toArray();
    for (qsizetype i = 0; i < array.size(); ++i) {
        const auto place = u"Позиция %1: "_s.arg(i + 1);
        if (!array.at(i).isObject()) {
            members.complain(name, place + u"ожидается объект"_s);
            continue;
        }
        Members inner(array.at(i).toObject());
        const auto position = positionFrom(inner);
        const auto complaints = inner.complaints();
        for (auto it = complaints.begin(); it != complaints.end(); ++it)
            members.complain(name, place + it.key() + u": "_s + it.value().toArray().at(0).toString());
        if (seen.contains(position.number))
            members.complain(name, place + u"номер повторяется"_s);
        seen.insert(position.number);
        positions.append(position);
    }
    return positions;
}

Receipt receiptFrom(Members& members)
{
    Receipt receipt;
    receipt.card = members.digits(u"card"_s);
    receipt.number = members.text(u"receipt_number"_s);
    receipt.checkIdentifier = members.text(u"check_identifier"_s);
    receipt.amount = members.amount(u"receipt_amount"_s);
    members.textOrEmpty(u"branch_id"_s);
    members.text(u"receipt_currency"_s);
    members.text(u"receipt_description"_s);
    members.digits(u"receipt_datetime"_s);
    members.writtenAmount(u"receipt_discount"_s);
    members.textOrNull(u"operator_id"_s);
    members.textOrNull(u"terminal_id"_s);
    // A text that holds JSON; only the anonymous receipt nests its positions.
    const auto details = u"receipt_details"_s;
    if (const auto text = members.text(details); !text.isEmpty()) {
        const auto document = QJsonDocument::fromJson(text.toUtf8());
        receipt.positions =
            positionsFrom(document.isArray() ? QJsonValue(document.array()) : QJsonValue(), members, details);
    }
    return receipt;
}

} // namespace stand

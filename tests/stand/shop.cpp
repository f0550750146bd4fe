#include "tests/stand/shop.h"

#include <gtest/gtest.h>

#include <QJsonDocument>

#include <cmath>
#include <csignal>

using namespace Qt::StringLiterals;

namespace standtest {

namespace {

QByteArray compact(const QJsonObject& object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

QJsonArray positions(const QList<Item>& items)
{
    QJsonArray list;
    for (const auto& item : items) {
        list.append(QJsonObject{{u"position"_s, QString::number(item.position)},
                                {u"prod_cat"_s, 0},
                                {u"prod_code"_s, u"4600001"_s},
                                {u"prod_name"_s, u"Хлеб \"Бородинский\""_s},
                                {u"prod_price"_s, item.sum},
                                {u"prod_amount"_s, item.quantity},
                                {u"prod_sum"_s, item.sum}});
    }
    return list;
}

double total(const QList<Item>& items)
{
    double sum = 0;
    for (const auto& item : items)
        sum += item.sum;
    return sum;
}

} // namespace

QJsonObject receipt(const Check& check)
{
    const auto details = QJsonDocument(positions(check.items)).toJson(QJsonDocument::Compact);
    return {{u"card"_s, check.card},
            {u"branch_id"_s, u"12"_s},
            {u"receipt_currency"_s, u"BON"_s},
            {u"receipt_amount"_s, total(check.items)},
            {u"receipt_details"_s, QString::fromUtf8(details)},
            {u"receipt_datetime"_s, u"1795224000"_s},
            {u"receipt_discount"_s, u"0"_s},
            {u"check_identifier"_s, check.identifier},
            {u"operator_id"_s, {}},
            {u"terminal_id"_s, {}},
            {u"receipt_description"_s, u"Операция"_s},
            {u"receipt_number"_s, check.number}};
}

QJsonObject spending(const Check& check, const QString& points)
{
    auto body = receipt(check);
    body.insert(u"receipt_bonus_amount"_s, points);
    return body;
}

QJsonObject refusal(const Check& check, const QString& refused)
{
    auto body = receipt(check);
    body.insert(u"receipt_bonus_amount"_s, u"0"_s);
    body.insert(u"receipt_to_refuse"_s, refused);
    body.insert(u"refuse_mode"_s, u"1"_s);
    body.insert(u"refuse_receipt_description"_s, QString(u"Отмена "_s + refused));
    body.insert(u"refuse_receipt_number"_s, QString(refused + u"refuse"_s));
    return body;
}

QJsonObject cancellation(const QString& number, const QString& canceled)
{
    return {{u"receipt_description"_s, u"Полная отмена"_s},
            {u"receipt_number"_s, number},
            {u"receipt_to_cancel"_s, canceled}};
}

QJsonObject anonymous(const QString& number, int canceled)
{
    return {{u"receipt_details"_s, positions({{.position = 1, .sum = 70}, {.position = 2, .sum = 30}})},
            {u"receipt_amount"_s, 100},
            {u"branch_id"_s, u"12"_s},
            {u"receipt_description"_s, u"Операция для незарегистрированного пользователя"_s},
            {u"receipt_number"_s, number},
            {u"receipt_datetime"_s, u"1795224000"_s},
            {u"operator_id"_s, {}},
            {u"terminal_id"_s, {}},
            {u"session_id"_s, {}},
            {u"user_type"_s, {}},
            {u"\u0441anceled"_s, canceled}};
}

Shop::Shop(const QStringList& arguments)
    : m_process(arguments)
    , m_root(m_process.url())
{
    EXPECT_FALSE(m_root.isEmpty()) << "the stand did not start";
}

Reply Shop::send(const QByteArray& operation, const QByteArray& method, const QByteArray& body)
{
    return standtest::send({.url = m_root + "/v2/partner/operation/" + operation,
                            .method = method,
                            .login = Login(),
                            .body = body,
                            .headers = {"Content-Type: application/json"}});
}

Reply Shop::post(const QByteArray& operation, const QJsonObject& body)
{
    return send(operation, "POST", compact(body));
}

Reply Shop::put(const QByteArray& operation, const QJsonObject& body)
{
    return send(operation, "PUT", compact(body));
}

Reply Shop::prePayment(const Check& check, const QString& points)
{
    return post("pre-payment", spending(check, points));
}

Reply Shop::forcePayment(const Check& check, const QString& points)
{
    return post("force-payment-c2b", spending(check, points));
}

Reply Shop::payment(const Check& check, const QString& points)
{
    return post("payment-c2b", spending(check, points));
}

Reply Shop::confirm(int approveId, const QString& code)
{
    return post("confirm-payment-c2b", {{u"approve_id"_s, approveId}, {u"code"_s, code}});
}

Reply Shop::earn(const Check& check) { return post("payment-b2c", receipt(check)); }

Reply Shop::refuse(const Check& check, const QString& refused)
{
    return post("refuse-payment", refusal(check, refused));
}

Reply Shop::cancel(const QString& canceled)
{
    return post("cancel-payment", cancellation(canceled + u"-cancel"_s, canceled));
}

int Shop::balance(const QString& card) const
{
    const auto reply =
        standtest::send({.url = m_root + "/v2/partner/operation/user/card/" + card.toLatin1() + "/user-info",
                         .login = Login()});
    auto text = reply.data().value(u"accounts_data").toArray().at(0)[u"avialable"].toString();
    EXPECT_FALSE(text.isEmpty()) << "no balance of " << card.toStdString();
    return text.remove(u' ').remove(u',').remove(u'.').toInt();
}

int Shop::debt(const QString& card) const
{
    for (const auto& account : page("ledger")[u"accounts"].toArray()) {
        if (account[u"kind"] == u"debt"_s && account[u"card"] == card)
            return hundredths(account[u"balance"]);
    }
    return 0;
}

QJsonValue Shop::page(const QByteArray& name) const
{
    return standtest::send({.url = m_root + "/stand/" + name}).json();
}

QJsonArray Shop::operations() const
{
    QJsonArray operations;
    for (const auto& operation : page("ledger")[u"operations"].toArray()) {
        if (operation[u"operation"] != u"opening"_s)
            operations.append(operation);
    }
    return operations;
}

void Shop::kill()
{
    m_process.signal(SIGKILL);
    m_process.exitStatus();
}

int hundredths(const QJsonValue& units)
{
    EXPECT_TRUE(units.isDouble());
    const auto amount = std::lround(units.toDouble() * 100);
    EXPECT_EQ(static_cast<double>(amount) / 100, units.toDouble()) << "more than two decimals";
    return static_cast<int>(amount);
}

QList<int> discounts(const Reply& reply)
{
    QList<int> amounts;
    for (const auto& detail : reply.data().value(u"newRecipientDetails").toArray())
        amounts.append(hundredths(detail[u"discount_bonus"]));
    return amounts;
}

std::string refusalText(const Reply& reply)
{
    const auto messages = reply.messages();
    if (messages.size() != 1 || !messages.at(0).isString())
        return reply.body.toStdString();
    return std::to_string(reply.status) + ' ' + messages.at(0).toString().toStdString();
}

} // namespace standtest

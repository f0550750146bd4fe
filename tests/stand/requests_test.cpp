// Bodies of the wrong form, and receipts without a card.

#include "tests/stand/shop.h"
#include "tests/stand/standfixture.h"

using namespace Qt::StringLiterals;
using standtest::json;
using standtest::refusalText;
using standtest::Reply;
using standtest::Shop;

namespace {

const QString canceled = u"\u0441anceled"_s;

/// The only complaint of a 422 is of this member; its first text.
std::string complaint(const Reply& reply, const QString& member)
{
    const auto texts = reply.messages().at(0).toObject();
    if (reply.status != 422 || texts.keys() != QStringList{member})
        return reply.body.toStdString();
    return texts.value(member)[0].toString().toStdString();
}

QJsonObject with(QJsonObject body, const QString& member, const QJsonValue& value)
{
    body.insert(member, value);
    return body;
}

QJsonObject without(QJsonObject body, const QString& member)
{
    body.remove(member);
    return body;
}

QJsonObject withDetails(const QString& details)
{
    auto text = details;
    return with(standtest::receipt({}), u"receipt_details"_s, text.replace(u'\'', u'"'));
}

TEST(StandRequests, ThatAreNoJsonObjectAreRefused)
{
    Shop shop;
    for (const auto* operation : {"pre-payment", "force-payment-c2b", "payment-c2b", "confirm-payment-c2b",
                                  "payment-b2c", "refuse-payment", "cancel-payment", "receipt"}) {
        for (const auto* body : {"", "{", "[]", "1", "null", "{\"a\":1}x", "\xff"}) {
            EXPECT_EQ(refusalText(shop.send(operation, "POST", body)),
                      "400 Тело запроса должно быть объектом JSON")
                << operation << ' ' << body;
        }
    }
}

TEST(StandRequests, NeedTheirMethodAndCredentials)
{
    Shop shop;
    const auto reply = shop.send("payment-b2c", "GET", {});
    EXPECT_EQ(reply.status, 405);
    EXPECT_EQ(reply.headers.value("allow"), "POST");
    EXPECT_EQ(shop.send("receipt", "GET", {}).headers.value("allow"), "POST, PUT");
    EXPECT_EQ(
        standtest::send({.url = shop.root() + "/v2/partner/operation/payment-b2c", .method = "POST"}).status,
        401);
}

TEST(StandRequests, WithoutAnyOfTheirMembersTellWhich)
{
    Shop shop;
    const QList<std::pair<QByteArray, QJsonObject>> bodies = {
        {"pre-payment", standtest::spending({}, u"1.00"_s)},
        {"force-payment-c2b", standtest::spending({}, u"1.00"_s)},
        {"payment-c2b", standtest::spending({}, u"1.00"_s)},
        {"confirm-payment-c2b", {{u"approve_id"_s, 1}, {u"code"_s, u"1"_s}}},
        {"payment-b2c", standtest::receipt({})},
        {"refuse-payment", standtest::refusal({}, u"1"_s)},
        {"cancel-payment", standtest::cancellation(u"2"_s, u"1"_s)},
        {"receipt", standtest::anonymous(u"1"_s, 0)},
    };
    for (const auto& [operation, body] : bodies) {
        for (const auto& member : body.keys()) {
            const auto reply = shop.post(operation, without(body, member));
            if (body.value(member).isNull() || member == u"receipt_details")
                continue;
            EXPECT_EQ(complaint(reply, member), "Обязательное поле") << operation.constData();
            // No member is a truth value.
            EXPECT_FALSE(complaint(shop.post(operation, with(body, member, true)), member).empty());
            EXPECT_EQ(shop.post(operation, with(body, member, true)).status, 422) << member.toStdString();
        }
    }
    EXPECT_EQ(shop.balance(), 30000);
}

TEST(StandRequests, TellAllThatIsWrongAtOnce)
{
    Shop shop;
    auto body = standtest::receipt({});
    body.insert(u"card"_s, u"x"_s);
    body.insert(u"receipt_amount"_s, -1);
    body.insert(u"operator_id"_s, 5);
    EXPECT_EQ(shop.post("payment-b2c", body).messages(),
              json(u"[{'card':['Ожидается строка из цифр'],'operator_id':['Ожидается строка'],"
                   "'receipt_amount':['Отрицательное значение']}]"_s)
                  .toArray());
}

TEST(StandRequests, WantPointsAsATextOfAnAmount)
{
    Shop shop;
    for (const auto& points :
         {u"1.5"_s, u"1,50"_s, u"1.500"_s, u" 1.00"_s, u"x"_s, u"1e2"_s, u"10000000000"_s}) {
        EXPECT_EQ(complaint(shop.forcePayment({}, points), u"receipt_bonus_amount"_s),
                  "Ожидается сумма вида 12.50")
            << points.toStdString();
    }
    EXPECT_EQ(shop.forcePayment({}, u"1"_s).status, 200);
}

TEST(StandRequests, WantThePositionsOfACardsReceiptAsATextThatHoldsAList)
{
    Shop shop;
    const auto details = u"receipt_details"_s;
    const auto complaintOf = [&](const QJsonObject& body) {
        return complaint(shop.post("payment-b2c", body), details);
    };
    EXPECT_EQ(complaintOf(without(standtest::receipt({}), details)), "Обязательное поле");
    EXPECT_EQ(complaintOf(with(standtest::receipt({}), details, QJsonArray())), "Ожидается строка");
    EXPECT_EQ(complaintOf(withDetails(u"{}"_s)), "Ожидается список позиций");
    EXPECT_EQ(complaintOf(withDetails(u"[1]"_s)), "Позиция 1: ожидается объект");
    const auto rest = u"'prod_cat':0,'prod_code':'c','prod_name':'n','prod_price':1,'prod_amount':1"_s;
    EXPECT_EQ(complaintOf(withDetails(u"[{'position':'1',%1}]"_s.arg(rest))),
              "Позиция 1: prod_sum: Обязательное поле");
    EXPECT_EQ(complaintOf(withDetails(u"[{'position':1,'prod_sum':1,%1}]"_s.arg(rest))),
              "Позиция 1: position: Ожидается строка");
    EXPECT_EQ(complaintOf(withDetails(u"[{'position':'1','prod_sum':-1,%1}]"_s.arg(rest))),
              "Позиция 1: prod_sum: Отрицательное значение");
    EXPECT_EQ(complaintOf(withDetails(u"[{'position':'1','prod_sum':1e30,%1}]"_s.arg(rest))),
              "Позиция 1: prod_sum: Слишком большое значение");
    EXPECT_EQ(complaintOf(withDetails(
                  u"[{'position':'1','prod_sum':1,%1},{'position':'1','prod_sum':1,%1}]"_s.arg(rest))),
              "Позиция 2: номер повторяется");
}

TEST(StandRequests, OfARefusalAreInModeOneAndAskForNoPoints)
{
    Shop shop;
    const auto body = standtest::refusal({}, u"1"_s);
    EXPECT_EQ(complaint(shop.post("refuse-payment", with(body, u"refuse_mode"_s, u"2"_s)), u"refuse_mode"_s),
              "Ожидается значение 1");
    EXPECT_EQ(complaint(shop.post("refuse-payment", with(body, u"receipt_bonus_amount"_s, u"1.00"_s)),
                        u"receipt_bonus_amount"_s),
              "Ожидается значение 0");
}

TEST(StandRequests, OfAConfirmationNameTheRequestByAWholeNumber)
{
    Shop shop;
    for (const auto& id : {QJsonValue(1.5), QJsonValue(u"1"_s), QJsonValue(1e300)}) {
        const auto reply = shop.post("confirm-payment-c2b", {{u"approve_id"_s, id}, {u"code"_s, u"1"_s}});
        EXPECT_EQ(reply.status, 422);
        EXPECT_EQ(reply.messages().at(0).toObject().keys(), QStringList{u"approve_id"_s});
    }
}

TEST(StandAnonymous, SalesArePostedAndReturnsArePut)
{
    Shop shop;
    EXPECT_EQ(shop.post("receipt", standtest::anonymous(u"a-1"_s, 0)).json(),
              json(u"{'data':{'receipt_number':'a-1'}}"_s));
    EXPECT_EQ(shop.put("receipt", standtest::anonymous(u"a-1"_s, 1)).status, 200);
    EXPECT_EQ(complaint(shop.post("receipt", standtest::anonymous(u"a-2"_s, 1)), canceled),
              "Ожидается значение 0");
    EXPECT_EQ(complaint(shop.put("receipt", standtest::anonymous(u"a-2"_s, 0)), canceled),
              "Ожидается значение 1");

    const auto kept = shop.page("ledger")[u"anonymous"].toArray();
    ASSERT_EQ(kept.size(), 2);
    EXPECT_EQ(kept.at(0)[u"method"].toString(), u"POST"_s);
    EXPECT_EQ(kept.at(0)[u"receipt"], QJsonValue(standtest::anonymous(u"a-1"_s, 0)));
    EXPECT_EQ(kept.at(1)[u"method"].toString(), u"PUT"_s);
}

TEST(StandAnonymous, TheKeyThatBeginsWithACyrillicLetterIsNotTheLatinOne)
{
    Shop shop;
    const auto body = without(standtest::anonymous(u"a-1"_s, 0), canceled);
    EXPECT_EQ(shop.post("receipt", with(body, u"canceled"_s, 0)).messages(),
              QJsonArray({QJsonObject{{u"canceled"_s, QJsonArray{u"Неизвестное поле"_s}},
                                      {canceled, QJsonArray{u"Обязательное поле"_s}}}}));
}

TEST(StandAnonymous, PositionsAreANestedList)
{
    Shop shop;
    const auto body = standtest::anonymous(u"a-1"_s, 0);
    EXPECT_EQ(
        complaint(shop.post("receipt", with(body, u"receipt_details"_s, u"[]"_s)), u"receipt_details"_s),
        "Ожидается список позиций");
    EXPECT_EQ(shop.post("receipt", with(body, u"receipt_details"_s, QJsonArray())).status, 200);
}

TEST(StandAnonymous, ARepeatedReceiptIsKeptOnce)
{
    Shop shop;
    const auto body = standtest::anonymous(u"a-1"_s, 0);
    const auto first = shop.post("receipt", body);
    EXPECT_EQ(shop.post("receipt", body).body, first.body);
    EXPECT_EQ(refusalText(shop.post("receipt", with(body, u"receipt_amount"_s, 5))),
              "409 Номер чека уже использован другой операцией");
    EXPECT_EQ(shop.page("ledger")[u"anonymous"].toArray().size(), 1);
}

} // namespace

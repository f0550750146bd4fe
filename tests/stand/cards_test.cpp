// What the service answers about the demonstration cards.

#include "tests/stand/standfixture.h"

using namespace Qt::StringLiterals;
using standtest::json;

namespace {

class StandCards : public standtest::StandTest
{
protected:
    QJsonObject cardInfo(const QByteArray& card)
    {
        return get("card/" + card + "/card-info").data().value(u"card_data").toObject();
    }
    QJsonObject userAccount(const QByteArray& card)
    {
        return get("user-account/card/" + card).data().value(u"card_data").toObject();
    }
    standtest::Reply userInfo(const QByteArray& card)
    {
        return get("operation/user/card/" + card + "/user-info");
    }
    standtest::Reply phoneInfo(const QByteArray& phone)
    {
        return get("operation/user/phone/" + phone + "/user-info");
    }
    QString balance(const QByteArray& card)
    {
        return userInfo(card).data().value(u"accounts_data").toArray().at(0)[u"avialable"].toString();
    }
};

TEST_F(StandCards, CardInfoTellsNumberAndStatusOfEveryDemonstrationCard)
{
    const QList<std::pair<QByteArray, int>> expected = {
        {"2000000000017", 3}, {"2000000000024", 3}, {"2000000000031", 3}, {"2000000000048", 2},
        {"2000000000055", 3}, {"2000000000062", 0}, {"2000000000079", 1},
    };
    for (const auto& [number, status] : expected) {
        const auto card = cardInfo(number);
        EXPECT_EQ(card.value(u"number").toString(), QString::fromLatin1(number));
        EXPECT_EQ(card.value(u"status"), QJsonValue(status)) << number.constData();
    }
}

TEST_F(StandCards, AnswersAreJsonInTheSuccessEnvelope)
{
    const auto reply = get("card/2000000000017/card-info");
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.headers.value("content-type"), "application/json");
    EXPECT_EQ(reply.json(), json(u"{'data':{'card_data':{'number':'2000000000017','status':3}}}"_s));
}

TEST_F(StandCards, PercentEncodedDigitsAreTheSameNumber)
{
    EXPECT_EQ(cardInfo("%32000000000%3017").value(u"number").toString(), u"2000000000017"_s);
    EXPECT_EQ(phoneInfo("7900%3555%30001").data().value(u"cards_data").toArray().size(), 1);
}

TEST_F(StandCards, AskingForItsAccountBeginsTheRegistrationOfANewCard)
{
    EXPECT_EQ(userAccount("2000000000062"), json(u"{'number':'2000000000062','status':1}"_s).toObject());
    EXPECT_EQ(cardInfo("2000000000062").value(u"status").toInt(), 1);
    EXPECT_EQ(userAccount("2000000000062").value(u"status").toInt(), 1);
}

TEST_F(StandCards, AskingForItsAccountLeavesAnyOtherCardAsItIs)
{
    for (const auto& [number, status] :
         {std::pair{"2000000000017", 3}, {"2000000000048", 2}, {"2000000000079", 1}}) {
        EXPECT_EQ(userAccount(number).value(u"status").toInt(), status) << number;
        EXPECT_EQ(cardInfo(number).value(u"status").toInt(), status) << number;
    }
    EXPECT_EQ(cardInfo("2000000000062").value(u"status"), QJsonValue(0)) << "another card was asked for";
}

TEST_F(StandCards, UserInfoOfACardTellsCustomerBalanceAndCard)
{
    const auto reply = userInfo("2000000000017");
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.data(), json(u"{'user_data':{'last_name':'Соколова','first_name':'Мария',"
                                 "'middle_name':'Андреевна','gender':1,'birth_day':'1986-03-14',"
                                 "'address':'г. Липовец, ул. Садовая, д. 12, кв. 7',"
                                 "'email':'sokolova@example.com','mobile':'79001234567'},"
                                 "'accounts_data':[{'avialable':'1 234,50'}],"
                                 "'cards_data':[{'number':'2000000000017','status':3}]}"_s)
                                .toObject());
}

TEST_F(StandCards, EachAccountHasItsOwnWayToWriteItsBalance)
{
    EXPECT_EQ(balance("2000000000017"), u"1 234,50"_s);
    EXPECT_EQ(balance("2000000000024"), u"57.30"_s);
    EXPECT_EQ(balance("2000000000031"), u"1 234 567,05"_s);
    EXPECT_EQ(balance("2000000000055"), u"300.00"_s);
    EXPECT_EQ(balance("2000000000062"), u"0.00"_s);
    EXPECT_EQ(balance("2000000000079"), u"15,00"_s);
}

TEST_F(StandCards, ANewCardIsNobodysYet)
{
    EXPECT_EQ(userInfo("2000000000062").data(),
              json(u"{'accounts_data':[{'avialable':'0.00'}],"
                   "'cards_data':[{'number':'2000000000062','status':0}]}"_s)
                  .toObject());
}

TEST_F(StandCards, WhatTheCustomerHasNotToldIsLeftOut)
{
    EXPECT_EQ(userInfo("2000000000079").data().value(u"user_data"),
              json(u"{'last_name':'Гордеев','gender':0,'mobile':'79005550002'}"_s));
}

TEST_F(StandCards, ABlockedCardStillHasItsCustomer)
{
    const auto data = userInfo("2000000000048").data();
    EXPECT_EQ(data.value(u"cards_data"), json(u"[{'number':'2000000000048','status':2}]"_s));
    EXPECT_EQ(data.value(u"user_data")[u"first_name"].toString(), u"Пётр"_s);
}

TEST_F(StandCards, APhoneListsItsCardsAsTheyWereIssued)
{
    const auto data = phoneInfo("79001234567").data();
    EXPECT_EQ(data.value(u"cards_data"), json(u"[{'number':'2000000000017','status':3},"
                                              "{'number':'2000000000024','status':3},"
                                              "{'number':'2000000000031','status':3}]"_s));
    EXPECT_EQ(data.value(u"user_data"), userInfo("2000000000017").data().value(u"user_data"));
    EXPECT_FALSE(data.contains(u"accounts_data"));
}

TEST_F(StandCards, TheCardsOfOnePhoneBelongToOneCustomer)
{
    const auto first = userInfo("2000000000017").data().value(u"user_data");
    EXPECT_EQ(userInfo("2000000000024").data().value(u"user_data"), first);
    EXPECT_EQ(userInfo("2000000000031").data().value(u"user_data"), first);
}

TEST_F(StandCards, APhoneWithOneCardListsThatOne)
{
    EXPECT_EQ(phoneInfo("79007654321").data().value(u"cards_data"),
              json(u"[{'number':'2000000000048','status':2}]"_s));
    EXPECT_EQ(phoneInfo("79005550001").data().value(u"cards_data"),
              json(u"[{'number':'2000000000055','status':3}]"_s));
}

TEST_F(StandCards, APhoneNobodyHasIsNoFault)
{
    const auto reply = phoneInfo("79009999999");
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.json(), json(u"{'data':{'cards_data':[]}}"_s));
}

TEST_F(StandCards, TheDemonstrationCardsAreListedForAPersonWithoutCredentials)
{
    const auto reply = call("/stand/cards");
    EXPECT_EQ(reply.status, 200);
    const auto cards = reply.json().toArray();
    ASSERT_EQ(cards.size(), 7);
    for (const auto& card : cards) {
        EXPECT_EQ(cardInfo(card[u"number"].toString().toLatin1()).value(u"number"), card[u"number"]);
        EXPECT_FALSE(card[u"note"].toString().isEmpty());
        const auto mobile =
            userInfo(card[u"number"].toString().toLatin1()).data().value(u"user_data")[u"mobile"];
        EXPECT_EQ(mobile.toString(), card[u"phone"].toString());
    }
}

} // namespace

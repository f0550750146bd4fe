#include "tests/unit/client/queriesworld.h"

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const QString cardInfo = u"GET http://service/v2/partner/card/77/card-info"_s;
const QString userInfo = u"GET http://service/v2/partner/operation/user/card/77/user-info"_s;

class Queries : public QueriesWorld
{
protected:
    Queries() { record->setBonusBalance(-1.0); }

    void answerUser(const QByteArray& user, const QByteArray& accounts = R"([{"avialable":"1"}])")
    {
        service.answer(R"({"data":{"user_data":)" + user + R"(,"accounts_data":)" + accounts + "}}");
    }
    /// The balance that a card gets whose account says so.
    double balanceOf(const QByteArray& available)
    {
        answerStatus("3");
        answerUser("{}", R"([{"avialable":)" + available + "}]");
        client.getUserInfo(record);
        EXPECT_EQ(record->getBonusBalance().typeId(), QMetaType::Double);
        return record->getBonusBalance().toDouble();
    }
    [[nodiscard]] QSharedPointer<Client> customer() const { return record->getCard()->getClient(); }

    QSharedPointer<DocumentCardRecord> record{new DocumentCardRecord(KyrLoyaltySystem, u"77"_s)};
};

TEST_F(Queries, UserInfoAsksForTheStatusFirstAndLogsBothEnds)
{
    answerStatus("3");
    answerUser("{}");
    client.getUserInfo(record);
    EXPECT_THAT(service.calls(), ElementsAre(cardInfo, userInfo));
    EXPECT_EQ(service.requests()[1].body, QByteArray());
    EXPECT_THAT(log(), ElementsAre(u"info: Получение информации о клиенте и карте по номеру карты"_s,
                                   u"debug: Получение статуса карты"_s,
                                   u"info: Информация о клиенте и карте получена"_s));
}

TEST_F(Queries, UserInfoWritesStatusOneForAnActiveCard)
{
    answerStatus("3");
    answerUser("{}");
    client.getUserInfo(record);
    EXPECT_EQ(record->getCardStatus(), 1);
}

TEST_F(Queries, UserInfoWritesStatusZeroForAnUnfinishedRegistration)
{
    record->setCardStatus(ECard::Active);
    answerStatus("1");
    answerUser("{}");
    client.getUserInfo(record);
    EXPECT_EQ(record->getCardStatus(), 0);
}

TEST_F(Queries, UserInfoWritesStatusZeroForANewCardAfterMovingItOn)
{
    record->setCardStatus(ECard::Active);
    answerStatus("0");
    service.answer("{}");
    answerUser("{}");
    client.getUserInfo(record);
    EXPECT_EQ(service.requests().size(), 3);
    EXPECT_EQ(record->getCardStatus(), 0);
}

class ReplacedStatus : public OpenClient
{
public:
    [[nodiscard]] int getCardStatus(const QString& /*cardNumber*/) const override { return 2; }
};

TEST_F(Queries, UserInfoHonoursAReplacedStatusQueryAndMapsABlockedCard)
{
    ReplacedStatus replaced;
    replaced.serverUrl = client.serverUrl;
    answerUser("{}");
    replaced.getUserInfo(record);
    EXPECT_THAT(service.calls(), ElementsAre(userInfo));
    EXPECT_EQ(record->getCardStatus(), 2);
}

TEST_F(Queries, UserInfoWritesNothingWhenTheStatusFails)
{
    answerStatus("2");
    EXPECT_EQ(failureOf([this] { client.getUserInfo(record); }), blocked);
    EXPECT_EQ(record->getCardStatus(), ECard::RegistrationIncomplete);
    EXPECT_EQ(customer(), nullptr);
    EXPECT_EQ(record->getBonusBalance(), QVariant(-1.0));
    EXPECT_EQ(service.requests().size(), 1);
}

TEST_F(Queries, UserInfoKeepsTheStatusWhenTheCustomerQueryFails)
{
    answerStatus("3");
    service.answer("{}", 500);
    EXPECT_EQ(failureOf([this] { client.getUserInfo(record); }).ru(), u"Ошибка обращения к серверу"_s);
    EXPECT_EQ(record->getCardStatus(), ECard::Active);
    EXPECT_EQ(customer(), nullptr);
    EXPECT_EQ(record->getBonusBalance(), QVariant(-1.0));
}

TEST_F(Queries, UserInfoFillsTheCustomer)
{
    answerStatus("3");
    answerUser(R"({"last_name":"Иванов","first_name":"Пётр","middle_name":"Ильич","gender":0,
                   "birth_day":"1980-02-29","address":"Тверь","email":"p@example.ru","mobile":"79001234567"})");
    client.getUserInfo(record);
    ASSERT_NE(customer(), nullptr);
    EXPECT_EQ(customer()->getName(), u"Иванов Пётр Ильич"_s);
    EXPECT_EQ(customer()->getSex(), Client::Sex::Male);
    EXPECT_EQ(customer()->getBirthday(), QDate(1980, 2, 29));
    EXPECT_EQ(customer()->getAddress(), u"Тверь"_s);
    EXPECT_EQ(customer()->getEmail(), u"p@example.ru"_s);
    EXPECT_EQ(customer()->getPhoneNumber(), u"79001234567"_s);
}

TEST_F(Queries, UserInfoTrimsTheNameButKeepsTheBlanksInside)
{
    answerStatus("3");
    answerUser(R"({"last_name":"Иванов","first_name":"Пётр"})");
    client.getUserInfo(record);
    EXPECT_EQ(customer()->getName(), u"Иванов Пётр"_s);
    answerStatus("3");
    answerUser(R"({"last_name":"Иванов","middle_name":"Ильич"})");
    client.getUserInfo(record);
    EXPECT_EQ(customer()->getName(), u"Иванов  Ильич"_s);
}

TEST_F(Queries, UserInfoTrimsNothingButTheName)
{
    answerStatus("3");
    answerUser(R"({"last_name":" Иванов","first_name":" Пётр ","middle_name":"Ильич ","address":" Тверь ",
                   "email":" p@example.ru ","mobile":" 79001234567 "})");
    client.getUserInfo(record);
    EXPECT_EQ(customer()->getName(), u"Иванов  Пётр  Ильич"_s);
    EXPECT_EQ(customer()->getAddress(), u" Тверь "_s);
    EXPECT_EQ(customer()->getEmail(), u" p@example.ru "_s);
    EXPECT_EQ(customer()->getPhoneNumber(), u" 79001234567 "_s);
}

TEST_F(Queries, UserInfoKeepsAPercentSignInANameAsTheServiceSentIt)
{
    answerStatus("3");
    answerUser(R"({"last_name":"%2","first_name":"%3","middle_name":"%1"})");
    client.getUserInfo(record);
    EXPECT_EQ(customer()->getName(), u"%2 %3 %1"_s);
}

TEST_F(Queries, UserInfoTakesAnyGenderButZeroForOne)
{
    const QList<std::pair<QByteArray, int>> cases{{R"({"gender":2})", 1},
                                                  {R"({"gender":1})", 1},
                                                  {R"({"gender":"1"})", 1},
                                                  {R"({"gender":0})", 0},
                                                  {"{}", 0}};
    for (const auto& [user, sex] : cases) {
        answerStatus("3");
        answerUser(user);
        client.getUserInfo(record);
        EXPECT_EQ(static_cast<int>(customer()->getSex()), sex) << user.toStdString();
    }
}

TEST_F(Queries, UserInfoGivesNoBirthdayForAnyOtherForm)
{
    answerStatus("3");
    answerUser(R"({"birth_day":"29.02.1980"})");
    client.getUserInfo(record);
    EXPECT_FALSE(customer()->getBirthday().isValid());
}

TEST_F(Queries, UserInfoReadsABalanceWrittenForPeople)
{
    EXPECT_EQ(balanceOf(R"("1 234,50")"), 1234.5);
    EXPECT_EQ(balanceOf(R"("300.00")"), 300.0);
    EXPECT_EQ(balanceOf("12.75"), 12.75);
}

TEST_F(Queries, UserInfoTakesABalanceThatIsNoNumberForZero)
{
    EXPECT_EQ(balanceOf(R"("много")"), 0.0);
    EXPECT_EQ(balanceOf("null"), 0.0);
}

TEST_F(Queries, UserInfoTakesABalanceBeyondAllNumbersForZero)
{
    for (const char* available : {R"("nan")", R"("NaN")", R"("inf")", R"("+inf")", R"("-inf")",
                                  R"(" i n f ")", R"("infinity")", R"("1e999")", R"("-1e999")"})
        EXPECT_EQ(balanceOf(available), 0.0) << available;
}

TEST_F(Queries, UserInfoDropsOnlyTheOrdinaryBlankFromABalance)
{
    EXPECT_EQ(balanceOf("\"1\u00a0234,50\""), 0.0);
}

TEST_F(Queries, UserInfoReadsOnlyTheServicesSpellingOfTheBalance)
{
    answerStatus("3");
    answerUser("{}", R"([{"available":"5"}])");
    client.getUserInfo(record);
    EXPECT_EQ(record->getBonusBalance(), QVariant(0.0));
}

TEST_F(Queries, UserInfoCountsOnlyTheFirstAccount)
{
    answerStatus("3");
    answerUser("{}", R"([{"avialable":"5"},{"avialable":"70"}])");
    client.getUserInfo(record);
    EXPECT_EQ(record->getBonusBalance(), QVariant(5.0));
}

TEST_F(Queries, UserInfoWithoutAccountsFailsWithTheCustomerAttached)
{
    answerStatus("3");
    answerUser(R"({"last_name":"Иванов"})", "[]");
    EXPECT_EQ(failureOf([this] { client.getUserInfo(record); }),
              tr::Tr(u"loyaltyBalanceNotFound"_s, u"В ответе от сервера не найден баланс карты"_s));
    ASSERT_NE(customer(), nullptr);
    EXPECT_EQ(customer()->getName(), u"Иванов"_s);
    EXPECT_EQ(record->getBonusBalance(), QVariant(-1.0));
    EXPECT_FALSE(log().contains(u"info: Информация о клиенте и карте получена"_s));
}

TEST_F(Queries, UserInfoTakesOnlyAnArrayForAListOfAccounts)
{
    for (const char* accounts : {R"("1 234,50")", R"({"avialable":"5"})", "5", "true", "null"}) {
        answerStatus("3");
        answerUser("{}", accounts);
        EXPECT_EQ(failureOf([this] { client.getUserInfo(record); }).id(), u"loyaltyBalanceNotFound"_s)
            << accounts;
    }
}

TEST_F(Queries, UserInfoWithoutACardRecordFailsWithAClearText)
{
    EXPECT_EQ(failureOf([this] { client.getUserInfo({}); }).id(), u"kyrCardRecordMissing"_s);
    EXPECT_THAT(service.calls(), IsEmpty());
    EXPECT_THAT(log(), ElementsAre(u"info: Получение информации о клиенте и карте по номеру карты"_s));
}

TEST_F(Queries, CardNumbersAreListedAsTheServiceOrdersThem)
{
    service.answer(
        R"({"data":{"cards_data":[{"number":"30","status":2},{"number":10},{"status":3},{"number":"20"}]}})");
    EXPECT_THAT(client.getCardNumbers(u"79001234567"_s), ElementsAre(u"30"_s, u"10"_s, u""_s, u"20"_s));
    EXPECT_THAT(service.calls(),
                ElementsAre(u"GET http://service/v2/partner/operation/user/phone/79001234567/user-info"_s));
    EXPECT_EQ(service.requests()[0].body, QByteArray());
    EXPECT_THAT(log(),
                ElementsAre(u"info: Получение списка номеров карт по номеру телефона '79001234567'"_s));
}

TEST_F(Queries, CardNumbersOfAPhoneWithoutCardsAreNone)
{
    service.answer(R"({"data":{"cards_data":[]}})");
    EXPECT_THAT(client.getCardNumbers(u"1"_s), IsEmpty());
    service.answer("{}");
    EXPECT_THAT(client.getCardNumbers(u"1"_s), IsEmpty());
}

TEST_F(Queries, CardNumbersOfAnythingButAnArrayAreNone)
{
    for (const char* cards : {R"("2000")", R"({"number":"2000"})", "2000", "true", "null"}) {
        service.answer(QByteArray(R"({"data":{"cards_data":)") + cards + "}}");
        EXPECT_THAT(client.getCardNumbers(u"1"_s), IsEmpty()) << cards;
    }
}

TEST_F(Queries, CardNumbersInsertThePhoneUnchanged)
{
    service.answer("{}");
    (void)client.getCardNumbers(u"+7(900)%1"_s);
    EXPECT_EQ(service.requests()[0].url.path(QUrl::FullyEncoded),
              u"/v2/partner/operation/user/phone/+7(900)%251/user-info"_s);
    EXPECT_THAT(log(), ElementsAre(u"info: Получение списка номеров карт по номеру телефона '+7(900)%1'"_s));
}

TEST_F(Queries, CardNumbersPassTheServicesFailureOn)
{
    service.answer(R"({"data":[{"message":"Неверный телефон"}]})", 422);
    EXPECT_EQ(failureOf([this] { (void)client.getCardNumbers(u"1"_s); }).ru(), u"Неверный телефон"_s);
}

} // namespace

#include "tests/unit/client/queriesworld.h"

#include <limits>

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

const QString cardInfo = u"GET http://service/v2/partner/card/77/card-info"_s;

class CardStatus : public QueriesWorld
{
protected:
    tr::Tr statusFailure(const QByteArray& status)
    {
        answerStatus(status);
        return failureOf([this] { (void)client.getCardStatus(u"77"_s); });
    }

    const tr::Tr incorrect{u"requestIncorrectAnswer"_s, u"Некорректный ответ от сервера"_s};
    const tr::Tr statusNotFound{u"kyrCardStatusNotFound"_s, u"Не удалось получить статус карты"_s};
};

TEST_F(CardStatus, AsksForTheCardsInformation)
{
    answerStatus("3");
    EXPECT_EQ(client.getCardStatus(u"77"_s), 3);
    EXPECT_THAT(service.calls(), ElementsAre(cardInfo));
    EXPECT_EQ(service.requests()[0].body, QByteArray());
    EXPECT_THAT(log(), ElementsAre(u"debug: Получение статуса карты"_s));
}

TEST_F(CardStatus, OneIsReturnedWithoutFurtherRequests)
{
    answerStatus("1");
    EXPECT_EQ(client.getCardStatus(u"77"_s), 1);
    EXPECT_EQ(service.requests().size(), 1);
}

TEST_F(CardStatus, ZeroMovesTheCardOnAndReturnsTheStatusAsFirstRead)
{
    answerStatus("0");
    service.answer(R"({"data":{"card_data":{"status":1}}})");
    EXPECT_EQ(client.getCardStatus(u"77"_s), 0);
    EXPECT_THAT(service.calls(),
                ElementsAre(cardInfo, u"GET http://service/v2/partner/user-account/card/77"_s));
    EXPECT_THAT(
        log(),
        ElementsAre(u"debug: Получение статуса карты"_s,
                    u"debug: Получена карта со статусом 'Новая'. Изменение статуса на 'Не заполнена'"_s));
}

TEST_F(CardStatus, ZeroFailsWhenTheCardCannotBeMovedOn)
{
    answerStatus("0");
    service.answer("{}", 500);
    EXPECT_EQ(failureOf([this] { (void)client.getCardStatus(u"77"_s); }).id(), u"loyaltyErrorRequest"_s);
    EXPECT_EQ(log().last(),
              u"debug: Получена карта со статусом 'Новая'. Изменение статуса на 'Не заполнена'"_s);
}

TEST_F(CardStatus, TwoIsABlockedCard)
{
    EXPECT_EQ(statusFailure("2"), blocked);
    EXPECT_EQ(service.requests().size(), 1);
}

TEST_F(CardStatus, MayComeAsText)
{
    EXPECT_EQ(statusFailure(R"("2")"), blocked);
    for (const char* status : {R"("3")", R"(" 3 ")", R"("+3")", R"("03")"}) {
        answerStatus(status);
        EXPECT_EQ(client.getCardStatus(u"77"_s), 3) << status;
    }
}

TEST_F(CardStatus, MayBeAWholeNumberWithADecimalPoint)
{
    EXPECT_EQ(statusFailure("2.0"), blocked);
    EXPECT_EQ(statusFailure("0.2e1"), blocked);
}

TEST_F(CardStatus, OutsideZeroToThreeIsAnIncorrectAnswer)
{
    EXPECT_EQ(statusFailure("4"), incorrect);
    EXPECT_EQ(statusFailure("-1"), incorrect);
}

TEST_F(CardStatus, ThatIsNoNumberIsAnIncorrectAnswer)
{
    for (const char* status : {R"("active")", "null", "{}", "true", "false", "[3]", R"("")", R"("true")"})
        EXPECT_EQ(statusFailure(status), incorrect) << status;
}

TEST_F(CardStatus, ThatIsNotWholeIsAnIncorrectAnswer)
{
    for (const char* status : {"1.7", "0.5", "-0.5", "2.9999999", R"("1.7")", R"("3.0")"})
        EXPECT_EQ(statusFailure(status), incorrect) << status;
}

TEST_F(CardStatus, BeyondAnIntegerIsAnIncorrectAnswer)
{
    // The first three are 3 in their low 32 bits.
    for (const char* status : {"4294967299", "-4294967293", R"("4294967299")", "18446744073709551619",
                               "1e300", "-1e300", R"("1e0")"})
        EXPECT_EQ(statusFailure(status), incorrect) << status;
}

class ReplacedExchange : public OpenClient
{
public:
    [[nodiscard]] QMap<QString, QVariant> getServerResponse(const QString& /*path*/,
                                                            const QByteArray& /*body*/,
                                                            RestMethod /*method*/) const override
    {
        return {{u"data"_s, QVariantMap{{u"card_data"_s, QVariantMap{{u"status"_s, status}}}}}};
    }
    QVariant status;
};

TEST_F(CardStatus, IsReadFromAnyTypeOfNumber)
{
    ReplacedExchange replaced;
    for (const QVariant& status : {QVariant(3.0), QVariant(3), QVariant(3LL)}) {
        replaced.status = status;
        EXPECT_EQ(replaced.getCardStatus(u"77"_s), 3) << status.typeName();
    }
    for (const double status : {std::numeric_limits<double>::quiet_NaN(),
                                std::numeric_limits<double>::infinity(), 4294967299.0, 3.5}) {
        replaced.status = status;
        EXPECT_EQ(failureOf([&] { (void)replaced.getCardStatus(u"77"_s); }), incorrect) << status;
    }
}

TEST_F(CardStatus, ThatIsMissingIsSaidSo)
{
    for (const QByteArray& answer : {QByteArray(R"({"data":{"card_data":{"number":"77"}}})"),
                                     QByteArray(R"({"data":{}})"), QByteArray("{}"), QByteArray("[3]")}) {
        service.answer(answer);
        EXPECT_EQ(failureOf([this] { (void)client.getCardStatus(u"77"_s); }), statusNotFound)
            << answer.toStdString();
    }
}

} // namespace

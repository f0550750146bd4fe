#include "plugin/kyrloyaltyexception.h"
#include "tests/unit/plugin/loyaltydoubles.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::Return;
using testing::Throw;

namespace {

using testing::_;

class Identification : public LoyaltyWorld
{
protected:
    loyalty::CardNumberResult byPhone() { return loyalty.getCardNumber({1, u"79001234567"_s}); }
    void serviceKnows(const QList<QString>& numbers)
    {
        EXPECT_CALL(*client, getCardNumbers(u"79001234567"_s)).WillOnce(Return(numbers));
    }
    /// The cashier is told that a dialog comes, then asked, and picks that index.
    void asked(int chosen)
    {
        const testing::InSequence order;
        EXPECT_CALL(*notifier, notify(Event(static_cast<EActivityListener::Event>(73))));
        EXPECT_CALL(*dialog, chooseFromList(_)).WillOnce([this, chosen](const ChoiceRequest& request) {
            lastRequest = request;
            return chosen;
        });
    }

    ChoiceRequest lastRequest;
};

TEST_F(Identification, ByCardAsksTheServiceForTheCardWhateverItsNumbersType)
{
    for (const int type : {0, 1, 2, 3, 99}) {
        clearLog();
        EXPECT_CALL(*client, getUserInfo(card));
        EXPECT_TRUE(loyalty.identifyByCard(card, static_cast<ECardNumberType>(type)));
        EXPECT_THAT(log(), ElementsAre(u"info: Получение информации о карте"_s));
    }
    EXPECT_EQ(loyalty.getLastErrorString(), before);
}

TEST_F(Identification, CardInfoAsksTheServiceTheSameWithALineOfItsOwn)
{
    for (const int type : {0, 1, 2, 3, 99}) {
        clearLog();
        EXPECT_CALL(*client, getUserInfo(card));
        EXPECT_TRUE(loyalty.getCardInfo(card, static_cast<ECardNumberType>(type)));
        EXPECT_THAT(log(), ElementsAre(u"info: Запрос информации о карте"_s));
    }
}

TEST_F(Identification, ByCardFailsWithTheServicesTextAsLastError)
{
    EXPECT_CALL(*client, getUserInfo(card)).WillOnce(Throw(KyrLoyaltyException(failed)));
    EXPECT_FALSE(loyalty.identifyByCard(card, ECardNumberType::Typed));
    EXPECT_EQ(loyalty.getLastErrorString(), failed);
    EXPECT_THAT(log(),
                ElementsAre(u"info: Получение информации о карте"_s, u"error: Ошибка обращения к серверу"_s));
}

TEST_F(Identification, CardInfoFailsWithTheServicesTextAsLastError)
{
    EXPECT_CALL(*client, getUserInfo(card)).WillOnce(Throw(KyrLoyaltyException(failed)));
    EXPECT_FALSE(loyalty.getCardInfo(card, ECardNumberType::Typed));
    EXPECT_EQ(loyalty.getLastErrorString(), failed);
    EXPECT_THAT(log(),
                ElementsAre(u"info: Запрос информации о карте"_s, u"error: Ошибка обращения к серверу"_s));
}

TEST_F(Identification, ByCardLetsOtherExceptionsPass)
{
    EXPECT_CALL(*client, getUserInfo(card)).WillRepeatedly(Throw(BasicException(failed)));
    EXPECT_THROW(loyalty.identifyByCard(card, ECardNumberType::Typed), BasicException);
    EXPECT_THROW(loyalty.getCardInfo(card, ECardNumberType::Typed), BasicException);
    EXPECT_EQ(loyalty.getLastErrorString(), before);
}

TEST_F(Identification, AnotherKindOfInputIsLeftToTheHostWithOneErrorLine)
{
    for (const int kind : {0, 2, -1}) {
        clearLog();
        EXPECT_EQ(loyalty.getCardNumber({kind, u"text"_s}),
                  loyalty.BasicLoyaltySystem::getCardNumber({kind, u"text"_s}));
        EXPECT_THAT(
            log(),
            ElementsAre(u"error: Система лояльности не поддерживает поиск карты по введенному типу "_s +
                        QString::number(kind)));
    }
}

TEST_F(Identification, APhoneWithoutCardsIsAFailureThatNamesIt)
{
    serviceKnows({});
    const auto result = byPhone();
    EXPECT_FALSE(result.success);
    EXPECT_EQ(result.cardNumber, QString());
    EXPECT_EQ(result.error, tr::Tr(u"kyrCardForPhoneNotFound"_s, u"Нет карт для телефона '79001234567'"_s));
    EXPECT_THAT(log(), ElementsAre(u"info: Получение номера карты по номеру телефона '79001234567'"_s));
    EXPECT_EQ(loyalty.getLastErrorString(), before);
}

TEST_F(Identification, APhoneWithOneCardNeedsNoDialogAndNoEvent)
{
    serviceKnows({u"2000"_s});
    EXPECT_EQ(byPhone(), (loyalty::CardNumberResult{true, u"2000"_s, {}}));
    EXPECT_THAT(log(), ElementsAre(u"info: Получение номера карты по номеру телефона '79001234567'"_s));
}

TEST_F(Identification, APhoneWithThreeCardsLetsTheCashierChooseAfterEvent73)
{
    serviceKnows({u"30"_s, u"10"_s, u"20"_s});
    asked(2);
    EXPECT_EQ(byPhone(), (loyalty::CardNumberResult{true, u"20"_s, {}}));
}

TEST_F(Identification, TheFirstOfTwoCardsCanBeChosen)
{
    serviceKnows({u"30"_s, u"10"_s});
    asked(0);
    EXPECT_EQ(byPhone(), (loyalty::CardNumberResult{true, u"30"_s, {}}));
}

TEST_F(Identification, AClosedChoiceIsASuccessWithoutACard)
{
    serviceKnows({u"30"_s, u"10"_s});
    asked(-1);
    EXPECT_EQ(byPhone(), (loyalty::CardNumberResult{true, {}, {}}));
    EXPECT_EQ(loyalty.getLastErrorString(), before);
}

TEST_F(Identification, TheChoiceListsTheNumbersAsTheServiceDoes)
{
    serviceKnows({u"30"_s, u"10"_s, u"20"_s});
    asked(1);
    (void)byPhone();
    EXPECT_EQ(lastRequest.title, tr::Tr(u"undefined"_s, u"Номера карт"_s));
    EXPECT_TRUE(lastRequest.message.isEmpty());
    EXPECT_TRUE(lastRequest.comment.isEmpty());
    EXPECT_EQ(lastRequest.items, tr::TrList({u"30"_s, u"10"_s, u"20"_s}));
    EXPECT_TRUE(lastRequest.extraItems.isEmpty());
    EXPECT_FALSE(lastRequest.multipleChoice);
    EXPECT_TRUE(lastRequest.closable);
}

TEST_F(Identification, AFailedPhoneLookupGivesItsTextAndKeepsTheLastError)
{
    EXPECT_CALL(*client, getCardNumbers(_)).WillOnce(Throw(KyrLoyaltyException(failed)));
    EXPECT_EQ(byPhone(), (loyalty::CardNumberResult{false, {}, failed}));
    EXPECT_EQ(loyalty.getLastErrorString(), before);
    EXPECT_THAT(log(), ElementsAre(u"info: Получение номера карты по номеру телефона '79001234567'"_s,
                                   u"error: Ошибка обращения к серверу"_s));
}

TEST_F(Identification, APhoneLookupLetsOtherExceptionsPass)
{
    EXPECT_CALL(*client, getCardNumbers(_)).WillOnce(Throw(std::logic_error("other")));
    EXPECT_THROW((void)byPhone(), std::logic_error);
}

TEST_F(Identification, APhoneIsPassedOnAndLoggedAsItWasTyped)
{
    EXPECT_CALL(*client, getCardNumbers(u" 8 (900) %1 "_s)).WillOnce(Return(QList<QString>{}));
    EXPECT_EQ(loyalty.getCardNumber({1, u" 8 (900) %1 "_s}).error.ru(),
              u"Нет карт для телефона ' 8 (900) %1 '"_s);
    EXPECT_THAT(log(), ElementsAre(u"info: Получение номера карты по номеру телефона ' 8 (900) %1 '"_s));
}

} // namespace

#include "host/core/dialog.h"
#include "tests/journey/plugin/libraryworld.h"
#include "tests/stand/standprocess.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

/// A cashier who takes the card at that place of a list.
class Choosing : public DialogFrontend
{
public:
    explicit Choosing(int choice)
        : m_choice(choice)
        , m_registration(Dialog::registerFrontend(*this))
    {}

    int chooseFromList(const ChoiceRequest& request) override
    {
        for (const tr::Tr& item : request.items)
            offered.append(item.ru());
        return m_choice;
    }
    core::BasicDialog::Result inputText(const TextInputRequest& /*request*/) override
    {
        return core::BasicDialog::Result::cancelled();
    }

    QStringList offered;

private:
    int m_choice;
    utils::Registration m_registration;
};

/// The library against the real stand, another process on a port of its own.
class Identification : public LibraryWorld
{
protected:
    Identification() { start(QString::fromUtf8(stand.url())); }
    loyalty::CardNumberResult byPhone(const QString& phone) { return loyalty->getCardNumber({1, phone}); }

    standtest::StandProcess stand;
};

TEST_F(Identification, OfAnActiveCardFillsTheRecord)
{
    EXPECT_TRUE(identify());
    EXPECT_EQ(card->getCardStatus(), ECard::Active);
    EXPECT_EQ(card->getBonusBalance(), QVariant(1234.5)) << "the service writes it as 1 234,50";
    ASSERT_FALSE(card->getCard()->getClient().isNull());
    EXPECT_EQ(card->getCard()->getClient()->getName(), u"Соколова Мария Андреевна"_s);
    EXPECT_EQ(card->getCard()->getClient()->getSex(), Client::Sex::Female);
    EXPECT_EQ(card->getCard()->getClient()->getPhoneNumber(), u"79001234567"_s);
}

TEST_F(Identification, OfABlockedCardFailsAndWritesNothing)
{
    EXPECT_FALSE(identify(u"2000000000048"_s));
    EXPECT_EQ(lastError(), u"Карта заблокирована"_s);
    EXPECT_TRUE(nothingWritten());
}

TEST_F(Identification, OfANewCardMovesItOnForTheNextTime)
{
    EXPECT_TRUE(identify(u"2000000000062"_s));
    EXPECT_TRUE(
        log().contains(u"debug: Получена карта со статусом 'Новая'. Изменение статуса на 'Не заполнена'"_s));
    clearLog();
    EXPECT_TRUE(identify(u"2000000000062"_s));
    EXPECT_FALSE(log().join(u'\n').contains(u"'Новая'"_s));
}

TEST_F(Identification, OfAnUnfinishedRegistrationLeavesTheStatusAtZero)
{
    EXPECT_TRUE(identify(u"2000000000079"_s));
    EXPECT_EQ(card->getCardStatus(), ECard::RegistrationIncomplete);
    EXPECT_EQ(card->getCard()->getClient()->getName(), u"Гордеев"_s);
}

TEST_F(Identification, OfAnUnknownCardTellsTheServicesWords)
{
    EXPECT_FALSE(identify(u"2999999999999"_s));
    EXPECT_EQ(lastError(), u"Карта не найдена"_s);
}

TEST_F(Identification, OfAMalformedCardTellsTheServicesTextsPerFieldInOrder)
{
    EXPECT_FALSE(identify(u"20-00"_s));
    EXPECT_EQ(
        lastError(),
        u"Поиск карты не выполнен\nНомер карты должен состоять только из цифр\nПроверьте номер карты"_s);
}

TEST_F(Identification, ByAPhoneWithOneCardNeedsNoDialog)
{
    EXPECT_EQ(byPhone(u"79005550001"_s), (loyalty::CardNumberResult{true, u"2000000000055"_s, {}}));
}

TEST_F(Identification, ByAPhoneWithThreeCardsTakesTheChosenOne)
{
    const Choosing cashier(2);
    EXPECT_EQ(byPhone(u"79001234567"_s).cardNumber, u"2000000000031"_s);
    EXPECT_THAT(cashier.offered, ElementsAre(u"2000000000017"_s, u"2000000000024"_s, u"2000000000031"_s));
}

TEST_F(Identification, ByAPhoneWhoseListTheCashierClosesTakesNone)
{
    const Choosing cashier(-1);
    EXPECT_EQ(byPhone(u"79001234567"_s), (loyalty::CardNumberResult{true, {}, {}}));
}

TEST_F(Identification, ByAPhoneWithoutCardsFails)
{
    EXPECT_EQ(byPhone(u"79009999999"_s).error.ru(), u"Нет карт для телефона '79009999999'"_s);
}

TEST_F(Identification, AfterTheStandHasStoppedFailsAtOnceAndWritesNothing)
{
    stand.signal(SIGTERM);
    ASSERT_TRUE(stand.exitStatus().has_value());
    EXPECT_FALSE(identify());
    EXPECT_EQ(lastError(), u"Ошибка обращения к серверу"_s);
    EXPECT_TRUE(endedInTime());
    EXPECT_TRUE(nothingWritten());
}

class WrongPassword : public LibraryWorld
{
protected:
    standtest::StandProcess stand;
};

TEST_F(WrongPassword, FailsWithTheServicesWordsAndNeverNamesThePassword)
{
    start(QString::fromUtf8(stand.url()), u"not-the-password"_s);
    EXPECT_FALSE(identify());
    EXPECT_EQ(lastError(), u"Требуется авторизация"_s);
    EXPECT_TRUE(nothingWritten());
    EXPECT_FALSE(log().join(u'\n').contains(u"not-the-password"_s));
}

} // namespace

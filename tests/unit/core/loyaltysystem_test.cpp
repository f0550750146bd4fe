#include "tests/unit/core/plainsystem.h"

#include <memory>

using namespace Qt::StringLiterals;

namespace {

/// A process in which no loyalty system has registered yet.
class LoyaltySystem : public testing::Test
{
protected:
    LoyaltySystem() { Singleton<LoyaltySystems>::instance = nullptr; }
    ~LoyaltySystem() override
    {
        m_system.reset();
        delete std::exchange(Singleton<LoyaltySystems>::instance, nullptr);
    }

    void giveItAState()
    {
        m_system->setPointsForSpend(12.5);
        m_system->m_bonusImpacts.append(QSharedPointer<BonusImpact>::create());
        m_system->m_bonusRecords.resize(2);
        m_system->m_bonusRecords[0].amount = 1.25;
        m_system->m_bonusRecords[1].amount = 2.5;
    }

    void expectNoState() const
    {
        EXPECT_EQ(m_system->currentPointsForSpend(), 0);
        EXPECT_TRUE(m_system->getBonusImpacts().isEmpty());
        EXPECT_TRUE(m_system->m_bonusRecords.isEmpty());
    }

    std::unique_ptr<PlainSystem> m_system = std::make_unique<PlainSystem>();
    QSharedPointer<Document> m_document = QSharedPointer<Document>::create(SaleReceipt, u"17-3"_s);
    QSharedPointer<DocumentCardRecord> m_card =
        QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, u"7000"_s);
};

TEST_F(LoyaltySystem, IsFoundByItsTypeOnceReady)
{
    EXPECT_TRUE(m_system->init());
    ASSERT_NE(Singleton<LoyaltySystems>::instance, nullptr);
    EXPECT_EQ(Singleton<LoyaltySystems>::instance->find(KyrLoyaltySystem), m_system.get());
    EXPECT_EQ(Singleton<LoyaltySystems>::instance->find(NoLoyaltySystem), nullptr);
}

TEST_F(LoyaltySystem, IsRefusedWithAReasonBesideAnotherOfItsType)
{
    ASSERT_TRUE(m_system->init());
    PlainSystem second;
    EXPECT_FALSE(second.init());
    EXPECT_EQ(second.getLastErrorString(),
              tr::Tr(u"loyaltySystemAlreadyRegistered"_s, u"Система лояльности уже подключена"_s));
    EXPECT_EQ(Singleton<LoyaltySystems>::instance->find(KyrLoyaltySystem), m_system.get());
    m_system.reset();
    EXPECT_EQ(Singleton<LoyaltySystems>::instance->find(KyrLoyaltySystem), nullptr);
}

TEST_F(LoyaltySystem, IsAcceptedBesideOneOfAnotherType)
{
    ASSERT_TRUE(m_system->init());
    PlainSystem other(NoLoyaltySystem);
    EXPECT_TRUE(other.init());
    EXPECT_EQ(Singleton<LoyaltySystems>::instance->find(NoLoyaltySystem), &other);
    EXPECT_EQ(Singleton<LoyaltySystems>::instance->find(KyrLoyaltySystem), m_system.get());
}

TEST_F(LoyaltySystem, MayRegisterAgain)
{
    EXPECT_TRUE(m_system->registerLoyaltySystem());
    EXPECT_TRUE(m_system->registerLoyaltySystem());
    EXPECT_TRUE(m_system->getLastErrorString().isEmpty());
    Singleton<LoyaltySystems>::instance->remove(m_system.get());
    EXPECT_EQ(Singleton<LoyaltySystems>::instance->find(KyrLoyaltySystem), nullptr);
}

TEST_F(LoyaltySystem, IsGoneOnceDestroyed)
{
    ASSERT_TRUE(m_system->init());
    m_system.reset();
    EXPECT_EQ(Singleton<LoyaltySystems>::instance->find(KyrLoyaltySystem), nullptr);
}

TEST_F(LoyaltySystem, LeavesTheRegisteredOneAloneWhenItWasRefused)
{
    ASSERT_TRUE(m_system->init());
    {
        PlainSystem second;
        ASSERT_FALSE(second.init());
    }
    EXPECT_EQ(Singleton<LoyaltySystems>::instance->find(KyrLoyaltySystem), m_system.get());
}

TEST_F(LoyaltySystem, IsDestroyedWithoutHavingRegistered)
{
    m_system.reset();
    EXPECT_EQ(Singleton<LoyaltySystems>::instance, nullptr);
}

TEST_F(LoyaltySystem, WithoutAServiceRefusesToIdentifyACard)
{
    EXPECT_FALSE(m_system->identifyByCard(m_card, ECardNumberType::Scanned));
    EXPECT_EQ(m_system->getLastErrorString(),
              tr::Tr(u"loyaltyOperationNotSupported"_s, u"Операция не поддерживается системой лояльности"_s));
    EXPECT_EQ(m_card->getCardStatus(), ECard::RegistrationIncomplete);
}

TEST_F(LoyaltySystem, WithoutAServiceRefusesToAskForACard)
{
    EXPECT_FALSE(m_system->getCardInfo(m_card, ECardNumberType::Typed));
    EXPECT_EQ(m_system->getLastErrorString().id(), u"loyaltyOperationNotSupported"_s);
}

TEST_F(LoyaltySystem, WithoutAServiceRefusesToSpendPoints)
{
    giveItAState();
    EXPECT_FALSE(m_system->spendPoints());
    EXPECT_EQ(m_system->getLastErrorString().id(), u"loyaltyOperationNotSupported"_s);
    EXPECT_EQ(m_system->currentPointsForSpend(), 12.5);
}

TEST_F(LoyaltySystem, HasNoErrorBeforeTheFirstFailureAndKeepsItAfterwards)
{
    EXPECT_TRUE(m_system->getLastErrorString().isEmpty());
    EXPECT_FALSE(m_system->spendPoints());
    EXPECT_TRUE(m_system->request(m_document));
    EXPECT_FALSE(m_system->getLastErrorString().isEmpty());
}

TEST_F(LoyaltySystem, HasNothingToRequest)
{
    EXPECT_TRUE(m_system->request(m_document));
    expectNoState();
    EXPECT_EQ(m_system->getPointsForSpend(m_document), 0);
}

TEST_F(LoyaltySystem, ForgetsTheDocumentOnCommit)
{
    giveItAState();
    EXPECT_TRUE(m_system->commit(m_document));
    expectNoState();
}

TEST_F(LoyaltySystem, ForgetsTheDocumentOnRollback)
{
    giveItAState();
    EXPECT_TRUE(m_system->rollback(m_document));
    expectNoState();
}

TEST_F(LoyaltySystem, ForgetsTheDocumentOnCancel)
{
    giveItAState();
    EXPECT_TRUE(m_system->cancel());
    expectNoState();
}

TEST_F(LoyaltySystem, ForgetsTheDocumentWhenItsDataIsCleared)
{
    giveItAState();
    m_system->clearLoyaltyData();
    expectNoState();
}

TEST_F(LoyaltySystem, RestoresWithNothingToBringBack)
{
    EXPECT_TRUE(m_system->restoreLoyaltySystem());
    expectNoState();
}

TEST_F(LoyaltySystem, TellsThePointsThatTheHostSet)
{
    m_system->setPointsForSpend(12.5);
    EXPECT_EQ(m_system->currentPointsForSpend(), 12.5);
    EXPECT_EQ(m_system->getPointsForSpend(m_document), 12.5);
}

TEST_F(LoyaltySystem, EarnsTheSumOfItsBonusRecords)
{
    EXPECT_FALSE(m_system->hasPointsForEarn());
    EXPECT_EQ(m_system->getPointsForEarn(), 0);
    giveItAState();
    EXPECT_TRUE(m_system->hasPointsForEarn());
    EXPECT_EQ(m_system->getPointsForEarn(), 3.75);
}

TEST_F(LoyaltySystem, TakesACardNumberAsItIs)
{
    const auto result = m_system->getCardNumber({.text = u" 7000 0017"_s});
    EXPECT_EQ(result,
              (loyalty::CardNumberResult{.success = true, .cardNumber = u" 7000 0017"_s, .error = {}}));
}

TEST_F(LoyaltySystem, KnowsNoOtherWayToACardNumber)
{
    using Input = loyalty::CardNumberInputData;
    for (const int kind : {int(Input::PhoneNumber), int(Input::CustomerName), 17}) {
        const auto result = m_system->getCardNumber({.kind = kind, .text = u"79001234567"_s});
        EXPECT_FALSE(result.success);
        EXPECT_TRUE(result.cardNumber.isEmpty());
        EXPECT_EQ(result.error, tr::Tr(u"loyaltyCardSearchNotSupported"_s,
                                       u"Поиск карты по введенным данным не поддерживается"_s));
    }
}

TEST_F(LoyaltySystem, HasTheOptionsThatAreOn)
{
    EXPECT_FALSE(m_system->isOptionSet(LoyaltySystemOption::SearchByPhone));
    m_system->setOption(LoyaltySystemOption::SearchByPhone, true);
    m_system->setOption(LoyaltySystemOption::PointsAsDiscount, true);
    m_system->setOption(LoyaltySystemOption::SearchByPhone, false);
    EXPECT_FALSE(m_system->isOptionSet(LoyaltySystemOption::SearchByPhone));
    EXPECT_TRUE(m_system->isOptionSet(LoyaltySystemOption::PointsAsDiscount));
}

TEST_F(LoyaltySystem, ListsEachOptionOnceInTheOrderInWhichTheyWereSwitchedOn)
{
    m_system->setOption(LoyaltySystemOption::SearchByPhone, true);
    m_system->setOption(LoyaltySystemOption::PointsAsDiscount, true);
    m_system->setOption(LoyaltySystemOption::PointsAsDiscount, true);
    EXPECT_EQ(m_system->options(),
              (QList{LoyaltySystemOption::SearchByPhone, LoyaltySystemOption::PointsAsDiscount}));
}

TEST_F(LoyaltySystem, FindsItsCardOnTheWatchedDocumentOnly)
{
    EXPECT_EQ(m_system->getCard(), nullptr);
    m_system->setDocument(m_document);
    EXPECT_EQ(m_system->getCard(), nullptr);
    m_document->setCardRecord(QSharedPointer<DocumentCardRecord>::create(NoLoyaltySystem, u"1"_s));
    EXPECT_EQ(m_system->getCard(), nullptr);
    m_document->setCardRecord(m_card);
    EXPECT_EQ(m_system->getCard(), m_card);
    m_system->setDocument(nullptr);
    EXPECT_EQ(m_system->getCard(), nullptr);
}

TEST_F(LoyaltySystem, PutsItsStateInWordsForTheLog)
{
    giveItAState();
    EXPECT_EQ(m_system->pointsMessage(),
              u"Баллы к списанию: 12.50, скидок баллами: 1, записей о начислении: 2"_s);
}

TEST_F(LoyaltySystem, BringsNothingBesidesItsMainInterface)
{
    EXPECT_EQ(m_system->getType(), KyrLoyaltySystem);
    EXPECT_TRUE(m_system->features().isEmpty());
    EXPECT_TRUE(m_system->handlers().isEmpty());
    EXPECT_TRUE(m_system->triggers().isEmpty());
}

TEST(LoyaltySystemInterface, HasTheIdentifiersThatTheLoaderAsksFor)
{
    EXPECT_STREQ(qobject_interface_iid<BasicPlugin*>(), "ru.poshost.AbstractPlugin");
    EXPECT_STREQ(qobject_interface_iid<BasicLoyaltySystem*>(), "LoyaltySystem");
}

} // namespace

#include "host/utils/serder.h"
#include "plugin/kyrloyaltyexception.h"
#include "tests/unit/plugin/loyaltydoubles.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::InSequence;
using testing::IsEmpty;
using testing::Return;
using testing::Throw;

namespace {

class Transaction : public LoyaltyWorld
{
protected:
    Transaction() { fillState(); }

    const QString requested = u"info: Запрос к бонусной системе KYRLoyalty"_s;
    const QString committing = u"info: Подтверждение операций бонусной системы"_s;
    const QString done = u"info: Запрос выполнен"_s;
    const QString rolling = u"info: Отмена операций бонусной системы"_s;
    const QString rolled = u"info: Операции бонусной системы отменены"_s;
    const QString failure = u"error: Ошибка обращения к серверу"_s;
};

TEST_F(Transaction, RequestStoresWhatMayBeSpent)
{
    EXPECT_CALL(*client, prePayment(0.0)).WillOnce(Return(MockClient::Allowance{250.5, {}}));
    expectSave();
    EXPECT_TRUE(loyalty.request(document));
    EXPECT_EQ(loyalty.m_pointsForSpend, 250.5);
    EXPECT_EQ(saved.pointsForSpend, QVariant(250.5));
    EXPECT_THAT(saved.log, ElementsAre(requested)) << "done is only what is on disk";
    EXPECT_THAT(log(), ElementsAre(requested, done));
    EXPECT_EQ(loyalty.m_bonusRecords.size(), 1) << "the record of the answer is not taken";
    EXPECT_EQ(loyalty.getLastErrorString(), before);
}

TEST_F(Transaction, RequestForAnUnfinishedRegistrationWarnsAndAsksNobody)
{
    card->setCardStatus(ECard::RegistrationIncomplete);
    EXPECT_TRUE(loyalty.request(document));
    EXPECT_THAT(
        log(),
        ElementsAre(requested, u"warn: Невозможно списать бонусы. Регистрация пользователя не завершена"_s));
    expectStateUntouched();
}

TEST_F(Transaction, RequestForACardOfAnyOtherStatusAsksTheService)
{
    card->setCardStatus(ECard::Blocked);
    EXPECT_CALL(*client, prePayment(0.0)).WillOnce(Return(MockClient::Allowance{1, {}}));
    expectSave();
    EXPECT_TRUE(loyalty.request(document));
}

TEST_F(Transaction, RequestThatFailsChangesNothing)
{
    EXPECT_CALL(*client, prePayment(0.0)).WillOnce(Throw(KyrLoyaltyException(failed)));
    EXPECT_FALSE(loyalty.request(document));
    EXPECT_EQ(loyalty.getLastErrorString(), failed);
    EXPECT_THAT(log(), ElementsAre(requested, failure));
    expectStateUntouched();
}

TEST_F(Transaction, RequestForADocumentWithoutACardFailsWithAClearText)
{
    EXPECT_FALSE(loyalty.request(QSharedPointer<Document>::create(SaleReceipt, u"R-2"_s)));
    EXPECT_EQ(loyalty.getLastErrorString().id(), u"kyrCardRecordMissing"_s);
}

TEST_F(Transaction, CommitOfASaleAsksNobodyAndClearsTheState)
{
    for (const int type : {1, 0, 24}) {
        clearLog();
        open(type);
        fillState();
        loyalty.beforeClear = [this] { EXPECT_THAT(log(), ElementsAre(committing)); };
        EXPECT_TRUE(loyalty.commit(document));
        expectStateCleared();
        EXPECT_THAT(log(), ElementsAre(committing, done));
    }
}

TEST_F(Transaction, CommitOfAReturnRefusesTheSalesOperationsOnce)
{
    open(ReturnReceipt);
    EXPECT_CALL(*client, refusePayment());
    EXPECT_TRUE(loyalty.commit(document));
    expectStateCleared();
    EXPECT_THAT(log(), ElementsAre(committing, done));
}

TEST_F(Transaction, CommitOfAReturnThatFailsKeepsTheState)
{
    open(ReturnReceipt);
    EXPECT_CALL(*client, refusePayment()).WillOnce(Throw(KyrLoyaltyException(failed)));
    EXPECT_FALSE(loyalty.commit(document));
    EXPECT_EQ(loyalty.getLastErrorString(), failed);
    EXPECT_THAT(log(), ElementsAre(committing, failure));
    expectStateUntouched();
}

TEST_F(Transaction, RollbackCancelsTheSpendingAndForgetsIt)
{
    const InSequence order;
    EXPECT_CALL(*client, cancel(true));
    expectSave();
    EXPECT_TRUE(loyalty.rollback(document));
    expectStateCleared();
    EXPECT_FALSE(card->getPointsForEarn().isValid());
    EXPECT_EQ(saved.pointsForSpend, QVariant(0.0));
    EXPECT_EQ(saved.impacts, 0);
    EXPECT_FALSE(saved.cardPointsForEarn.isValid());
    EXPECT_THAT(saved.log, ElementsAre(rolling)) << "done is only what is on disk";
    EXPECT_THAT(log(), ElementsAre(rolling, rolled));
}

TEST_F(Transaction, RollbackThatCannotCancelOnlineCancelsThroughTheQueueOnce)
{
    {
        const InSequence order;
        EXPECT_CALL(*client, cancel(true)).WillOnce(Throw(KyrLoyaltyException(failed)));
        EXPECT_CALL(*client, cancel(false));
        expectSave();
    }
    EXPECT_TRUE(loyalty.rollback(document));
    expectStateCleared();
    EXPECT_FALSE(card->getPointsForEarn().isValid());
    EXPECT_EQ(loyalty.getLastErrorString(), before);
    EXPECT_THAT(log(), ElementsAre(rolling, failure, rolled));
}

TEST_F(Transaction, RollbackThatCannotCancelAtAllPassesToTheHostAndKeepsTheState)
{
    EXPECT_CALL(*client, cancel(true)).WillOnce(Throw(KyrLoyaltyException(failed)));
    EXPECT_CALL(*client, cancel(false)).WillOnce(Throw(KyrLoyaltyException(u"очередь"_s)));
    EXPECT_THROW(loyalty.rollback(document), KyrLoyaltyException);
    EXPECT_THAT(log(), ElementsAre(rolling, failure));
    expectStateUntouched();
}

TEST_F(Transaction, RollbackLetsOtherExceptionsPassWithoutQueueing)
{
    EXPECT_CALL(*client, cancel(true)).WillOnce(Throw(std::logic_error("other")));
    EXPECT_THROW(loyalty.rollback(document), std::logic_error);
    expectStateUntouched();
}

TEST_F(Transaction, RollbackWithoutACardAsksNobodyAndClearsTheState)
{
    document.reset(new Document(SaleReceipt, u"R-2"_s));
    Singleton<Session>::instance->setDocument(document);
    expectSave();
    EXPECT_TRUE(loyalty.rollback(document));
    expectStateCleared();
    EXPECT_THAT(log(), ElementsAre(rolling, rolled));
}

class CardNotShown : public Document
{
public:
    using Document::Document;
    [[nodiscard]] bool hasCardRecord(int /*kind*/) const override { return false; }
};

TEST_F(Transaction, RollbackWithoutACardStillEmptiesThePointsForEarn)
{
    document.reset(new CardNotShown(SaleReceipt, u"R-2"_s));
    document->setCardRecord(card);
    Singleton<Session>::instance->setDocument(document);
    expectSave();
    EXPECT_TRUE(loyalty.rollback(document));
    EXPECT_FALSE(card->getPointsForEarn().isValid());
}

TEST_F(Transaction, CancelForgetsTheStateAndAsksNobody)
{
    const QString resetting = u"info: Сброс состояния бонусной системы"_s;
    loyalty.beforeClear = [&] { EXPECT_THAT(log(), ElementsAre(resetting)); };
    expectSave();
    EXPECT_TRUE(loyalty.cancel());
    expectStateCleared();
    EXPECT_EQ(saved.pointsForSpend, QVariant(0.0));
    EXPECT_EQ(card->getPointsForEarn(), QVariant(3.0)) << "the card record keeps what it has";
    EXPECT_THAT(log(), ElementsAre(resetting));
}

TEST_F(Transaction, RestoreOfADocumentWithoutDataIsAnEmptyState)
{
    EXPECT_TRUE(loyalty.restoreLoyaltySystem());
    EXPECT_EQ(loyalty.m_pointsForSpend, 0.0);
    EXPECT_TRUE(loyalty.m_bonusImpacts.isEmpty());
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(Transaction, RestoreBringsBackWhatWasWrittenWithEmptyPlacesKept)
{
    auto detail = QSharedPointer<DocumentImpactDetail>::create();
    detail->setDiscountSum(12.5);
    detail->setDiscountName(u"Баллы"_s);
    auto impact = QSharedPointer<BonusImpact>::create(detail);
    impact->addDetailForPosition(3, 12.5);
    loyalty.m_bonusImpacts = {impact, nullptr, earlier};
    loyalty.m_pointsForSpend = 12.5;
    expectSave();
    loyalty.updatePluginData();
    fillState();

    EXPECT_TRUE(loyalty.restoreLoyaltySystem());
    EXPECT_EQ(loyalty.m_pointsForSpend, 12.5);
    ASSERT_EQ(loyalty.m_bonusImpacts.size(), 3);
    EXPECT_EQ(*loyalty.m_bonusImpacts[0]->getTotals(), *detail);
    EXPECT_EQ(loyalty.m_bonusImpacts[0]->getPositionSums(), impact->getPositionSums());
    EXPECT_TRUE(loyalty.m_bonusImpacts[1].isNull());
    EXPECT_FALSE(loyalty.m_bonusImpacts[2].isNull());
}

TEST_F(Transaction, RestoreTakesAnyKindOfNullForAnEmptyPlace)
{
    document->setPluginData(u"KyrLoyalty"_s, u"bonusImpacts"_s,
                            QVariantList{QVariant(), QVariant::fromValue(nullptr)});
    EXPECT_TRUE(loyalty.restoreLoyaltySystem());
    EXPECT_EQ(loyalty.m_bonusImpacts, (QList<QSharedPointer<BonusImpact>>{nullptr, nullptr}));
}

/// A stored impact that can't be read.
struct Unreadable
{};

TEST_F(Transaction, RestoreThatFailsKeepsTheImpactsThatThereWere)
{
    QMetaType::registerConverter<Unreadable, QVariantMap>(
        [](const Unreadable&) -> QVariantMap { throw std::runtime_error("unreadable"); });
    const QVariant readable = serder::default_serder_type<BonusImpact>::serialize(*earlier);
    document->setPluginData(u"KyrLoyalty"_s, u"bonusImpacts"_s,
                            QVariantList{readable, QVariant::fromValue(Unreadable())});
    EXPECT_THROW(loyalty.restoreLoyaltySystem(), std::runtime_error);
    EXPECT_EQ(loyalty.m_bonusImpacts, (QList<QSharedPointer<BonusImpact>>{earlier}));
}

TEST_F(Transaction, RestoreWithoutAWatchedDocumentIsAnEmptyState)
{
    loyalty.setDocument({});
    EXPECT_TRUE(loyalty.restoreLoyaltySystem());
    EXPECT_EQ(loyalty.m_pointsForSpend, 0.0);
    EXPECT_TRUE(loyalty.m_bonusImpacts.isEmpty());
}

} // namespace

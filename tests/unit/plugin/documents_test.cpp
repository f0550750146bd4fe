#include "plugin/kyrloyaltyexception.h"
#include "tests/unit/plugin/loyaltydoubles.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::Return;
using testing::Throw;

namespace {

using testing::_;

/// A till in which the session's current document, the watched one and the one that an operation is called
/// for are three, with a card and a position each. Each operation has its own to work on.
class ThreeDocuments : public LoyaltyWorld
{
protected:
    struct Receipt
    {
        QSharedPointer<Document> document;
        QSharedPointer<DocumentCardRecord> card;
    };
    static Receipt receiptOf(EDocumentType type, const QString& identifier, const QString& cardNumber,
                             int posnum, double price)
    {
        Receipt receipt{QSharedPointer<Document>::create(type, identifier),
                        QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, cardNumber)};
        receipt.card->setCardStatus(ECard::Active);
        receipt.card->setPointsForEarn(3.0);
        receipt.card->setPointsForSpend(1);
        receipt.card->setBonusBalance(1000.0);
        receipt.document->setCardRecord(receipt.card);
        receipt.document->addGoodsItem(QSharedPointer<GoodsItem>::create(posnum, u"a"_s, u"n"_s, price, 1));
        return receipt;
    }

    ThreeDocuments()
    {
        document = session.document;
        Singleton<Session>::instance->setDocument(session.document);
        loyalty.setDocument(watched.document);
    }

    static QVariant written(const Receipt& receipt)
    {
        return receipt.document->getPluginData(u"KyrLoyalty"_s, u"pointsForSpend"_s, {});
    }
    static bool isUntouched(const Receipt& receipt)
    {
        return receipt.card->getPointsForEarn() == QVariant(3.0) && receipt.card->getPointsForSpend() == 1 &&
               !written(receipt).isValid();
    }
    static DocumentBonusRecord recordOf(double amount) { return {u"2000"_s, amount, 1200, {}, {}, 0}; }

    Receipt session = receiptOf(SaleReceipt, u"S-1"_s, u"1111"_s, 1, 100);
    Receipt watched = receiptOf(SaleReceipt, u"W-1"_s, u"2222"_s, 2, 200);
    Receipt passed = receiptOf(SaleReceipt, u"P-1"_s, u"3333"_s, 3, 300);
};

TEST_F(ThreeDocuments, RequestIsForThePassedOnesCardAndWritesIntoTheSessions)
{
    session.card->setCardStatus(ECard::RegistrationIncomplete);
    watched.card->setCardStatus(ECard::RegistrationIncomplete);
    EXPECT_CALL(*client, prePayment(0.0)).WillOnce(Return(MockClient::Allowance{50, {}}));
    expectSave();
    EXPECT_TRUE(loyalty.request(passed.document));
    EXPECT_EQ(written(session), QVariant(50.0));
    EXPECT_TRUE(isUntouched(watched) && isUntouched(passed));
}

TEST_F(ThreeDocuments, RequestIsRefusedForThePassedOnesUnfinishedRegistration)
{
    passed.card->setCardStatus(ECard::RegistrationIncomplete);
    EXPECT_TRUE(loyalty.request(passed.document)); // the strict double fails on a request
}

TEST_F(ThreeDocuments, CommitRefusesWhenThePassedOneIsAReturn)
{
    const Receipt goodsBack = receiptOf(ReturnReceipt, u"V-1"_s, u"4444"_s, 1, 100);
    EXPECT_CALL(*client, refusePayment());
    EXPECT_TRUE(loyalty.commit(goodsBack.document));
}

TEST_F(ThreeDocuments, CommitOfAPassedSaleRefusesNothingThoughTheOthersAreReturns)
{
    const Receipt goodsBack = receiptOf(ReturnReceipt, u"V-1"_s, u"4444"_s, 1, 100);
    Singleton<Session>::instance->setDocument(goodsBack.document);
    loyalty.setDocument(goodsBack.document);
    EXPECT_TRUE(loyalty.commit(passed.document)); // the strict double fails on a request
}

TEST_F(ThreeDocuments, RollbackEmptiesThePassedOnesEarningAndWritesIntoTheSessions)
{
    EXPECT_CALL(*client, cancel(true));
    expectSave();
    EXPECT_TRUE(loyalty.rollback(passed.document));
    EXPECT_FALSE(passed.card->getPointsForEarn().isValid());
    EXPECT_EQ(session.card->getPointsForEarn(), QVariant(3.0));
    EXPECT_EQ(written(session), QVariant(0.0));
    EXPECT_FALSE(written(passed).isValid());
    EXPECT_TRUE(isUntouched(watched));
}

TEST_F(ThreeDocuments, RollbackAsksNobodyWhenOnlyThePassedOneHasNoCard)
{
    expectSave();
    EXPECT_TRUE(loyalty.rollback(QSharedPointer<Document>::create(SaleReceipt, u"P-2"_s)));
    EXPECT_EQ(session.card->getPointsForEarn(), QVariant(3.0));
    EXPECT_EQ(watched.card->getPointsForEarn(), QVariant(3.0));
}

TEST_F(ThreeDocuments, CancelWritesIntoTheSessions)
{
    expectSave();
    EXPECT_TRUE(loyalty.cancel());
    EXPECT_EQ(written(session), QVariant(0.0));
    EXPECT_TRUE(isUntouched(watched));
}

TEST_F(ThreeDocuments, PointsThatMayBeSpentAreLimitedByThePassedOnesSum)
{
    loyalty.m_pointsForSpend = 5000;
    EXPECT_EQ(loyalty.getPointsForSpend(passed.document), 300.0);
}

TEST_F(ThreeDocuments, PointsThatMayBeSpentAreLimitedByTheWatchedOnesBalance)
{
    loyalty.m_pointsForSpend = 5000;
    watched.card->setBonusBalance(40.0);
    EXPECT_EQ(loyalty.getPointsForSpend(passed.document), 40.0);
    watched.card->setBonusBalance(1000.0);
    loyalty.m_pointsForSpend = 5000;
    session.card->setBonusBalance(40.0);
    passed.card->setBonusBalance(40.0);
    EXPECT_EQ(loyalty.getPointsForSpend(passed.document), 300.0);
}

TEST_F(ThreeDocuments, SpendingIsOnTheWatchedOneAndWritesIntoTheSessions)
{
    auto detail = QSharedPointer<DocumentImpactDetail>::create();
    detail->setDiscountSum(4);
    loyalty.m_pointsForSpend = 40;
    EXPECT_CALL(*client, prePayment(40.0)).WillOnce(Return(MockClient::Allowance{100, recordOf(7)}));
    EXPECT_CALL(*client, forcePayment(40.0)).WillOnce(Return(QSharedPointer<BonusImpact>::create(detail)));
    expectSave();
    EXPECT_TRUE(loyalty.spendPoints());
    EXPECT_EQ(log().first(), u"info: Создание оплаты бонусами в виде скидки на сумму 40, по карте 2222"_s);
    ASSERT_EQ(loyalty.m_bonusRecords.size(), 1);
    EXPECT_EQ(loyalty.m_bonusRecords.first().position, 2);
    EXPECT_EQ(watched.card->getPointsForEarn(), QVariant(7.0));
    EXPECT_EQ(watched.card->getPointsForSpend(), 4.0);
    EXPECT_FALSE(written(watched).isValid());
    EXPECT_EQ(written(session), QVariant(4.0));
    EXPECT_EQ(session.card->getPointsForEarn(), QVariant(3.0));
    EXPECT_EQ(session.card->getPointsForSpend(), 1.0);
}

TEST_F(ThreeDocuments, EarningIsOfTheSessions)
{
    EXPECT_CALL(*client, earnPoints(true)).WillOnce(Return(recordOf(7)));
    EXPECT_TRUE(loyalty.hasPointsForEarn());
    ASSERT_EQ(loyalty.m_bonusRecords.size(), 1);
    EXPECT_EQ(loyalty.m_bonusRecords.first().position, 1);
    EXPECT_EQ(session.card->getPointsForEarn(), QVariant(7.0));
    EXPECT_TRUE(isUntouched(watched));
}

TEST_F(ThreeDocuments, AClosedReceiptIsReportedUnlessTheSessionsHasTheFlag)
{
    watched.document->setFlag(254);
    EXPECT_CALL(*client, anonymousReceipt());
    loyalty.handleEvent(Event(EActivityListener::ReceiptClosed));
    testing::Mock::VerifyAndClearExpectations(client.data());
    session.document->setFlag(254);
    loyalty.handleEvent(Event(EActivityListener::ReceiptClosed)); // the strict double fails on a report
}

TEST_F(ThreeDocuments, TheStateIsRestoredFromTheWatchedOne)
{
    session.document->setPluginData(u"KyrLoyalty"_s, u"pointsForSpend"_s, 1.0);
    watched.document->setPluginData(u"KyrLoyalty"_s, u"pointsForSpend"_s, 7.0);
    EXPECT_TRUE(loyalty.restoreLoyaltySystem());
    EXPECT_EQ(loyalty.m_pointsForSpend, 7.0);
}

} // namespace

#include "tests/unit/client/receiptworld.h"

#include <stdexcept>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Settlement : public ReceiptWorld
{
protected:
    Settlement()
    {
        document->addGoodsItem(QSharedPointer<GoodsItem>::create(1, u"4601"_s, u"Молоко"_s, 89.9, 2));
    }

    /// A return of a sale with the ids earn 77 and spend 76, whose positions carry those bonus discounts.
    void returnWith(const QList<double>& bonusImpacts)
    {
        sale->setCardRecord(saleCard);
        openReturnOf(sale);
        for (int i = 0; i < bonusImpacts.size(); ++i)
            document->addGoodsItem(QSharedPointer<GoodsItem>(new FixedItem(i + 1, 100, bonusImpacts[i])));
    }
    [[nodiscard]] QStringList queuedKinds() const
    {
        QStringList kinds;
        for (qsizetype i = 0; i < queue->entries.size(); ++i)
            kinds.append(at(queuedJson(i), "receipt_to_refuse").toString());
        return kinds;
    }

    QSharedPointer<Document> sale{new Document(SaleReceipt, u"R-0"_s)};
    QSharedPointer<DocumentCardRecord> saleCard{new DocumentCardRecord(KyrLoyaltySystem, u"2000000000017"_s)};

    void SetUp() override { saleCard->setOperationId(uR"({"earn":"77","spend":"76"})"_s); }
};

TEST_F(Settlement, EarningOnlineSendsTheReceiptAsItStandsAndGivesTheRecordInMoney)
{
    client.bonusRatio = 10;
    service.answer(R"({"data":{"paymentBonus":50}})");
    const DocumentBonusRecord record = client.earnPoints(true);
    EXPECT_THAT(service.calls(), ElementsAre(u"POST http://service/v2/partner/operation/payment-b2c"_s));
    EXPECT_TRUE(test_support::matchesGolden(sentBody(), "earn.json"));
    EXPECT_EQ(record.amount, 5.0);
    EXPECT_EQ(record.code, 1200);
    EXPECT_EQ(record.cardNumber, u"2000000000017"_s);
    EXPECT_THAT(log(), ElementsAre(u"info: Начисление бонусных баллов"_s, u"info: Начисление выполнено"_s));
    EXPECT_TRUE(queue->entries.isEmpty());
}

TEST_F(Settlement, EarningOnlineAtTheDefaultRatioGivesThePointsAsMoney)
{
    service.answer(R"({"data":{"paymentBonus":50}})");
    EXPECT_EQ(client.earnPoints(true).amount, 50.0);
}

TEST_F(Settlement, EarningOnlineSendsSumsAfterTheBonusDiscount)
{
    document->addGoodsItem(QSharedPointer<GoodsItem>(new FixedItem(2, 90, 10)));
    service.answer("{}");
    (void)client.earnPoints(true);
    EXPECT_TRUE(sentBody().contains(R"(\"prod_sum\":90)"));
}

TEST_F(Settlement, EarningOnlineOfAnAnswerWithoutFieldsIsARecordOfNothing)
{
    for (const QByteArray& answer : {QByteArray("{}"), QByteArray(R"({"data":{}})")}) {
        service.answer(answer);
        const DocumentBonusRecord record = client.earnPoints(true);
        EXPECT_EQ(record.amount, 0.0);
        EXPECT_EQ(record.code, 1200);
    }
}

TEST_F(Settlement, EarningOnlineThatFailsPassesOnAndQueuesNothing)
{
    service.answer("{}", 500);
    EXPECT_EQ(failureOf([this] { (void)client.earnPoints(true); }).id(), u"loyaltyErrorRequest"_s);
    EXPECT_THAT(log(), ElementsAre(u"info: Начисление бонусных баллов"_s));
    EXPECT_TRUE(queue->entries.isEmpty());
}

TEST_F(Settlement, EarningOfflineQueuesTheSameBodyAndSaysNothing)
{
    service.answer("{}");
    (void)client.earnPoints(true);
    clearLog();
    queue->before = [this] {
        EXPECT_THAT(log(), ElementsAre(u"info: Начисление бонусных баллов в офлайн режиме"_s));
    };
    EXPECT_EQ(client.earnPoints(false), DocumentBonusRecord());
    EXPECT_EQ(service.requests().size(), 1);
    ASSERT_EQ(queue->entries.size(), 1);
    EXPECT_EQ(queuedBody(), sentBody());
    EXPECT_EQ(at(queue->entries[0].message, "url"),
              QVariant(u"http://service/v2/partner/operation/payment-b2c"_s));
    EXPECT_EQ(at(queue->entries[0].message, "method"), QVariant(u"POST"_s));
    EXPECT_THAT(log(), ElementsAre(u"info: Начисление бонусных баллов в офлайн режиме"_s));
}

TEST_F(Settlement, CancellingOnlineSendsThreeKeysAndUsesUpTheIds)
{
    card->setOperationId(uR"({"earn":"43","spend":"42"})"_s);
    service.answer("{}");
    client.cancel(true);
    EXPECT_THAT(service.calls(), ElementsAre(u"POST http://service/v2/partner/operation/cancel-payment"_s));
    EXPECT_TRUE(test_support::matchesGolden(sentBody(), "cancel.json"));
    EXPECT_EQ(card->getOperationId(), QString());
    EXPECT_THAT(log(), ElementsAre(u"info: Полная отмена транзакции списания бонусов по чеку"_s,
                                   u"info: Отмена выполнена"_s));
    (void)client.makeCheck(false);
    EXPECT_EQ(card->getOperationId(), uR"({"earn":"1717243201","spend":"1717243200"})"_s);
}

TEST_F(Settlement, CancellingOnlineThatFailsKeepsTheIds)
{
    card->setOperationId(uR"({"earn":"43","spend":"42"})"_s);
    service.answer("{}", 500);
    EXPECT_EQ(failureOf([this] { client.cancel(true); }).id(), u"loyaltyErrorRequest"_s);
    EXPECT_EQ(card->getOperationId(), uR"({"earn":"43","spend":"42"})"_s);
    EXPECT_THAT(log(), ElementsAre(u"info: Полная отмена транзакции списания бонусов по чеку"_s));
}

TEST_F(Settlement, CancellingOfflineThatCannotBeQueuedKeepsTheIds)
{
    card->setOperationId(uR"({"earn":"43","spend":"42"})"_s);
    queue->before = [] { throw std::runtime_error("disk full"); };
    EXPECT_THROW(client.cancel(false), std::runtime_error);
    EXPECT_EQ(card->getOperationId(), uR"({"earn":"43","spend":"42"})"_s);
    EXPECT_THAT(log(),
                ElementsAre(u"info: Полная отмена транзакции списания бонусов по чеку в режиме офлайн"_s));
}

TEST_F(Settlement, CancellingOfflineQueuesTheSameBodyAndUsesUpTheIds)
{
    card->setOperationId(uR"({"earn":"43","spend":"42"})"_s);
    client.cancel(false);
    EXPECT_THAT(service.calls(), IsEmpty());
    ASSERT_EQ(queue->entries.size(), 1);
    EXPECT_TRUE(test_support::matchesGolden(queuedBody(), "cancel.json"));
    EXPECT_EQ(at(queue->entries[0].message, "url"),
              QVariant(u"http://service/v2/partner/operation/cancel-payment"_s));
    EXPECT_EQ(at(queue->entries[0].message, "method"), QVariant(u"POST"_s));
    EXPECT_EQ(card->getOperationId(), QString());
    EXPECT_THAT(log(),
                ElementsAre(u"info: Полная отмена транзакции списания бонусов по чеку в режиме офлайн"_s,
                            u"info: Отмена выполнена"_s));
}

TEST_F(Settlement, CancellingWithADashAndRefusingWithoutIsTheServicesWay)
{
    card->setOperationId(uR"({"earn":"43","spend":"42"})"_s);
    client.cancel(false);
    EXPECT_EQ(at(queuedJson(0), "receipt_number"), QVariant(u"42-cancel"_s));
    returnWith({});
    client.refusePayment();
    EXPECT_EQ(at(queuedJson(1), "refuse_receipt_number"), QVariant(u"77refuse"_s));
}

TEST_F(Settlement, RefusingQueuesOnlyTheEarningWithoutABonusDiscount)
{
    returnWith({0, 0});
    client.refusePayment();
    EXPECT_THAT(queuedKinds(), ElementsAre(u"77"_s));
    EXPECT_EQ(at(queuedJson(), "refuse_receipt_number"), QVariant(u"77refuse"_s));
    EXPECT_EQ(at(queuedJson(), "refuse_receipt_description"), QVariant(u"Отмена 77"_s));
    EXPECT_EQ(client.getOperationId(saleCard, u"earn"_s), u"1717243200"_s);
    EXPECT_EQ(client.getOperationId(saleCard, u"spend"_s), u"76"_s);
    EXPECT_THAT(log(),
                ElementsAre(u"info: Частичная отмена транзакции начисления и списания бонусов по чеку"_s,
                            u"info: Отмена выполнена"_s));
}

TEST_F(Settlement, RefusingQueuesTheEarningThenTheSpendingWithABonusDiscount)
{
    returnWith({0.004, 0.006});
    client.refusePayment();
    EXPECT_THAT(queuedKinds(), ElementsAre(u"77"_s, u"76"_s));
    EXPECT_EQ(at(queuedJson(0), "receipt_number"), QVariant(u"1717243200"_s));
    EXPECT_EQ(at(queuedJson(1), "receipt_number"), QVariant(u"1717243201"_s));
    EXPECT_EQ(saleCard->getOperationId(), uR"({"earn":"1717243200","spend":"1717243201"})"_s);
    EXPECT_THAT(documents->saved, ElementsAre(saleCard, saleCard));
}

TEST_F(Settlement, RefusingTestsTheBonusDiscountSignedAndAboveHalfAHundredth)
{
    returnWith({0.005});
    client.refusePayment();
    EXPECT_EQ(queue->entries.size(), 1);
    returnWith({-100});
    client.refusePayment();
    EXPECT_EQ(queue->entries.size(), 2);
    returnWith({0.0051});
    client.refusePayment();
    EXPECT_EQ(queue->entries.size(), 4);
}

TEST_F(Settlement, RefusingSendsTheSpendingsSumsBeforeAndTheEarningsAfterTheBonusDiscount)
{
    returnWith({25});
    client.refusePayment();
    EXPECT_TRUE(queuedBody(0).contains(R"(\"prod_sum\":100)"));
    EXPECT_TRUE(queuedBody(1).contains(R"(\"prod_sum\":125)"));
}

TEST_F(Settlement, RefusingWrapsTheSecondNumberAtThirtyTwoBits)
{
    clock.moveTo(QDateTime::fromSecsSinceEpoch(4294967295));
    returnWith({25});
    client.refusePayment();
    EXPECT_EQ(at(queuedJson(0), "receipt_number"), QVariant(u"4294967295"_s));
    EXPECT_EQ(at(queuedJson(1), "receipt_number"), QVariant(u"0"_s));
}

TEST_F(Settlement, RefusingReadsTheClockOnceForBothNumbers)
{
    clock.setTick(std::chrono::seconds(60));
    returnWith({25});
    client.refusePayment();
    EXPECT_EQ(at(queuedJson(0), "receipt_number"), QVariant(u"1717243200"_s));
    EXPECT_EQ(at(queuedJson(1), "receipt_number"), QVariant(u"1717243201"_s));
}

TEST_F(Settlement, RefusingAReturnWhoseSaleIsNotStoredQueuesNothing)
{
    returnWith({25});
    documents->documents.clear();
    EXPECT_EQ(failureOf([this] { client.refusePayment(); }),
              tr::Tr(u"kyrBackNotPossible"_s, u"Возврат не возможен"_s));
    EXPECT_TRUE(queue->entries.isEmpty());
    EXPECT_THAT(log(),
                ElementsAre(u"info: Частичная отмена транзакции начисления и списания бонусов по чеку"_s));
}

TEST_F(Settlement, RefusingWithoutACurrentDocumentFailsWithAClearTextAfterItsFirstLine)
{
    Singleton<Session>::instance->setDocument({});
    EXPECT_EQ(failureOf([this] { client.refusePayment(); }).id(), u"kyrDocumentMissing"_s);
    EXPECT_THAT(log(),
                ElementsAre(u"info: Частичная отмена транзакции начисления и списания бонусов по чеку"_s));
}

TEST_F(Settlement, RefusingAReturnWhoseSaleHasNoCardFailsWithAClearText)
{
    openReturnOf(sale);
    EXPECT_EQ(failureOf([this] { client.refusePayment(); }).id(), u"kyrCardRecordMissing"_s);
    EXPECT_TRUE(queue->entries.isEmpty());
}

} // namespace

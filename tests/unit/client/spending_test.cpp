#include "tests/unit/client/receiptworld.h"

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

class Spending : public ReceiptWorld
{
protected:
    Spending()
    {
        auto milk = QSharedPointer<GoodsItem>::create(1, u"4601"_s, u"Молоко 3,2 %"_s, 89.9, 2);
        milk->setBonusImpactSum(9.9);
        document->addGoodsItem(milk);
    }

    /// The amount of points in the body of a pre-payment of `amount`.
    QString amountSent(double amount)
    {
        service.answer("{}");
        (void)client.prePayment(amount);
        const QVariantMap body = QJsonDocument::fromJson(service.requests().last().body).toVariant().toMap();
        EXPECT_EQ(at(body, "receipt_bonus_amount").typeId(), QMetaType::QString);
        return at(body, "receipt_bonus_amount").toString();
    }
};

TEST_F(Spending, PrePaymentSendsTheReceiptAsItWasBeforeTheBonusDiscount)
{
    service.answer("{}");
    (void)client.prePayment(150);
    EXPECT_THAT(service.calls(), ElementsAre(u"POST http://service/v2/partner/operation/pre-payment"_s));
    EXPECT_TRUE(test_support::matchesGolden(sentBody(), "pre_payment.json"));
    EXPECT_THAT(log(), ElementsAre(u"info: Запрос информации о ограничениях начислений и списаний"_s,
                                   u"info: Запрос выполнен"_s));
}

TEST_F(Spending, PrePaymentWritesPointsAsTextWithTwoDecimals)
{
    EXPECT_EQ(amountSent(10), u"10.00"_s);
    EXPECT_EQ(amountSent(0.5), u"0.50"_s);
    EXPECT_EQ(amountSent(0), u"0.00"_s);
}

TEST_F(Spending, PrePaymentAddsUpWhatThePositionsAllowWithoutConversion)
{
    client.bonusRatio = 10;
    service.answer(R"({"data":{"receipt_details":[{"parameters":{"max_payment_bonus":10}},
        {"parameters":{"max_payment_bonus":20.5}},{"parameters":{}},{},"text"]}})");
    EXPECT_EQ(client.prePayment(1).first, 30.5);
}

TEST_F(Spending, PrePaymentGivesTheEarningInMoney)
{
    client.bonusRatio = 10;
    service.answer(R"({"data":{"payment_bonus":25}})");
    const DocumentBonusRecord record = client.prePayment(1).second;
    EXPECT_EQ(record.amount, 2.5);
    EXPECT_EQ(record.code, 1200);
}

TEST_F(Spending, PrePaymentOfAnAnswerWithoutFieldsIsZeroAndACompleteRecord)
{
    for (const QByteArray& answer :
         {QByteArray("{}"), QByteArray(R"({"data":{}})"), QByteArray(R"({"data":[1]})")}) {
        service.answer(answer);
        const auto [allowed, record] = client.prePayment(1);
        EXPECT_EQ(allowed, 0.0);
        EXPECT_EQ(record.amount, 0.0);
        EXPECT_EQ(record.cardNumber, u"2000000000017"_s);
    }
}

TEST_F(Spending, ForcePaymentSpendsAtOnceAndMakesTheDiscount)
{
    client.bonusRatio = 10;
    service.answer(R"({"data":{"newRecipientDetails":[{"position":"1","discount_bonus":5.05}]}})");
    const auto impact = client.forcePayment(50.5);
    EXPECT_THAT(service.calls(),
                ElementsAre(u"POST http://service/v2/partner/operation/force-payment-c2b"_s));
    EXPECT_TRUE(test_support::matchesGolden(sentBody(), "force_payment.json"));
    EXPECT_EQ(impact->getTotals()->getDiscountSum(), 5.05) << "the total is money";
    EXPECT_THAT(impact->getPositionSums(), ElementsAre(DocumentImpact::PositionSum{1, 5.05}));
    EXPECT_THAT(log(), ElementsAre(u"info: Списание бонусных баллов без подтверждения СМС-паролем"_s,
                                   u"info: Списание выполнено"_s));
}

TEST_F(Spending, PrePaymentOfAnythingButAnArrayOfPositionsAllowsNothing)
{
    for (const char* details : {R"("10")", R"({"parameters":{"max_payment_bonus":10}})", "10", "true"}) {
        service.answer(QByteArray(R"({"data":{"receipt_details":)") + details + "}}");
        EXPECT_EQ(client.prePayment(1).first, 0.0) << details;
    }
}

TEST_F(Spending, DiscountsOfAnythingButAnArrayHaveNoShares)
{
    for (const char* shares : {R"("word")", R"({"position":1,"discount_bonus":5})", "15", "true"}) {
        service.answer(QByteArray(R"({"data":{"newRecipientDetails":)") + shares + "}}");
        EXPECT_TRUE(client.forcePayment(5)->getPositionSums().isEmpty()) << shares;
        service.answer(QByteArray(R"({"data":{"newRecipientDetails":)") + shares + "}}");
        EXPECT_TRUE(client.confirmPayment(1, u"1"_s, 5)->getPositionSums().isEmpty()) << shares;
    }
}

TEST_F(Spending, ForcePaymentOfAnAnswerWithoutFieldsIsADiscountWithoutShares)
{
    service.answer("{}");
    const auto impact = client.forcePayment(50);
    EXPECT_EQ(impact->getTotals()->getDiscountSum(), 50.0);
    EXPECT_TRUE(impact->getPositionSums().isEmpty());
}

TEST_F(Spending, PaymentStartsASpendingAndGivesItsApproval)
{
    service.answer(R"({"data":{"approve_id":815}})");
    EXPECT_EQ(client.payment(50), 815);
    EXPECT_THAT(service.calls(), ElementsAre(u"POST http://service/v2/partner/operation/payment-c2b"_s));
    EXPECT_TRUE(test_support::matchesGolden(sentBody(), "payment.json"));
    EXPECT_THAT(log(), ElementsAre(u"info: Списание бонусных баллов с подтверждением СМС-паролем"_s,
                                   u"info: Запрос на списание выполнен"_s));
}

TEST_F(Spending, PaymentWithoutAnApprovalInTheAnswerGivesZero)
{
    service.answer("{}");
    EXPECT_EQ(client.payment(50), 0);
}

TEST_F(Spending, ConfirmationSendsOnlyApprovalAndCode)
{
    service.answer(R"({"data":{"newRecipientDetails":[{"position":1,"discount_bonus":50}]}})");
    const auto impact = client.confirmPayment(815, u" 1234 "_s, 50);
    EXPECT_THAT(service.calls(),
                ElementsAre(u"POST http://service/v2/partner/operation/confirm-payment-c2b"_s));
    EXPECT_EQ(sentBody(), R"({"approve_id":815,"code":" 1234 "})");
    EXPECT_EQ(impact->getTotals()->getDiscountSum(), 50.0);
    EXPECT_THAT(impact->getPositionSums(), ElementsAre(DocumentImpact::PositionSum{1, 50}));
    EXPECT_THAT(log(), ElementsAre(u"info: Подтверждение списания бонусных баллов"_s,
                                   u"info: Подтверждение выполнено"_s));
}

TEST_F(Spending, ConfirmationDiscountsWhatWasAskedForNotWhatTheServiceReports)
{
    client.bonusRatio = 10;
    service.answer(R"({"data":{"amount":7,"newRecipientDetails":[]}})");
    EXPECT_EQ(client.confirmPayment(1, u"1"_s, 50)->getTotals()->getDiscountSum(), 5.0);
}

TEST_F(Spending, AllRequestsOfOneReceiptCarryOneReceiptNumber)
{
    for (int i = 0; i < 3; ++i)
        service.answer("{}");
    (void)client.prePayment(1);
    clock.move(std::chrono::seconds(100));
    (void)client.forcePayment(2);
    (void)client.payment(3);
    for (const auto& request : service.requests())
        EXPECT_TRUE(request.body.contains(R"("receipt_number":"1717243200")"));
}

TEST_F(Spending, FailuresPassOnAfterTheFirstLineAndQueueNothing)
{
    const QList<std::pair<QString, std::function<void()>>> operations{
        {u"info: Запрос информации о ограничениях начислений и списаний"_s,
         [this] { (void)client.prePayment(1); }},
        {u"info: Списание бонусных баллов без подтверждения СМС-паролем"_s,
         [this] { (void)client.forcePayment(1); }},
        {u"info: Списание бонусных баллов с подтверждением СМС-паролем"_s,
         [this] { (void)client.payment(1); }},
        {u"info: Подтверждение списания бонусных баллов"_s,
         [this] { (void)client.confirmPayment(1, u"1"_s, 1); }},
    };
    for (const auto& [line, operation] : operations) {
        clearLog();
        service.answer(R"({"data":[{"message":"Недостаточно бонусов"}]})", 422);
        EXPECT_EQ(failureOf(operation).ru(), u"Недостаточно бонусов"_s);
        EXPECT_THAT(log(), ElementsAre(line));
    }
    EXPECT_TRUE(queue->entries.isEmpty());
}

} // namespace

#include "plugin/kyrloyaltyexception.h"
#include "tests/unit/plugin/loyaltydoubles.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::InSequence;
using testing::Return;
using testing::Throw;

namespace {

using testing::_;

const Event beforeDialog(static_cast<EActivityListener::Event>(73));

class Spending : public LoyaltyWorld
{
protected:
    Spending()
    {
        addPosition(1, 100);
        fillState();
    }

    /// The points that may be spent of those wanted, with that balance and that receipt sum.
    double allowed(double wanted, const QVariant& balance, double sum)
    {
        open(SaleReceipt);
        addPosition(1, sum);
        loyalty.m_pointsForSpend = wanted;
        card->setBonusBalance(balance);
        const double points = loyalty.getPointsForSpend(document);
        EXPECT_TRUE(points == loyalty.m_pointsForSpend || std::isnan(points)) << "the result is stored";
        return points;
    }

    static QSharedPointer<BonusImpact> discountOf(double money)
    {
        auto detail = QSharedPointer<DocumentImpactDetail>::create();
        detail->setDiscountSum(money);
        return QSharedPointer<BonusImpact>::create(detail);
    }
    [[nodiscard]] MockClient::Allowance allowance(double limit = 1000, double earning = 7.5) const
    {
        return {limit, {u"2000000000017"_s, earning, 1200, {}, {}, 0}};
    }
    void cashierEnters(const core::BasicDialog::Result& result)
    {
        EXPECT_CALL(*notifier, notify(beforeDialog));
        EXPECT_CALL(*dialog, inputText(_)).WillOnce([this, result](const TextInputRequest& request) {
            EXPECT_EQ(openDialogs, 1);
            lastRequest = request;
            return result;
        });
    }
    static Event processing()
    {
        Event event(static_cast<EActivityListener::Event>(72));
        event.addArgument(u"message"_s,
                          tr::Tr(u"processLoyaltyMessage"_s, u"Обращение к системе лояльности"_s));
        return event;
    }

    TextInputRequest lastRequest{{}, {}};
    const QString created =
        u"info: Создание оплаты бонусами в виде скидки на сумму 40, по карте 2000000000017"_s;
    const QSharedPointer<BonusImpact> discount = discountOf(4);
};

TEST_F(Spending, IsLimitedByTheReceiptsSum) { EXPECT_EQ(allowed(500, 300.0, 120.5), 120.5); }

TEST_F(Spending, IsLimitedByTheBalance) { EXPECT_EQ(allowed(500, 30.0, 120.5), 30.0); }

TEST_F(Spending, IsLimitedByWhatIsWanted) { EXPECT_EQ(allowed(20, 30.0, 120.5), 20.0); }

TEST_F(Spending, OfNoPointsIsNoneWhateverTheBalance) { EXPECT_EQ(allowed(0, 300.0, 120.5), 0.0); }

TEST_F(Spending, TakesAnUnknownBalanceForZero) { EXPECT_EQ(allowed(20, {}, 120.5), 0.0); }

TEST_F(Spending, PutsPointsOnTheGridOfMoneyAndTheSumIntoPoints)
{
    client->bonusRatio = 10;
    EXPECT_EQ(allowed(25.68, 300.0, 120.5), 25.6) << "2.568 of money is 2.56";
    EXPECT_DOUBLE_EQ(allowed(500, 44.44, 120.5), 44.4);
    EXPECT_EQ(allowed(5000, 5000.0, 120.5), 1205.0);
}

TEST_F(Spending, GivesWayToTheLaterOperandWhenOneIsNotANumber)
{
    EXPECT_EQ(allowed(std::numeric_limits<double>::quiet_NaN(), 30.0, 120.5), 30.0);
    EXPECT_EQ(allowed(20, std::numeric_limits<double>::quiet_NaN(), 120.5), 120.5);
}

TEST_F(Spending, GivesWayToTheLaterOperandWhenBothAreEqual)
{
    EXPECT_TRUE(std::signbit(allowed(0.0, -0.0, 120.5)));
    EXPECT_FALSE(std::signbit(allowed(-0.0, 0.0, 120.5)));
}

TEST_F(Spending, LogsTheStateWhenTheLimitIsAskedForAndSendsNothing)
{
    clearLog();
    (void)allowed(20, 30.0, 120.5);
    EXPECT_THAT(log(),
                ElementsAre(u"debug: Баллы к списанию: 20.00, скидок баллами: 1, записей о начислении: 1"_s));
}

TEST_F(Spending, LimitOfADocumentWithoutACardFailsWithAClearText)
{
    loyalty.setDocument(QSharedPointer<Document>::create(SaleReceipt, u"R-2"_s));
    EXPECT_THROW((void)loyalty.getPointsForSpend(document), KyrLoyaltyException);
}

TEST_F(Spending, WithoutACodeTakesTwoRequestsNoEventAndNoDialog)
{
    const InSequence order;
    EXPECT_CALL(*client, prePayment(40.0)).WillOnce(Return(allowance()));
    EXPECT_CALL(*client, forcePayment(40.0)).WillOnce(Return(discount));
    expectSave();
    EXPECT_TRUE(loyalty.spendPoints());
    EXPECT_THAT(log(), ElementsAre(created));
    EXPECT_EQ(loyalty.getLastErrorString(), before);
}

TEST_F(Spending, PutsTheDiscountAtTheEndAndTurnsPointsIntoMoney)
{
    EXPECT_CALL(*client, prePayment(_)).WillOnce(Return(allowance()));
    EXPECT_CALL(*client, forcePayment(_)).WillOnce(Return(discount));
    expectSave();
    loyalty.spendPoints();
    EXPECT_EQ(loyalty.m_bonusImpacts, (QList<QSharedPointer<BonusImpact>>{earlier, discount}));
    EXPECT_EQ(loyalty.m_pointsForSpend, 4.0);
    EXPECT_EQ(card->getPointsForSpend(), 4.0);
    EXPECT_EQ(saved.pointsForSpend, QVariant(4.0));
    EXPECT_EQ(saved.impacts, 2);
    EXPECT_EQ(saved.cardPointsForSpend, 1.0) << "the card has them when the document is saved, not before";
}

TEST_F(Spending, ReplacesTheEarningByWhatTheReducedReceiptEarns)
{
    EXPECT_CALL(*client, prePayment(_)).WillOnce(Return(allowance(1000, 7.5)));
    EXPECT_CALL(*client, forcePayment(_)).WillOnce(Return(discount));
    expectSave();
    loyalty.spendPoints();
    ASSERT_EQ(loyalty.m_bonusRecords.size(), 1);
    EXPECT_EQ(loyalty.m_bonusRecords[0].amount, 7.5);
    EXPECT_EQ(loyalty.m_bonusRecords[0].position, 1);
    EXPECT_EQ(card->getPointsForEarn(), QVariant(7.5));
    EXPECT_EQ(saved.cardPointsForEarn, QVariant(7.5));
}

TEST_F(Spending, IsNotReducedByALowerLimitOfThePrePayment)
{
    EXPECT_CALL(*client, prePayment(40.0)).WillOnce(Return(allowance(5)));
    EXPECT_CALL(*client, forcePayment(40.0)).WillOnce(Return(discount));
    expectSave();
    EXPECT_TRUE(loyalty.spendPoints());
}

TEST_F(Spending, LogsTheAmountCutToAWholeNumber)
{
    loyalty.m_pointsForSpend = 99.9;
    EXPECT_CALL(*client, prePayment(99.9)).WillOnce(Throw(KyrLoyaltyException(failed)));
    loyalty.spendPoints();
    EXPECT_EQ(log().first(),
              u"info: Создание оплаты бонусами в виде скидки на сумму 99, по карте 2000000000017"_s);
}

TEST_F(Spending, LogsAnAmountThatNoIntegerHoldsAsItIs)
{
    const QList<std::pair<double, QString>> cases{
        {-0.5, u"0"_s},
        {-99.9, u"-99"_s},
        {4611686018427387904.0, u"4611686018427387904"_s},
        {1e20, u"100000000000000000000"_s},
        {std::numeric_limits<double>::infinity(), u"inf"_s},
        {-std::numeric_limits<double>::infinity(), u"-inf"_s},
        {std::numeric_limits<double>::quiet_NaN(), u"nan"_s},
    };
    for (const auto& [points, text] : cases) {
        clearLog();
        loyalty.m_pointsForSpend = points;
        EXPECT_CALL(*client, prePayment(_)).WillOnce(Throw(KyrLoyaltyException(failed)));
        loyalty.spendPoints();
        EXPECT_EQ(
            log().first(),
            u"info: Создание оплаты бонусами в виде скидки на сумму %1, по карте 2000000000017"_s.arg(text));
    }
}

TEST_F(Spending, WithACodeAsksTheCashierBetweenPaymentAndConfirmation)
{
    loyalty.smsVerification = true;
    loyalty.m_pointsForSpend = 40.55;
    const InSequence order;
    EXPECT_CALL(*client, prePayment(40.55)).WillOnce(Return(allowance()));
    EXPECT_CALL(*client, payment(40.55)).WillOnce(Return(815));
    cashierEnters(core::BasicDialog::Result::entered(u"1234"_s));
    EXPECT_CALL(*notifier, notify(processing())).WillOnce([this] {
        EXPECT_EQ(openDialogs, 0) << "the host shows its message where the dialog was";
    });
    EXPECT_CALL(*client, confirmPayment(815, u"1234"_s, 40.55)).WillOnce(Return(discount));
    expectSave();
    EXPECT_TRUE(loyalty.spendPoints());
    EXPECT_EQ(loyalty.m_bonusImpacts.last(), discount);
    EXPECT_EQ(loyalty.m_pointsForSpend, 4.0);
    EXPECT_EQ(card->getPointsForSpend(), 4.0);
    EXPECT_THAT(log(), ElementsAre(created));
}

TEST_F(Spending, AsksForTheCodeWithTheHostsTextsAndForm)
{
    loyalty.smsVerification = true;
    EXPECT_CALL(*client, prePayment(_)).WillOnce(Return(allowance()));
    EXPECT_CALL(*client, payment(_)).WillOnce(Return(1));
    cashierEnters(core::BasicDialog::Result::cancelled());
    loyalty.spendPoints();
    EXPECT_EQ(lastRequest.title, tr::Tr(u"kyrSpendTitle"_s, u"Подтверждение списания"_s));
    EXPECT_EQ(lastRequest.message, tr::Tr(u"kyrSpendMessage"_s, u"Введите код подтверждения"_s));
    const TextInputRequest defaults({}, {});
    EXPECT_EQ(lastRequest.scanErrorText, defaults.scanErrorText);
    EXPECT_EQ(lastRequest.okCaption, defaults.okCaption);
    EXPECT_EQ(lastRequest.cancelCaption, defaults.cancelCaption);
    EXPECT_EQ(lastRequest.inputKind, 5);
    EXPECT_TRUE(defaults.emptyAllowed);
    EXPECT_FALSE(lastRequest.emptyAllowed);
    EXPECT_EQ(lastRequest.keyboardAllowed, defaults.keyboardAllowed);
    EXPECT_EQ(lastRequest.scannerAllowed, defaults.scannerAllowed);
    EXPECT_EQ(lastRequest.cancelAllowed, defaults.cancelAllowed);
    EXPECT_EQ(lastRequest.hidden, defaults.hidden);
    EXPECT_EQ(lastRequest.trimmed, defaults.trimmed);
    EXPECT_EQ(lastRequest.multiline, defaults.multiline);
    EXPECT_EQ(lastRequest.uppercased, defaults.uppercased);
    EXPECT_EQ(lastRequest.formName, u"inputKyrConfirmCode"_s);
}

TEST_F(Spending, SendsACodeWithItsBlanks)
{
    loyalty.smsVerification = true;
    EXPECT_CALL(*client, prePayment(_)).WillOnce(Return(allowance()));
    EXPECT_CALL(*client, payment(_)).WillOnce(Return(1));
    cashierEnters(core::BasicDialog::Result::entered(u" 12 34 "_s));
    EXPECT_CALL(*notifier, notify(processing()));
    EXPECT_CALL(*client, confirmPayment(1, u" 12 34 "_s, _)).WillOnce(Return(discount));
    expectSave();
    EXPECT_TRUE(loyalty.spendPoints());
}

TEST_F(Spending, GoesOnToTheCodeWithoutAnApprovalId)
{
    loyalty.smsVerification = true;
    EXPECT_CALL(*client, prePayment(_)).WillOnce(Return(allowance()));
    EXPECT_CALL(*client, payment(_)).WillOnce(Return(0));
    cashierEnters(core::BasicDialog::Result::entered(u"1"_s));
    EXPECT_CALL(*notifier, notify(processing()));
    EXPECT_CALL(*client, confirmPayment(0, _, _)).WillOnce(Return(discount));
    expectSave();
    EXPECT_TRUE(loyalty.spendPoints());
}

TEST_F(Spending, CancelledByTheCashierChangesNothing)
{
    loyalty.smsVerification = true;
    EXPECT_CALL(*client, prePayment(_)).WillOnce(Return(allowance()));
    EXPECT_CALL(*client, payment(_)).WillOnce(Return(1));
    cashierEnters(core::BasicDialog::Result::cancelled());
    EXPECT_FALSE(loyalty.spendPoints());
    EXPECT_EQ(loyalty.getLastErrorString(),
              tr::Tr(u"kyrSpendCancelInput"_s, u"Пользователь отменил ввод кода"_s));
    EXPECT_THAT(log(), ElementsAre(created, u"error: Пользователь отменил ввод кода"_s));
    expectStateUntouched();
}

TEST_F(Spending, ThatFailsAtThePrePaymentChangesNothing)
{
    EXPECT_CALL(*client, prePayment(_)).WillOnce(Throw(KyrLoyaltyException(failed)));
    EXPECT_FALSE(loyalty.spendPoints());
    EXPECT_EQ(loyalty.getLastErrorString(), failed);
    EXPECT_THAT(log(), ElementsAre(created, u"error: Ошибка обращения к серверу"_s));
    expectStateUntouched();
}

TEST_F(Spending, ThatFailsAtTheForcedPaymentChangesNothing)
{
    EXPECT_CALL(*client, prePayment(_)).WillOnce(Return(allowance()));
    EXPECT_CALL(*client, forcePayment(_)).WillOnce(Throw(KyrLoyaltyException(failed)));
    EXPECT_FALSE(loyalty.spendPoints());
    EXPECT_EQ(loyalty.getLastErrorString(), failed);
    expectStateUntouched();
}

TEST_F(Spending, ThatFailsAtThePaymentAsksNobodyAndChangesNothing)
{
    loyalty.smsVerification = true;
    EXPECT_CALL(*client, prePayment(_)).WillOnce(Return(allowance()));
    EXPECT_CALL(*client, payment(_)).WillOnce(Throw(KyrLoyaltyException(failed)));
    EXPECT_FALSE(loyalty.spendPoints());
    EXPECT_EQ(loyalty.getLastErrorString(), failed);
    expectStateUntouched();
}

TEST_F(Spending, WhoseCodeIsRefusedChangesNothingAndAsksNoSecondTime)
{
    loyalty.smsVerification = true;
    EXPECT_CALL(*client, prePayment(_)).WillOnce(Return(allowance()));
    EXPECT_CALL(*client, payment(_)).WillOnce(Return(1));
    cashierEnters(core::BasicDialog::Result::entered(u"0000"_s));
    EXPECT_CALL(*notifier, notify(processing()));
    EXPECT_CALL(*client, confirmPayment(_, _, _)).WillOnce(Throw(KyrLoyaltyException(u"Неверный код"_s)));
    EXPECT_FALSE(loyalty.spendPoints());
    EXPECT_EQ(loyalty.getLastErrorString().ru(), u"Неверный код"_s);
    EXPECT_THAT(log(), ElementsAre(created, u"error: Неверный код"_s));
    expectStateUntouched();
}

TEST_F(Spending, NeverLogsTheCode)
{
    loyalty.smsVerification = true;
    EXPECT_CALL(*client, prePayment(_)).WillOnce(Return(allowance()));
    EXPECT_CALL(*client, payment(_)).WillOnce(Return(1));
    cashierEnters(core::BasicDialog::Result::entered(u"9731"_s));
    EXPECT_CALL(*notifier, notify(processing()));
    EXPECT_CALL(*client, confirmPayment(_, _, _)).WillOnce(Return(discount));
    expectSave();
    loyalty.spendPoints();
    EXPECT_FALSE(log().join(u'\n').contains(u"9731"_s));
}

TEST_F(Spending, StartsAnewWithItsOwnApprovalOnEachCall)
{
    loyalty.smsVerification = true;
    for (const int approval : {1, 2}) {
        loyalty.m_pointsForSpend = 40;
        EXPECT_CALL(*client, prePayment(40.0)).WillOnce(Return(allowance()));
        EXPECT_CALL(*client, payment(40.0)).WillOnce(Return(approval));
        cashierEnters(core::BasicDialog::Result::entered(u"1"_s));
        EXPECT_CALL(*notifier, notify(processing()));
        EXPECT_CALL(*client, confirmPayment(approval, _, 40.0)).WillOnce(Return(discountOf(4)));
        expectSave();
        EXPECT_TRUE(loyalty.spendPoints());
    }
    EXPECT_EQ(loyalty.m_bonusImpacts.size(), 3);
}

TEST_F(Spending, LetsOtherExceptionsPass)
{
    EXPECT_CALL(*client, prePayment(_)).WillOnce(Throw(std::logic_error("other")));
    EXPECT_THROW(loyalty.spendPoints(), std::logic_error);
    EXPECT_EQ(loyalty.getLastErrorString(), before);
}

TEST_F(Spending, OnADocumentWithoutACardFailsWithAClearTextBeforeAnyRequest)
{
    loyalty.setDocument(QSharedPointer<Document>::create(SaleReceipt, u"R-2"_s));
    EXPECT_THROW(loyalty.spendPoints(), KyrLoyaltyException);
    loyalty.setDocument({});
    EXPECT_THROW(loyalty.spendPoints(), KyrLoyaltyException);
}

} // namespace

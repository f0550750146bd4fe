#include "tests/support/logcapture.h"
#include "tests/support/stillclock.h"
#include "tests/unit/till/loyaltydouble.h"
#include "till/checkout/receiptmarks.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace tilltest {

class CheckoutSpending : public CheckoutScene
{
protected:
    void loseASpending(double points = 50)
    {
        loseTheNextAnswer();
        EXPECT_FALSE(checkout->spend(points).ok);
        ASSERT_EQ(checkout->state(), State::SpendingUnknown);
    }
    const std::string doubt =
        "Чек R: исход списания 50,00 баллов неизвестен, повторите списание той же суммы "
        "или отмените чек";
};

TEST_F(CheckoutSpending, BecomesADiscountOfThePositionsThatTheServiceNames)
{
    openOnCard();
    loyalty.impacts = {LoyaltyDouble::impactOn({{1, 20}, {2, 30}})};
    answer();
    const till::Spending spending = checkout->spend(50);
    expectDone(spending);
    EXPECT_EQ(spending.points, 50);
    EXPECT_EQ(checkout->state(), State::Discounted);
    EXPECT_TRUE(checkout->hasSpentPoints());
    EXPECT_EQ(checkout->receipt()->getGoodsItemByPosnum(1)->getBonusImpactSum(), 20);
    EXPECT_EQ(checkout->receipt()->getGoodsItemByPosnum(2)->getBonusImpactSum(), 30);
    EXPECT_EQ(checkout->receipt()->getSum(), 450);
    ASSERT_TRUE(kept());
    EXPECT_EQ(kept()->getSum(), 450);
    EXPECT_EQ(till::appliedImpacts(*kept()), 1);
    EXPECT_EQ(till::unknownSpendingOf(*kept()), std::nullopt);
    EXPECT_THAT(eventsOf(), ElementsAre(u"opened"_s, u"request"_s, u"answer"_s));
}

TEST_F(CheckoutSpending, OfNothingIsOneAllTheSame)
{
    openOnCard();
    loyalty.impacts = {LoyaltyDouble::impactOn({{1, 0}})};
    answer();
    expectDone(checkout->spend(0));
    EXPECT_EQ(checkout->state(), State::Discounted) << "the service has its number";
}

TEST_F(CheckoutSpending, OfASaleIsNoneOfItsReturn)
{
    openOnCard();
    spendWithADiscount();
    answer();
    expectDone(checkout->pay());
    expectDone(checkout->openReturn(u"B"_s, u"R"_s, {{.posnum = 1, .quantity = 1}}));
    EXPECT_FALSE(checkout->hasSpentPoints());
}

TEST_F(CheckoutSpending, BindsTheReceiptToItsCard)
{
    openOnCard();
    spendWithADiscount();
    const QString refusal = u"В чеке уже списаны баллы: карту не сменить. Отмените чек"_s;
    EXPECT_EQ(checkout->identifyByCard(u"2000000000024"_s).error, refusal);
    EXPECT_EQ(checkout->identifyByPhone(u"+79990000000"_s).error, refusal);
}

TEST_F(CheckoutSpending, IsWorthWhatTheConfiguredRatioSays)
{
    set("bonusRatio", u"10:1"_s);
    openOnCard();
    loyalty.impacts = {LoyaltyDouble::impactOn({{1, 5}})};
    answer();
    expectDone(checkout->spend(50));
    EXPECT_EQ(checkout->receipt()->getSum(), 495);
}

TEST_F(CheckoutSpending, NeedsACard)
{
    open();
    EXPECT_EQ(checkout->spend(50).error, u"В чеке нет карты: сначала найдите её по номеру или телефону"_s);
    EXPECT_THAT(loyalty.asked, IsEmpty());
}

TEST_F(CheckoutSpending, AsksForNoMoreThanTheCardAllows)
{
    openOnCard();
    loyalty.limit = 30;
    loyalty.impacts = {LoyaltyDouble::impactOn({{1, 30}})};
    answer();
    EXPECT_EQ(checkout->spend(50).points, 30);
    EXPECT_THAT(loyalty.asked, ElementsAre(30));
}

TEST_F(CheckoutSpending, ThatIsRefusedLeavesNoDoubtBehindAlsoOnTheDisk)
{
    openOnCard();
    answer(400);
    EXPECT_EQ(checkout->spend(50).error, u"Ошибка 400"_s);
    EXPECT_EQ(checkout->state(), State::Sale);
    EXPECT_EQ(till::unknownSpendingOf(*kept()), std::nullopt) << "else a restart would find it";
    EXPECT_THAT(eventsOf(), ElementsAre(u"opened"_s, u"request"_s, u"answer"_s));
}

TEST_F(CheckoutSpending, WhoseAnswerIsLostIsUnknownAndKeptAsItWasAskedFor)
{
    test_support::StillClock clock;
    openOnCard();
    loyalty.limit = 30;
    loseTheNextAnswer();
    const till::Spending spending = checkout->spend(50);
    EXPECT_EQ(spending.error.toStdString(),
              "Ошибка 1\nЧек R: исход списания 30,00 баллов неизвестен, повторите списание той же суммы или "
              "отмените чек");
    EXPECT_EQ(checkout->state(), State::SpendingUnknown);
    const auto mark = till::unknownSpendingOf(*kept());
    ASSERT_TRUE(mark);
    EXPECT_EQ(mark->points, 30);
    EXPECT_EQ(mark->wanted, 50);
    EXPECT_EQ(mark->since.toUTC(), clock.now());
    EXPECT_THAT(eventsOf(), ElementsAre(u"opened"_s, u"request"_s, u"answer"_s, u"unknown"_s));
}

TEST_F(CheckoutSpending, ThatIsUnknownIsRepeatedForTheSamePointsOnlyHoweverTheyAreNamed)
{
    openOnCard();
    loyalty.limit = 30;
    loyalty.impacts = {LoyaltyDouble::impactOn({{1, 30}})};
    for (const double named : {30.0, 50.0}) {
        loseTheNextAnswer();
        EXPECT_FALSE(checkout->spend(50).ok);
        loyalty.limit = 10; // the balance is less by now
        EXPECT_THAT(checkout->spend(40).error.toStdString(), HasSubstr("исход списания 30,00 баллов"));
        loseTheNextAnswer();
        EXPECT_FALSE(checkout->spend(named).ok);
        EXPECT_THAT(loyalty.asked, ElementsAre(30, 30));
        EXPECT_EQ(till::unknownSpendingOf(*kept())->wanted, 50) << "the first words hold";
        answer();
        const till::Spending again = checkout->spend(named);
        expectDone(again);
        EXPECT_EQ(again.points, 30);
        EXPECT_EQ(checkout->state(), State::Discounted);
        expectDone(checkout->rollBack());
        loyalty.asked.clear();
        loyalty.limit = 30;
        openOnCard();
    }
}

TEST_F(CheckoutSpending, ThatIsUnknownIsSettledWhenTheServiceRejectsTheRepeat)
{
    openOnCard();
    loseASpending();
    answer(403);
    EXPECT_EQ(checkout->spend(50).error.toStdString(), "Ошибка 403\n" + doubt) << "which says nothing";
    answer(409);
    EXPECT_EQ(checkout->spend(50).error, u"Ошибка 409"_s);
    EXPECT_EQ(checkout->state(), State::Sale);
    EXPECT_EQ(till::unknownSpendingOf(*kept()), std::nullopt);
}

TEST_F(CheckoutSpending, ThatIsUnknownStaysSoWhenTheRepeatedCodeIsRejected)
{
    openOnCard();
    loyalty.spendingPath = u"confirm-payment-c2b"_s;
    loseASpending();
    answer(400);
    EXPECT_FALSE(checkout->spend(50).ok);
    EXPECT_EQ(checkout->state(), State::SpendingUnknown);
}

TEST_F(CheckoutSpending, WithoutAWordOfItsPositionsIsUnknownAndToldToTheAdministrator)
{
    const test_support::LogCapture log(u"till"_s);
    openOnCard();
    loyalty.limit = 30;
    answer();
    EXPECT_FALSE(checkout->spend(50).ok);
    EXPECT_EQ(checkout->state(), State::SpendingUnknown);
    EXPECT_THAT(loyalty.told, testing::Contains(u"cancel"_s)) << "else the next one would be a second";
    EXPECT_THAT(log.lines(),
                ElementsAre(u"error: Receipt R: the service says that points were spent, but not on which "
                            "positions: no discount"_s));
    const auto mark = till::unknownSpendingOf(*kept());
    ASSERT_TRUE(mark);
    EXPECT_EQ(mark->points, 30);
    EXPECT_EQ(mark->wanted, 50) << "what the cashier wanted, so that they may want it again";
    EXPECT_THAT(eventsOf(), ElementsAre(u"opened"_s, u"request"_s, u"answer"_s, u"unknown"_s));
    EXPECT_EQ(checkout->receipt()->getSum(), 500);
}

TEST_F(CheckoutSpending, WithTwoDiscountsWithNoneOrWithAnotherSumIsUnknown)
{
    const auto good = LoyaltyDouble::impactOn({{1, 50}});
    const QList<QList<QSharedPointer<BonusImpact>>> bad{
        {good, good}, {nullptr}, {LoyaltyDouble::impactOn({{1, 40}})}, {LoyaltyDouble::impactOn({{3, 50}})}};
    for (const auto& impacts : bad) {
        openOnCard();
        loyalty.impacts = impacts;
        answer();
        EXPECT_FALSE(checkout->spend(50).ok);
        EXPECT_EQ(checkout->state(), State::SpendingUnknown);
        EXPECT_EQ(kept()->getSum(), 500);
        expectDone(checkout->rollBack());
    }
}

TEST_F(CheckoutSpending, OfASystemWhoseRequestsNobodySeesIsMarkedAsUnknownAllTheSame)
{
    test_support::StillClock clock;
    openOnCard();
    loyalty.limit = 30;
    loyalty.spendingPath = u"elsewhere"_s;
    answer();
    EXPECT_FALSE(checkout->spend(50).ok);
    const auto mark = till::unknownSpendingOf(*kept());
    ASSERT_TRUE(mark);
    EXPECT_EQ(mark->points, 30);
    EXPECT_EQ(mark->wanted, 30);
    EXPECT_EQ(mark->since.toUTC(), clock.now());
}

TEST_F(CheckoutSpending, IsNotProvenUndoneByTheRefusalOfAnEarlierOne)
{
    openOnCard();
    answer(400);
    EXPECT_FALSE(checkout->spend(50).ok);
    loyalty.spendingPath = u"elsewhere"_s;
    answer();
    EXPECT_FALSE(checkout->spend(50).ok);
    answer(400); // of which nobody knows what it says
    EXPECT_EQ(checkout->spend(50).error.toStdString(), "Ошибка 400\n" + doubt);
    EXPECT_TRUE(till::unknownSpendingOf(*kept()));
}

TEST_F(CheckoutSpending, ThatFailsBeforeTheServiceWasAskedForPointsLeavesNoDoubt)
{
    openOnCard();
    loyalty.spendingPath = u"elsewhere"_s;
    answer(400);
    EXPECT_EQ(checkout->spend(50).error.toStdString(), "Ошибка 400");
    EXPECT_EQ(checkout->state(), State::Sale);
    EXPECT_FALSE(eventsOf().contains(u"unknown"_s));
}

TEST_F(CheckoutSpending, ThatCannotBeKeptIsUnknownAndTheStoreIsToldOf)
{
    const test_support::LogCapture log(u"till"_s);
    openOnCard();
    loyalty.told.clear();
    answer();
    loyalty.impacts = {LoyaltyDouble::impactOn({{1, 50}})};
    const till::Spending spending = interrupted([this] { return checkout->spend(50); });
    EXPECT_THAT(spending.error.toStdString(), HasSubstr("удалены или подменены"));
    EXPECT_THAT(log.lines(),
                testing::Contains(testing::Property(
                    &QString::toStdString,
                    testing::ContainsRegex("error: The receipt cannot be read back: .*удалены"))));
    EXPECT_THAT(loyalty.told, IsEmpty()) << "there is nothing to restore from";
    EXPECT_FALSE(checkout->requestLimit().ok) << "nothing begins before the receipt is read back";
    EXPECT_THAT(loyalty.told, IsEmpty());
    bringBack();
    EXPECT_EQ(checkout->pay().error.toStdString(), doubt);
    EXPECT_THAT(loyalty.told, ElementsAre(u"restore"_s)) << "once";
    EXPECT_EQ(checkout->receipt()->getSum(), 500);
    loyalty.told.clear();
    EXPECT_EQ(checkout->pay().error.toStdString(), doubt);
    EXPECT_THAT(loyalty.told, IsEmpty()) << "and not again";
}

TEST_F(CheckoutSpending, WhoseReceiptIsGoneWhenItIsReadBackLeavesNothingToRestore)
{
    openOnCard();
    answer();
    EXPECT_FALSE(interrupted([this] { return checkout->spend(50); }).ok);
    bringBack();
    SaveToFileLogic::removeOpenReceipt();
    loyalty.told.clear();
    EXPECT_EQ(checkout->pay().error, u"Чек не открыт: сначала откройте его"_s);
    EXPECT_THAT(loyalty.told, IsEmpty());
}

TEST_F(CheckoutSpending, IsNotAskedForAgainWhenTheLoyaltySystemHasItsAnswerStill)
{
    openOnCard();
    answer();
    loyalty.impacts = {LoyaltyDouble::impactOn({{1, 50}})};
    loyalty.restored = loyalty.impacts;
    EXPECT_FALSE(interrupted([this] { return checkout->spend(50); }).ok);
    bringBack();
    expectDone(checkout->spend(50));
    EXPECT_THAT(loyalty.asked, ElementsAre(50));
    EXPECT_EQ(checkout->receipt()->getSum(), 450);
}

TEST_F(CheckoutSpending, IsForgottenByTheLoyaltySystemButNotByTheReceipt)
{
    openOnCard();
    spendWithADiscount();
    expectDone(checkout->forgetPoints());
    EXPECT_THAT(loyalty.told, testing::Contains(u"cancel"_s));
    EXPECT_EQ(checkout->state(), State::Discounted) << "the service has not forgotten it";
    EXPECT_EQ(till::appliedImpacts(*kept()), 0);
    EXPECT_EQ(kept()->getSum(), 450);
    loyalty.refusal = tr::Tr::untranslated(u"нет"_s);
    EXPECT_EQ(checkout->forgetPoints().error, u"нет"_s);
}

TEST_F(CheckoutSpending, MayBeForgottenWithoutAReceipt)
{
    expectDone(checkout->forgetPoints());
    EXPECT_THAT(loyalty.told, ElementsAre(u"cancel"_s));
}

} // namespace tilltest

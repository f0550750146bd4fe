#include "tests/unit/till/loyaltydouble.h"
#include "till/checkout/receiptmarks.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace tilltest {

class CheckoutRecovery : public CheckoutScene
{
protected:
    std::string recovered()
    {
        start();
        loyalty.told.clear();
        return checkout->recover().ru().toStdString();
    }
    static void markKept(State state)
    {
        const auto receipt = kept();
        till::setMarkedState(*receipt, state);
        SaveToFileLogic().save(receipt, {});
    }
};

TEST_F(CheckoutRecovery, FindsNothingWhereNothingWasOpen)
{
    EXPECT_EQ(recovered(), "");
    EXPECT_EQ(checkout->state(), State::Idle);
    EXPECT_THAT(loyalty.told, IsEmpty());
}

TEST_F(CheckoutRecovery, GoesOnWithTheReceiptThatWasOpen)
{
    openOnCard();
    EXPECT_EQ(recovered(), "Найден открытый чек R");
    EXPECT_EQ(checkout->state(), State::Sale);
    EXPECT_EQ(checkout->receipt()->getSum(), 500);
    EXPECT_EQ(loyalty.document(), checkout->receipt());
    EXPECT_THAT(loyalty.told, ElementsAre(u"restore"_s));
    EXPECT_THAT(turnover.closed, IsEmpty());
    EXPECT_THAT(eventsOf(), ElementsAre(u"opened"_s, u"recovered"_s));
    answer();
    expectDone(checkout->pay());
}

TEST_F(CheckoutRecovery, HasTheLoyaltySystemRestoreTheReceiptThatItWatches)
{
    openOnCard();
    bool hadDocument = false;
    loyalty.whileRestoring = [&] { hadDocument = loyalty.document() != nullptr; };
    EXPECT_EQ(recovered(), "Найден открытый чек R");
    EXPECT_TRUE(hadDocument);
}

TEST_F(CheckoutRecovery, ClosesWhatWasStoredAlready)
{
    open();
    const auto receipt = kept();
    expectDone(checkout->pay());
    SaveToFileLogic().save(receipt, {});
    turnover = {};
    EXPECT_EQ(recovered(), "Чек R был оплачен: закрытие завершено");
    EXPECT_EQ(checkout->state(), State::Idle);
    EXPECT_EQ(kept(), nullptr);
    EXPECT_THAT(turnover.closed, ElementsAre(u"R"_s));
    EXPECT_THAT(loyalty.told, IsEmpty()) << "its transaction is over";
}

TEST_F(CheckoutRecovery, FinishesTheRollbackOfAReceiptThatWasBeingAbandoned)
{
    openOnCard();
    markKept(State::Abandoned);
    EXPECT_EQ(recovered(), "Чек R отменялся: отмена завершена");
    EXPECT_EQ(checkout->state(), State::Idle);
    EXPECT_EQ(kept(), nullptr);
    EXPECT_THAT(loyalty.told, ElementsAre(u"restore"_s, u"cancel"_s));
}

TEST_F(CheckoutRecovery, LeavesARollbackThatFailsToTheCashier)
{
    openOnCard();
    markKept(State::Abandoned);
    loyalty.refusal = tr::Tr::untranslated(u"нет"_s);
    EXPECT_EQ(recovered(), "Чек R отменялся: завершите отмену");
    EXPECT_EQ(checkout->state(), State::Abandoned);
    EXPECT_TRUE(kept());
}

TEST_F(CheckoutRecovery, WaitsASecondAtMostForARollbackSinceACashierWaitsForTheStart)
{
    openOnCard();
    checkout->card()->setOperationId(u"7"_s);
    SaveToFileLogic().save(checkout->receipt(), {});
    markKept(State::Abandoned);
    HttpAnswer late = HttpAnswer::status(200, "{}");
    late.delay = std::chrono::milliseconds(1300);
    loyalty.service.enqueue(late);
    EXPECT_EQ(recovered(), "Чек R отменялся: завершите отмену");
    EXPECT_THAT(loyalty.told, ElementsAre(u"restore"_s, u"roll back"_s));
    late.delay = {};
    loyalty.service.enqueue(late);
    expectDone(checkout->rollBack());
}

TEST_F(CheckoutRecovery, NamesTheReceiptThatCanOnlyBePaid)
{
    openOnCard();
    for (const State state : {State::Paying, State::Settled}) {
        markKept(state);
        EXPECT_EQ(recovered(), "Найден открытый чек R: он уже оплачивается, завершите оплату");
        EXPECT_EQ(checkout->state(), state);
    }
}

TEST_F(CheckoutRecovery, TellsOfASpendingWhoseOutcomeIsNotKnown)
{
    openOnCard();
    loseTheNextAnswer();
    EXPECT_FALSE(checkout->spend(50).ok);
    EXPECT_EQ(recovered(), "Найден открытый чек R. Чек R: исход списания 50,00 баллов неизвестен, повторите "
                           "списание той же суммы или отмените чек");
    EXPECT_EQ(checkout->state(), State::SpendingUnknown);
}

TEST_F(CheckoutRecovery, MakesADiscountOfTheSpendingWhoseAnswerHadJustCome)
{
    set("bonusRatio", u"10:1"_s);
    openOnCard();
    loseTheNextAnswer();
    EXPECT_FALSE(checkout->spend(50).ok);
    loyalty.restored = {LoyaltyDouble::impactOn({{1, 5}})};
    loyalty.restoredPoints = 0.3; // which says nothing beside the mark
    EXPECT_EQ(recovered(), "Найден открытый чек R");
    EXPECT_EQ(checkout->state(), State::Discounted);
    EXPECT_EQ(checkout->receipt()->getSum(), 495);
    EXPECT_EQ(kept()->getSum(), 495);
    EXPECT_EQ(recovered(), "Найден открытый чек R");
    EXPECT_EQ(checkout->receipt()->getSum(), 495) << "it is not taken off twice";
    EXPECT_EQ(checkout->state(), State::Discounted);
}

TEST_F(CheckoutRecovery, TellsWhatWasAskedForFromTheDiscountWhereTheReceiptDoesNotSay)
{
    set("bonusRatio", u"10:1"_s);
    openOnCard();
    loyalty.restored = {LoyaltyDouble::impactOn({{1, 5}})};
    loyalty.restoredPoints = 5; // money, after a spending
    EXPECT_EQ(recovered(), "Найден открытый чек R");
    EXPECT_EQ(checkout->receipt()->getSum(), 495);
    EXPECT_EQ(checkout->state(), State::Discounted);
}

} // namespace tilltest

#include "host/core/activitynotifier.h"
#include "host/queue/messagequeue.h"
#include "tests/support/meanwhile.h"
#include "tests/unit/till/loyaltydouble.h"
#include "till/checkout/receiptmarks.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace tilltest {

namespace {

QSharedPointer<AbstractDocument> storedReceipt(const QString& identifier)
{
    return DocumentsDao().loadDocument(identifier, false);
}

/// Notes which receipts were said to be closed, and whether they were stored by then.
class ClosedListener : public BaseActivityListener
{
public:
    ClosedListener() { Singleton<ActivityNotifier>::instance->subscribe(this); }
    void handleEvent(const Event& event) override
    {
        if (event.getCode() != EActivityListener::ReceiptClosed)
            return;
        closed.append(Singleton<Session>::instance->getDocument()->getIdentifier());
        wasStored = storedReceipt(closed.last()) != nullptr;
    }
    QStringList closed;
    bool wasStored = false;
};

} // namespace

class CheckoutClosing : public CheckoutScene
{
protected:
    till::Payment payOnCard(const QString& identifier = u"R"_s)
    {
        openOnCard(identifier);
        answer();
        till::Payment payment = checkout->pay();
        expectDone(payment);
        return payment;
    }
};

TEST_F(CheckoutClosing, OfASaleWithoutACardIsNoBusinessOfTheLoyaltySystem)
{
    Singleton<ActivityNotifier>::instance = new ActivityNotifier;
    const ClosedListener listener;
    open();
    const till::Payment payment = checkout->pay();
    expectDone(payment);
    EXPECT_THAT(loyalty.told, IsEmpty());
    EXPECT_EQ(payment.earning, till::Payment::Earning::None);
    EXPECT_EQ(payment.earned, std::nullopt);
    EXPECT_FALSE(payment.earnedIsRounded);
    ASSERT_TRUE(payment.receipt);
    EXPECT_EQ(payment.receipt->getIdentifier(), u"R"_s);
    EXPECT_THAT(turnover.closed, ElementsAre(u"R"_s));
    EXPECT_THAT(listener.closed, ElementsAre(u"R"_s)) << "which reports the receipts of nobody";
    EXPECT_TRUE(listener.wasStored);
    EXPECT_TRUE(storedReceipt(u"R"_s));
    EXPECT_EQ(kept(), nullptr);
    EXPECT_EQ(checkout->state(), State::Idle);
    EXPECT_EQ(checkout->receipt(), nullptr);
    EXPECT_EQ(Singleton<Session>::instance->getDocument(), nullptr);
    EXPECT_THAT(eventsOf(), ElementsAre(u"opened"_s, u"closed"_s));
}

TEST_F(CheckoutClosing, OfASaleWithACardEarnsBeforeItCommits)
{
    loyalty.earned = 12.5;
    const till::Payment payment = payOnCard();
    EXPECT_THAT(loyalty.told, ElementsAre(testing::_, u"earn"_s, u"commit"_s));
    EXPECT_EQ(payment.earning, till::Payment::Earning::Done);
    EXPECT_EQ(payment.earned, 12.5);
    EXPECT_FALSE(payment.earnedIsRounded) << "a point is worth as much as the money that it was told in";
}

TEST_F(CheckoutClosing, TellsWhatWasEarnedInPointsThoughTheLoyaltySystemCountsMoney)
{
    set("bonusRatio", u"3:2"_s);
    loyalty.earned = 12.5;
    const till::Payment payment = payOnCard();
    EXPECT_EQ(payment.earned, 18.75);
    EXPECT_TRUE(payment.earnedIsRounded) << "points are finer than money";
}

TEST_F(CheckoutClosing, SaysThatTheEarningWaitsOnlyWhenItIsInTheQueue)
{
    loyalty.earns = false;
    openOnCard(u"R-1"_s);
    MessageQueue().enqueue(u"other"_s, {}, {}, {});
    const till::Payment unheard = checkout->pay();
    expectDone(unheard);
    EXPECT_EQ(unheard.earning, till::Payment::Earning::None);

    loyalty.whileEarning = [] { MessageQueue().enqueue(u"kyrloyalty"_s, u"R-2"_s, {}, {}); };
    openOnCard(u"R-2"_s);
    const till::Payment waiting = checkout->pay();
    expectDone(waiting);
    EXPECT_EQ(waiting.earning, till::Payment::Earning::Queued);
}

TEST_F(CheckoutClosing, KeepsThatTheReceiptIsBeingPaidWhileItEarnsAndThatItIsSettledAfterwards)
{
    loyalty.commitFailure = "no";
    std::optional<State> while_;
    loyalty.whileEarning = [&] { while_ = till::markedState(*checkout->receipt()); };
    openOnCard();
    answer();
    const till::Payment payment = checkout->pay();
    EXPECT_EQ(payment.error, u"no"_s);
    EXPECT_EQ(payment.receipt, nullptr);
    EXPECT_EQ(while_, State::Paying);
    EXPECT_EQ(till::markedState(*kept()), State::Settled);
    EXPECT_EQ(checkout->state(), State::Settled);
    EXPECT_THAT(turnover.closed, IsEmpty());
    EXPECT_EQ(storedReceipt(u"R"_s), nullptr);
}

TEST_F(CheckoutClosing, ThatIsTriedAgainDoesNotEarnAgain)
{
    loyalty.commitFailure = "no";
    openOnCard();
    answer();
    EXPECT_FALSE(checkout->pay().ok);
    EXPECT_THAT(loyalty.told, ElementsAre(testing::_, u"earn"_s, u"commit"_s, u"restore"_s))
        << "the commit has cleared what the open receipt still needs";
    loyalty.told.clear();
    loyalty.commitFailure = {};
    expectDone(checkout->pay());
    EXPECT_THAT(loyalty.told, ElementsAre(u"commit"_s));
    EXPECT_TRUE(storedReceipt(u"R"_s));
}

TEST_F(CheckoutClosing, ThatTheLoyaltySystemRefusesLeavesTheReceiptOpenAndSaysWhy)
{
    openOnCard();
    loyalty.refusal = tr::Tr::untranslated(u"нет"_s);
    answer();
    EXPECT_EQ(checkout->pay().error, u"нет"_s);
    EXPECT_EQ(checkout->state(), State::Settled);
    EXPECT_EQ(storedReceipt(u"R"_s), nullptr);
    EXPECT_TRUE(kept());
    EXPECT_THAT(eventsOf(), Not(Contains(u"closed"_s)));
}

TEST_F(CheckoutClosing, ThatTheStoreRefusesLeavesNothingOfTheCommitBehind)
{
    openOnCard();
    loyalty.whileCommitting = [] { MessageQueue().enqueue(u"kyrloyalty"_s, u"R"_s, {}, {}); };
    const auto quicker = test_support::storedMeanwhile(u"R"_s);
    answer();
    EXPECT_EQ(checkout->pay().error, u"Чек R уже сохранён с другим содержимым"_s);
    EXPECT_EQ(MessageQueue().waitingCount(), 0);
    EXPECT_THAT(loyalty.told, Contains(u"restore"_s));
    EXPECT_TRUE(kept());
}

TEST_F(CheckoutClosing, OfAReceiptThatIsBeingPaidLooksAtItsAmountsNoMore)
{
    openOnCard();
    checkout->receipt()->getGoodsItemByPosnum(1)->setDiscount(-1);
    EXPECT_EQ(checkout->pay().error,
              u"Позиция 1: цена и скидка — не меньше нуля, скидка — не больше стоимости"_s);
    EXPECT_EQ(checkout->state(), State::Sale);
    till::setMarkedState(*checkout->receipt(), State::Paying);
    answer();
    expectDone(checkout->pay());
}

TEST_F(CheckoutClosing, OfAReturnCommitsAndEarnsNothing)
{
    payOnCard(u"S"_s);
    loyalty.told.clear();
    expectDone(checkout->openReturn(u"R"_s, u"S"_s, {{.posnum = 1, .quantity = 1}}));
    const till::Payment payment = checkout->pay();
    expectDone(payment);
    EXPECT_THAT(loyalty.told, ElementsAre(u"commit"_s));
    EXPECT_EQ(payment.earned, std::nullopt);
    EXPECT_THAT(turnover.closed, ElementsAre(u"S"_s, u"R"_s));
    EXPECT_EQ(turnover.opened, 2);
}

TEST_F(CheckoutClosing, UndoesAtTheServiceOnlyWhatTheServiceKnowsOf)
{
    open();
    expectDone(checkout->rollBack());
    EXPECT_THAT(loyalty.told, ElementsAre(u"cancel"_s)) << "no card";
    loyalty.told.clear();
    openOnCard();
    expectDone(checkout->rollBack());
    EXPECT_THAT(loyalty.told, ElementsAre(testing::_, u"cancel"_s)) << "nothing was done with the card";
    loyalty.told.clear();
    openOnCard();
    checkout->card()->setOperationId(u"7"_s);
    answer();
    expectDone(checkout->rollBack());
    EXPECT_THAT(loyalty.told, ElementsAre(testing::_, u"roll back"_s));
    EXPECT_EQ(checkout->state(), State::Idle);
    EXPECT_EQ(kept(), nullptr);
    EXPECT_THAT(turnover.closed, IsEmpty());
}

TEST_F(CheckoutClosing, OfARollbackThatFailsLeavesAReceiptThatMayNeverBePaid)
{
    openOnCard();
    checkout->card()->setOperationId(u"7"_s);
    answer(500);
    EXPECT_EQ(checkout->rollBack().error, u"Ошибка 500"_s);
    EXPECT_EQ(checkout->state(), State::Abandoned);
    EXPECT_EQ(till::markedState(*kept()), State::Abandoned);
    EXPECT_FALSE(checkout->pay().ok);
    EXPECT_THAT(eventsOf(), Not(Contains(u"abandoned"_s)));
    answer();
    expectDone(checkout->rollBack());
    EXPECT_THAT(eventsOf(), Contains(u"abandoned"_s));
}

TEST_F(CheckoutClosing, LetsGoOfTheReceiptOnlyInMemoryWhenTheTillEnds)
{
    openOnCard();
    end();
    EXPECT_EQ(Singleton<Session>::instance->getDocument(), nullptr);
    EXPECT_EQ(loyalty.document(), nullptr);
    EXPECT_TRUE(kept());
}

} // namespace tilltest

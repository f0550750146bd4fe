#include "host/network/restclient.h"
#include "host/queue/messagequeue.h"
#include "host/storage/documents.h"
#include "host/storage/journal.h"
#include "host/utils/basicexception.h"
#include "tests/support/meanwhile.h"
#include "tests/support/stillclock.h"
#include "tests/support/syncs.h"
#include "till/checkout/till.h"
#include "till/setup/settings.h"

#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <optional>
#include <thread>

using namespace Qt::StringLiterals;

namespace checkouttest {

namespace {

/// Whether somebody else's message gets into the store at once, while this thread stands still.
bool isStoreFree()
{
    bool done = false;
    std::thread([&done] {
        try {
            MessageQueue().enqueue(u"other"_s, {}, {}, {});
            done = true;
        } catch (const BasicException&) {
            done = false;
        }
    }).join();
    return done;
}

/// Answers every question with a cancellation, after having tried the store.
class Undecided : public DialogFrontend
{
public:
    int chooseFromList(const ChoiceRequest& /*request*/) override
    {
        wasFree = isStoreFree();
        return -1;
    }
    core::BasicDialog::Result inputText(const TextInputRequest& /*request*/) override
    {
        wasFree = isStoreFree();
        return core::BasicDialog::Result::cancelled();
    }
    std::optional<bool> wasFree;
};

Config settings(bool asksForCode)
{
    Config config = till::loadSettings({});
    config.set(u"KYRLoyalty:smsVerification"_s, asksForCode);
    return config;
}

} // namespace

/// A till with its own stand.
class Steps : public testing::Test
{
protected:
    explicit Steps(bool asksForCode = false)
        : m_till({QStringLiteral(PLUGIN_FILE), QStringLiteral(STAND_PROGRAM), m_directory.path()},
                 settings(asksForCode), m_cashier)
    {}

    till::Till& till() { return m_till; }
    till::Checkout& checkout() { return m_till.checkout(); }
    [[nodiscard]] const Undecided& cashier() const { return m_cashier; }
    [[nodiscard]] QString store() const { return m_directory.filePath(u"till.sqlite"_s); }
    static void expectDone(const till::Result& result)
    {
        ASSERT_TRUE(result.ok) << result.error.toStdString();
    }
    void open(const QString& identifier = u"R"_s)
    {
        expectDone(checkout().openSale(
            identifier, {{.articul = u"1"_s, .name = u"Чай"_s, .price = 200, .quantity = 2, .discount = 0}}));
    }
    void openOnCard(const QString& identifier = u"R"_s)
    {
        open(identifier);
        expectDone(checkout().identifyByCard(u"2000000000017"_s));
    }
    QStringList eventsOf(const QString& identifier)
    {
        QStringList events;
        for (const auto& entry : storage::Journal().of(identifier))
            events.append(entry.event);
        return events;
    }

private:
    QTemporaryDir m_directory;
    Undecided m_cashier;
    till::Till m_till;
};

class StepsWithACode : public Steps
{
protected:
    StepsWithACode()
        : Steps(true)
    {}
};

TEST_F(Steps, CostASaleWithoutACardTwoSyncs)
{
    const test_support::Syncs syncs;
    open();
    expectDone(checkout().pay());
    EXPECT_EQ(syncs.count(), 2) << "it was opened, and closed with the message that reports it";
    EXPECT_EQ(till().queue().waitingCount(), 1);
}

TEST_F(Steps, CostASaleWithACardSixSyncs)
{
    const test_support::Syncs syncs;
    openOnCard();
    expectDone(checkout().requestLimit());
    expectDone(checkout().pay());
    EXPECT_EQ(syncs.count(), 6);
}

TEST_F(Steps, CostASaleWithACardAndPointsNineSyncs)
{
    const test_support::Syncs syncs;
    openOnCard();
    expectDone(checkout().requestLimit());
    expectDone(checkout().spend(50));
    expectDone(checkout().pay());
    EXPECT_EQ(syncs.count(), 9);
}

TEST_F(Steps, CostTenSyncsASaleOnAverageWithTheFoldingOfTheLogWhenItComesToThat)
{
    test_support::StillClock clock; // the service tells receipts apart by the second
    constexpr int sales = 60;
    constexpr int unfolded = 9;
    const test_support::Syncs syncs;
    for (int i = 0; i < sales; ++i) {
        clock.move(std::chrono::minutes(1));
        openOnCard(u"R-%1"_s.arg(i));
        expectDone(checkout().requestLimit());
        expectDone(checkout().spend(1));
        expectDone(checkout().pay());
    }
    EXPECT_GT(syncs.count(), sales * unfolded) << "it has come to that";
    EXPECT_LE(syncs.count(), sales * 10);
}

TEST_F(Steps, PutAMessageInTheQueueWithoutASyncOfItsOwn)
{
    openOnCard();
    expectDone(checkout().requestLimit());
    till().setServiceUp(false);
    const test_support::Syncs syncs;
    const till::Payment payment = checkout().pay();
    expectDone(payment);
    EXPECT_EQ(payment.earning, till::Payment::Earning::Queued);
    EXPECT_EQ(syncs.count(), 2) << "as many as with an answer: before the request, and after it";
}

TEST_F(Steps, WriteNothingThatDidNotChange)
{
    openOnCard();
    expectDone(checkout().refreshCard());
    const test_support::Syncs syncs;
    expectDone(checkout().refreshCard());
    EXPECT_EQ(syncs.count(), 0);
}

TEST_F(Steps, KeepThatTheReceiptIsBeingPaidBeforeTheEarningLeavesAndSayItIsSettledOnlyAfterwards)
{
    openOnCard();
    const auto kept = [] {
        return SaveToFileLogic::loadOpenReceipt()->getPluginData(u"Till"_s, u"stage"_s, {});
    };
    QVariantList stages;
    const auto looking = RestClient::guard({.departing =
                                                [&](const QString& /*method*/, const QUrl& url) {
                                                    if (url.fileName() == u"payment-b2c")
                                                        stages.append(kept());
                                                },
                                            .answered = {}});
    expectDone(checkout().pay());
    EXPECT_EQ(stages, QVariantList{u"paying"_s}) << "else a till that dies meanwhile takes it for earned";
    EXPECT_EQ(till().queue().waitingCount(), 0) << "nor is a sale with a card reported as nobody's";
}

TEST_F(Steps, HoldNobodyUpWhileARequestIsUnderWay)
{
    openOnCard();
    QStringList asked;
    const auto looking = RestClient::guard({.departing =
                                                [&asked](const QString& method, const QUrl& url) {
                                                    asked.append(method + u' ' + url.fileName());
                                                    EXPECT_TRUE(isStoreFree()) << asked.last().toStdString();
                                                },
                                            .answered = {}});
    expectDone(checkout().refreshCard());
    expectDone(checkout().spend(50));
    expectDone(checkout().pay());
    EXPECT_THAT(asked, testing::IsSupersetOf(
                           {u"POST pre-payment"_s, u"POST force-payment-c2b"_s, u"POST payment-b2c"_s}));
}

TEST_F(StepsWithACode, HoldNobodyUpWhileTheCashierIsAsked)
{
    openOnCard();
    const till::Spending spending = checkout().spend(50);
    EXPECT_FALSE(spending.ok);
    EXPECT_EQ(cashier().wasFree, true);
}

/// Whatever is done with a receipt, until the store is taken away as the service's answer comes.
class InterruptedSteps : public Steps
{
protected:
    template <class Operation>
    till::Result interrupted(const QString& path, Operation operation)
    {
        const auto taking =
            RestClient::guard({.departing = {}, .answered = [&](const RestExchange& exchange) {
                                   if (exchange.url.path().endsWith(path)) {
                                       EXPECT_TRUE(QFile::rename(store(), aside()));
                                   }
                               }});
        till::Result result = operation();
        EXPECT_FALSE(result.ok);
        EXPECT_TRUE(result.error.contains(u"удалены или подменены"_s)) << result.error.toStdString();
        return result;
    }
    [[nodiscard]] QString aside() const { return store() + u".aside"_s; }
    void bringBack() { ASSERT_TRUE(QFile::rename(aside(), store())); }
};

TEST_F(InterruptedSteps, ThatCouldNotBeKeptWereNotDoneAndTheSpendingIsUnknown)
{
    openOnCard();
    interrupted(u"/force-payment-c2b"_s, [this] { return checkout().spend(50); });
    EXPECT_FALSE(checkout().requestLimit().ok) << "the store is still away";
    bringBack();
    EXPECT_FALSE(checkout().pay().ok);
    EXPECT_EQ(checkout().state(), till::State::SpendingUnknown);
    expectDone(checkout().spend(50));
    expectDone(checkout().pay());
}

/// More points than there are were wanted, and what became of those that were asked for is not known.
class InterruptedSpending : public InterruptedSteps
{
protected:
    void SetUp() override
    {
        expectDone(checkout().openSale(
            u"R"_s, {{.articul = u"1"_s, .name = u"Телевизор"_s, .price = 90'000, .quantity = 1}}));
        expectDone(checkout().identifyByCard(u"2000000000017"_s));
        interrupted(u"/force-payment-c2b"_s, [this] {
            const till::Spending spending = checkout().spend(wanted);
            asked = spending.points.value_or(wanted);
            return spending;
        });
        bringBack();
        ASSERT_LT(asked, wanted);
    }
    void expectTheSameSpent(double named)
    {
        const till::Spending again = checkout().spend(named);
        expectDone(again);
        EXPECT_EQ(again.points, asked);
        EXPECT_EQ(checkout().state(), till::State::Discounted);
        expectDone(checkout().pay());
    }

    static constexpr double wanted = 100'000;
    double asked = 0; ///< of the service: no more than the card has
};

TEST_F(InterruptedSpending, IsRepeatedWhenTheCashierWantsTheSameAgain) { expectTheSameSpent(wanted); }

TEST_F(InterruptedSpending, IsRepeatedWhenTheCashierNamesThePointsThatWereAskedFor)
{
    expectTheSameSpent(asked);
}

TEST_F(InterruptedSteps, ThatCouldNotBeKeptLoseNoMessage)
{
    openOnCard();
    till().setServiceUp(false);
    interrupted(u"/payment-b2c"_s, [this] { return checkout().pay(); });
    bringBack();
    EXPECT_EQ(till().queue().waitingCount(), 0) << "it went with the step";
    const till::Payment payment = checkout().pay();
    expectDone(payment);
    EXPECT_EQ(payment.earning, till::Payment::Earning::Queued) << "and was put there anew";
    EXPECT_EQ(till().queue().waitingCount(), 1);
}

TEST_F(InterruptedSteps, OfARollbackLeaveItToBeFinished)
{
    openOnCard();
    expectDone(checkout().spend(50));
    interrupted(u"/cancel-payment"_s, [this] { return checkout().rollBack(); });
    bringBack();
    EXPECT_FALSE(checkout().pay().ok) << "what is canceled may not be paid";
    EXPECT_EQ(checkout().state(), till::State::Abandoned);
    expectDone(checkout().rollBack());
    EXPECT_EQ(checkout().state(), till::State::Idle);
}

TEST_F(Steps, ThatCannotCloseTheReceiptKeepWhatItHasEarned)
{
    openOnCard();
    const auto quicker = test_support::storedMeanwhile(u"R"_s);
    const till::Payment payment = checkout().pay();
    EXPECT_EQ(payment.error, u"Чек R уже сохранён с другим содержимым"_s);
    EXPECT_EQ(checkout().state(), till::State::Settled);
    EXPECT_EQ(SaveToFileLogic::loadOpenReceipt()->getPluginData(u"Till"_s, u"stage"_s, {}), u"settled"_s);
    EXPECT_THAT(eventsOf(u"R"_s), testing::ElementsAre(u"opened"_s, u"request"_s, u"answer"_s));
}

TEST_F(Steps, ThatFailedKeepWhatTheServiceAnswered)
{
    openOnCard();
    till().setServiceUp(false);
    EXPECT_FALSE(checkout().requestLimit().ok);
    EXPECT_THAT(eventsOf(u"R"_s), testing::ElementsAre(u"opened"_s, u"request"_s, u"answer"_s));
}

} // namespace checkouttest

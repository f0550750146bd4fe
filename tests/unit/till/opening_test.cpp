#include "host/utils/logging.h"
#include "tests/unit/till/loyaltydouble.h"
#include "till/checkout/receiptmarks.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace tilltest {

namespace {

/// A disk that takes no open receipt.
class FullFile : public SaveToFileLogic
{
public:
    void save(const QSharedPointer<AbstractDocument>& /*document*/, const QString& /*fileName*/) override
    {
        throw BasicException(tr::Tr::untranslated(u"нет места"_s));
    }
};

} // namespace

class CheckoutOpening : public CheckoutScene
{
protected:
    void sell(const QString& identifier) const
    {
        open(identifier);
        expectDone(checkout->pay());
    }
};

TEST_F(CheckoutOpening, HasTheReceiptOnDiskForTheSessionAndForTheLoyaltySystem)
{
    EXPECT_EQ(utils::LogReceipt::current(), QString());
    open();
    const auto receipt = checkout->receipt();
    ASSERT_TRUE(receipt);
    EXPECT_EQ(receipt->getDocumentType(), SaleReceipt);
    EXPECT_EQ(receipt->getGoodsItemByPosnum(2)->getName(false), u"Мёд"_s);
    EXPECT_EQ(Singleton<Session>::instance->getDocument(), receipt);
    EXPECT_EQ(loyalty.document(), receipt);
    EXPECT_EQ(utils::LogReceipt::current(), u"R"_s);
    ASSERT_TRUE(kept());
    EXPECT_EQ(kept()->getSum(), 500);
    EXPECT_EQ(turnover.opened, 1);
    open(u"N"_s);
    EXPECT_EQ(utils::LogReceipt::current(), u"N"_s);
    EXPECT_EQ(kept()->getIdentifier(), u"N"_s) << "an unpaid one without points makes way";
    expectDone(checkout->pay());
    EXPECT_EQ(utils::LogReceipt::current(), QString()) << "later lines are of no receipt";
}

TEST_F(CheckoutOpening, TakesNoNumberTwice)
{
    sell(u"R"_s);
    const QString known = u"Чек R уже есть: номер чека не повторяется"_s;
    EXPECT_EQ(checkout->openSale(u"R"_s, lines()).error, known);
    EXPECT_EQ(checkout->openReturn(u"R"_s, u"R"_s, {{.posnum = 1, .quantity = 1}}).error, known);
    EXPECT_EQ(checkout->openReturn(u"R"_s, u"missing"_s, {{.posnum = 1, .quantity = 1}}).error, known);
    EXPECT_EQ(checkout->state(), State::Idle);
    EXPECT_EQ(kept(), nullptr);
    EXPECT_EQ(turnover.opened, 1) << "what was refused was not opened";
}

TEST_F(CheckoutOpening, OpensNothingThatCouldNotBeKept)
{
    open();
    MockFactory<SaveToFileLogic>::mocked = [] { return QSharedPointer<SaveToFileLogic>(new FullFile); };
    EXPECT_EQ(checkout->openSale(u"N"_s, lines()).error, u"нет места"_s);
    EXPECT_EQ(checkout->receipt()->getIdentifier(), u"R"_s);
    MockFactory<SaveToFileLogic>::mocked = nullptr;
    EXPECT_THAT(eventsOf(u"N"_s), IsEmpty());
}

TEST_F(CheckoutOpening, KeepsWhatChangedWithTheLines)
{
    openOnCard();
    expectDone(checkout->setLines({lines().first()}));
    EXPECT_EQ(kept()->getSum(), 200);
    ASSERT_TRUE(kept()->getCardRecord(KyrLoyaltySystem));
    EXPECT_TRUE(kept()->isFlagSet(LoyaltyCardPresented));
    EXPECT_EQ(checkout->receipt()->getIdentifier(), u"R"_s);
    EXPECT_FALSE(checkout->setLines({{.articul = u"1"_s, .name = u"Чай"_s, .price = -1, .quantity = 1}}).ok);
    EXPECT_EQ(checkout->receipt()->getSum(), 200);
    EXPECT_EQ(turnover.opened, 1);
}

TEST_F(CheckoutOpening, OfAReturnTakesTheCardOfTheSaleButNotItsOperations)
{
    openOnCard(u"S"_s);
    checkout->card()->setOperationId(u"7"_s);
    answer();
    expectDone(checkout->pay());
    expectDone(checkout->openReturn(u"R"_s, u"S"_s, {{.posnum = 1, .quantity = 1}}));
    EXPECT_EQ(checkout->state(), State::Return);
    EXPECT_FALSE(checkout->hasSpentPoints());
    ASSERT_TRUE(checkout->card());
    EXPECT_EQ(checkout->card()->getNumber().toString(), u"2000000000017"_s);
    EXPECT_EQ(checkout->card()->getCardStatus(), ECard::Active);
    EXPECT_EQ(checkout->card()->getOperationId(), QString());
    EXPECT_TRUE(checkout->receipt()->isFlagSet(LoyaltyCardPresented));
    EXPECT_THAT(eventsOf(), ElementsAre(u"opened"_s));
}

TEST_F(CheckoutOpening, OfAReturnOfASaleWithoutACardHasNone)
{
    sell(u"S"_s);
    expectDone(checkout->openReturn(u"R"_s, u"S"_s, {{.posnum = 1, .quantity = 1}}));
    EXPECT_EQ(checkout->card(), nullptr);
    EXPECT_FALSE(checkout->receipt()->isFlagSet(LoyaltyCardPresented));
}

TEST_F(CheckoutOpening, OfAReturnIsDraftedOnlyWhereItCouldBeOpened)
{
    sell(u"S"_s);
    openOnCard();
    spendWithADiscount();
    const till::Draft draft = checkout->returnOf(u"B"_s, u"S"_s, {{.posnum = 1, .quantity = 1}});
    EXPECT_EQ(draft.error, u"Чек R не закрыт, в нём списаны баллы: оплатите его или отмените"_s);
    EXPECT_EQ(draft.receipt, nullptr);
}

TEST_F(CheckoutOpening, DoesNothingAnyMoreOnceAnotherTillMayHaveTheDirectory)
{
    open();
    ASSERT_TRUE(QFile::remove(path(u"till.lock"_s)));
    EXPECT_FALSE(checkout->pay().ok);
    EXPECT_FALSE(checkout->openSale(u"N"_s, lines()).ok);
    EXPECT_FALSE(checkout->returnOf(u"B"_s, u"S"_s, {}).ok);
    EXPECT_EQ(kept()->getIdentifier(), u"R"_s);
}

TEST_F(CheckoutOpening, PutsTheCardOnTheReceiptAndOnTheDisk)
{
    open();
    const till::Identification found = checkout->identifyByCard(u"2000000000017"_s);
    expectDone(found);
    EXPECT_EQ(found.card, u"2000000000017"_s);
    EXPECT_THAT(loyalty.told,
                ElementsAre(u"identify 2000000000017 as %1"_s.arg(static_cast<int>(ECardNumberType::Typed))));
    ASSERT_TRUE(checkout->card());
    EXPECT_EQ(checkout->card()->getCardStatus(), ECard::Active);
    ASSERT_TRUE(kept()->getCardRecord(KyrLoyaltySystem));
    EXPECT_TRUE(kept()->isFlagSet(LoyaltyCardPresented));
}

TEST_F(CheckoutOpening, PutsNoCardOnTheReceiptThatTheLoyaltySystemRefuses)
{
    open();
    loyalty.refusal = tr::Tr::untranslated(u"Карта неизвестна"_s);
    const till::Identification found = checkout->identifyByCard(u"2"_s);
    EXPECT_EQ(found.error, u"Карта неизвестна"_s);
    EXPECT_EQ(found.card, u"2"_s) << "the number that was looked for";
    EXPECT_EQ(checkout->card(), nullptr);
    EXPECT_FALSE(checkout->receipt()->isFlagSet(LoyaltyCardPresented));
}

TEST_F(CheckoutOpening, FindsTheCardByThePhone)
{
    open();
    loyalty.found = {.success = true, .cardNumber = u"2000000000017"_s, .error = {}};
    const till::Identification found = checkout->identifyByPhone(u"79001234567"_s);
    expectDone(found);
    EXPECT_EQ(found.card, u"2000000000017"_s);
    EXPECT_EQ(loyalty.told.first(),
              u"find 79001234567 as %1"_s.arg(int{loyalty::CardNumberInputData::PhoneNumber}));
    ASSERT_TRUE(checkout->card());
    EXPECT_EQ(checkout->card()->getNumber().toString(), u"2000000000017"_s);
}

TEST_F(CheckoutOpening, PutsNoCardOnTheReceiptWhenNoneIsFoundByThePhoneOrNoneIsChosen)
{
    open();
    loyalty.found = {.success = false, .cardNumber = u"9"_s, .error = tr::Tr::untranslated(u"Нет такой"_s)};
    EXPECT_EQ(checkout->identifyByPhone(u"79001234567"_s).error, u"Нет такой"_s);
    loyalty.found = {.success = true, .cardNumber = {}, .error = {}};
    const till::Identification none = checkout->identifyByPhone(u"79001234567"_s);
    expectDone(none);
    EXPECT_EQ(none.card, QString());
    EXPECT_EQ(checkout->card(), nullptr);
    EXPECT_THAT(loyalty.told,
                testing::Each(testing::Property(&QString::toStdString, testing::StartsWith("find"))));
}

TEST_F(CheckoutOpening, LooksAtTheCardAgainAndKeepsWhatItFinds)
{
    openOnCard();
    loyalty.told.clear();
    expectDone(checkout->refreshCard());
    EXPECT_THAT(loyalty.told,
                ElementsAre(u"look at 2000000000017 as %1"_s.arg(static_cast<int>(ECardNumberType::Typed))));
    EXPECT_EQ(kept()->getCardRecord(KyrLoyaltySystem)->getBonusBalance(), 1000);
    loyalty.refusal = tr::Tr::untranslated(u"нет"_s);
    EXPECT_EQ(checkout->refreshCard().error, u"нет"_s);
}

TEST_F(CheckoutOpening, AsksForTheLimitOfThisReceipt)
{
    openOnCard();
    answer();
    expectDone(checkout->requestLimit());
    EXPECT_EQ(loyalty.told.last(), u"limit of R"_s);
    answer(500);
    EXPECT_EQ(checkout->requestLimit().error, u"Ошибка 500"_s);
}

TEST_F(CheckoutOpening, WithoutACardHasNothingToLookAtOrToAskFor)
{
    open();
    const QString none = u"В чеке нет карты: сначала найдите её по номеру или телефону"_s;
    EXPECT_EQ(checkout->refreshCard().error, none);
    EXPECT_EQ(checkout->requestLimit().error, none);
    EXPECT_THAT(loyalty.told, IsEmpty());
}

TEST_F(CheckoutOpening, NamesNoReceiptWhereThereIsNone)
{
    EXPECT_EQ(checkout->obstacleTo(till::Action::Pay), u"Чек не открыт: сначала откройте его"_s);
    EXPECT_EQ(checkout->unknownSpending(), std::nullopt);
    EXPECT_FALSE(checkout->hasSpentPoints());
    EXPECT_EQ(checkout->card(), nullptr);
    EXPECT_EQ(turnover.opened, 0);
}

TEST_F(CheckoutOpening, FillsIntoARefusalOnlyWhatItAsksFor)
{
    static QStringList warnings;
    warnings.clear();
    const QtMessageHandler before =
        qInstallMessageHandler([](QtMsgType /*type*/, const QMessageLogContext& /*context*/,
                                  const QString& text) { warnings.append(text); });
    sell(u"S"_s);
    expectDone(checkout->openReturn(u"R"_s, u"S"_s, {{.posnum = 1, .quantity = 1}}));
    EXPECT_EQ(checkout->obstacleTo(till::Action::SetLines),
              u"Позиции возврата не меняются: отмените его и начните заново"_s);
    till::setUnknownSpending(*checkout->receipt(),
                             till::UnknownSpending{.points = 1, .wanted = 1, .since = {}});
    till::setMarkedState(*checkout->receipt(), State::Abandoned);
    EXPECT_EQ(checkout->obstacleTo(till::Action::Pay), u"Чек R отменяется: завершите отмену"_s);
    EXPECT_EQ(checkout->obstacleTo(till::Action::RollBack), QString());
    qInstallMessageHandler(before);
    EXPECT_THAT(warnings.filter(u"QString::arg"_s), IsEmpty()) << "which would fill the log";
}

TEST_F(CheckoutOpening, OfAReceiptWithAPlaceholderForANumberIsRefusedWithThatNumber)
{
    open(u"%1"_s);
    till::setMarkedState(*checkout->receipt(), State::Paying);
    EXPECT_EQ(checkout->obstacleTo(till::Action::OpenSale), u"Чек %1 уже оплачивается: завершите оплату"_s);
}

} // namespace tilltest

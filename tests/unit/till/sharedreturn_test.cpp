// Returns in a shop of many tills, where others may close one of the same sale, or see this till's closed
// first.

#include "host/utils/basicexception.h"
#include "tests/support/atcall.h"
#include "tests/support/hostworld.h"
#include "tests/support/logcapture.h"
#include "tests/unit/till/loyaltydouble.h"
#include "till/checkout/receiptmarks.h"
#include "till/checkout/returnparts.h"

#include <cerrno>
#include <optional>
#include <thread>

using testing::IsEmpty;

namespace tilltest {

namespace {

/// This till's own store, and what others have closed.
class ShopDouble : public DocumentsDao
{
public:
    [[nodiscard]] QSharedPointer<AbstractDocument> loadDocument(const QVariant& reference,
                                                                bool forUpdate) override
    {
        if (isOutOfReach)
            throw BasicException(tr::Tr::untranslated(u"нет связи"_s));
        if (forUpdate)
            locked.append(reference.toString());
        const auto its = elsewhere.value(reference.toString());
        return its ? its : DocumentsDao::loadDocument(reference, forUpdate);
    }
    [[nodiscard]] QList<QSharedPointer<AbstractDocument>> returnsOf(const QString& sale) override
    {
        auto returns = DocumentsDao::returnsOf(sale);
        for (const auto& document : std::as_const(elsewhere)) {
            if (document->getSaleDocumentId().toString() == sale)
                returns.append(document);
        }
        return returns;
    }
    [[nodiscard]] bool isShared(const QString& /*identifier*/) override { return sharesIt; }
    [[nodiscard]] bool seesAll() const override { return seesEverything; }

    QMap<QString, QSharedPointer<AbstractDocument>> elsewhere;
    QStringList locked; ///< against other tills
    bool seesEverything = true;
    bool sharesIt = true;
    bool isOutOfReach = false;
};

/// A return of position 1 of the sale S.
QSharedPointer<Document> returnOf(int posnum = 1, double quantity = 1, double gross = 200,
                                  double discount = 0, double bonusDiscount = 0)
{
    auto document = QSharedPointer<Document>::create(ReturnReceipt, u"R"_s);
    document->setSaleDocumentId(u"S"_s);
    const auto item = QSharedPointer<GoodsItem>::create(posnum, u"1"_s, u"Чай"_s, 200, quantity);
    item->setGrossSum(gross);
    item->setDiscount(discount);
    item->setBonusImpactSum(bonusDiscount);
    document->addGoodsItem(item);
    return document;
}

} // namespace

class SharedReturn : public CheckoutScene
{
protected:
    SharedReturn() { Singleton<DocumentsDao>::instance = shop; }

    /// Of the tea, whose sale was on a card.
    void openReturn()
    {
        openOnCard(u"S"_s);
        answer();
        expectDone(checkout->pay());
        expectDone(checkout->openReturn(u"R"_s, u"S"_s, {{.posnum = 1, .quantity = 1}}));
        loyalty.told.clear();
    }
    void markAsPaying() const
    {
        till::setMarkedState(*checkout->receipt(), State::Paying);
        SaveToFileLogic().save(checkout->receipt(), {});
    }
    std::string recovered()
    {
        start();
        return checkout->recover().ru().toStdString();
    }
    /// As another program sees it.
    static std::optional<State> markOnDisk()
    {
        std::optional<State> mark;
        std::thread([&mark] { mark = till::markedState(*kept()); }).join();
        return mark;
    }

    ShopDouble* shop = new ShopDouble; // its host's
};

TEST_F(SharedReturn, IsKnownToBeBeingPaidBeforeOthersMaySeeItClosed)
{
    openReturn();
    EXPECT_EQ(markOnDisk(), std::nullopt);
    std::optional<State> mark;
    loyalty.whileCommitting = [&mark] { mark = markOnDisk(); };
    expectDone(checkout->pay());
    EXPECT_EQ(mark, State::Paying);
    EXPECT_EQ(kept(), nullptr);
    EXPECT_TRUE(DocumentsDao().contains(u"R"_s));
}

TEST_F(SharedReturn, ThatCouldNotBeClosedMayBeRolledBackThoughNotAllIsSeen)
{
    openReturn();
    shop->seesEverything = false;
    loyalty.commitFailure = "no";
    EXPECT_EQ(checkout->pay().error, u"no"_s);
    EXPECT_EQ(checkout->state(), State::Return);
    EXPECT_EQ(markOnDisk(), std::nullopt);
    loyalty.commitFailure = {};
    loyalty.refusal = tr::Tr::untranslated(u"нет"_s);
    EXPECT_EQ(checkout->pay().error, u"нет"_s);
    EXPECT_EQ(checkout->state(), State::Return);
    EXPECT_EQ(markOnDisk(), std::nullopt);
    loyalty.refusal = {};
    expectDone(checkout->rollBack());
}

TEST_F(SharedReturn, ThatNoOtherTillSeesIsClosedInOneCommit)
{
    openReturn();
    shop->sharesIt = false;
    std::optional<State> mark;
    loyalty.whileCommitting = [&mark] { mark = markOnDisk(); };
    expectDone(checkout->pay());
    EXPECT_EQ(mark, std::nullopt);
}

TEST_F(SharedReturn, WhoseClosingTheDiskDidNotTakeMayBeRolledBack)
{
    openReturn();
    std::optional<test_support::AtCall> broken;
    loyalty.whileCommitting = [&broken] { broken.emplace("fdatasync", test_support::failingOnce(EIO)); };
    EXPECT_FALSE(checkout->pay().ok);
    EXPECT_EQ(checkout->state(), State::Return);
    EXPECT_EQ(markOnDisk(), std::nullopt);
    expectDone(checkout->rollBack());
}

TEST_F(SharedReturn, WhoseStoreWentAwayWhileItWasClosedIsWhatTheStoreSaysOfIt)
{
    openReturn();
    loyalty.whileCommitting = [this] { ASSERT_TRUE(QFile::rename(store(), store() + u"_"_s)); };
    EXPECT_FALSE(checkout->pay().ok);
    bringBack();
    loyalty.whileCommitting = {};
    EXPECT_EQ(checkout->rollBack().error, u"Чек R уже оплачивается: завершите оплату"_s);
    expectDone(checkout->pay());
}

TEST_F(SharedReturn, WhoseRollBackFailedIsStillBeingRolledBack)
{
    openReturn();
    loyalty.refusal = tr::Tr::untranslated(u"нет"_s);
    EXPECT_EQ(checkout->rollBack().error, u"нет"_s);
    EXPECT_EQ(checkout->state(), State::Abandoned);
    EXPECT_EQ(markOnDisk(), State::Abandoned);
}

TEST_F(SharedReturn, StaysBeingPaidWhileNobodyCanTellWhetherItIsClosed)
{
    openReturn();
    loyalty.whileCommitting = [this] { shop->isOutOfReach = true; };
    const test_support::LogCapture log(u"till"_s);
    markAsPaying();
    loyalty.commitFailure = "no";
    EXPECT_EQ(checkout->pay().error, u"no"_s);
    EXPECT_EQ(checkout->state(), State::Paying);
    EXPECT_THAT(log.lines(), testing::ElementsAre(u"warn: The return stays as it is: нет связи"_s));
}

TEST_F(SharedReturn, ThatOthersSeeClosedIsNotClosedAgain)
{
    openReturn();
    markAsPaying();
    shop->elsewhere.insert(u"R"_s, returnOf());
    expectDone(checkout->pay());
    EXPECT_EQ(checkout->state(), State::Idle);
    EXPECT_EQ(kept(), nullptr);
    EXPECT_FALSE(DocumentsDao().contains(u"R"_s));
    EXPECT_THAT(loyalty.told, IsEmpty());
    EXPECT_TRUE(turnover.closed.contains(u"R"_s));
}

TEST_F(SharedReturn, ThatOthersSeeClosedIsFoundPaidAfterARestart)
{
    openReturn();
    shop->elsewhere.insert(u"R"_s, returnOf());
    EXPECT_EQ(recovered(), "Чек R был оплачен: закрытие завершено");
    EXPECT_EQ(kept(), nullptr);
}

TEST_F(SharedReturn, ThatNobodySeesClosedMayBeRolledBackAfterARestart)
{
    openReturn();
    markAsPaying();
    EXPECT_EQ(recovered(), "Найден открытый чек R");
    EXPECT_EQ(checkout->state(), State::Return);
    EXPECT_EQ(markOnDisk(), std::nullopt);
}

TEST_F(SharedReturn, ThatOthersMaySeeClosedCanOnlyBePaid)
{
    openReturn();
    markAsPaying();
    shop->seesEverything = false;
    EXPECT_EQ(recovered(), "Найден открытый чек R: он уже оплачивается, завершите оплату");
    EXPECT_EQ(markOnDisk(), State::Paying);
}

TEST_F(SharedReturn, ThatOthersSeeClosedThoughThisTillFailedStaysBeingPaid)
{
    openReturn();
    markAsPaying();
    loyalty.whileCommitting = [this] { shop->elsewhere.insert(u"R"_s, returnOf()); };
    loyalty.commitFailure = "no";
    EXPECT_EQ(checkout->pay().error, u"no"_s);
    EXPECT_EQ(checkout->state(), State::Paying);
}

TEST_F(SharedReturn, IsKnownByWhatItTakesBackAndNotByItsNumberAlone)
{
    const auto closedAs = [this](const QSharedPointer<AbstractDocument>& other) {
        shop->elsewhere.insert(u"R"_s, other);
        return till::wasClosedElsewhere(*returnOf(1, 1, 200, 20, 10));
    };
    EXPECT_TRUE(closedAs(returnOf(1, 1, 200, 20, 10)));
    EXPECT_FALSE(closedAs(nullptr));
    EXPECT_FALSE(closedAs(returnOf(2, 1, 200, 20, 10))) << "another position";
    EXPECT_FALSE(closedAs(returnOf(1, 2, 200, 20, 10))) << "another quantity";
    EXPECT_FALSE(closedAs(returnOf(1, 1, 201, 20, 10))) << "another sum";
    EXPECT_FALSE(closedAs(returnOf(1, 1, 201, 21, 10))) << "another discount";
    EXPECT_FALSE(closedAs(returnOf(1, 1, 201, 20, 11))) << "other points";
    const auto ofAnother = returnOf(1, 1, 200, 20, 10);
    ofAnother->setSaleDocumentId(u"T"_s);
    EXPECT_FALSE(closedAs(ofAnother)) << "of another sale";
    const auto more = returnOf(1, 1, 200, 20, 10);
    more->addGoodsItem(QSharedPointer<GoodsItem>::create(2, u"2"_s, u"Мёд"_s, 300, 1));
    EXPECT_FALSE(closedAs(more)) << "of more positions";
    const auto sale = QSharedPointer<Document>::create(SaleReceipt, u"R"_s);
    sale->setSaleDocumentId(u"S"_s);
    sale->addGoodsItem(returnOf(1, 1, 200, 20, 10)->getGoodsItems().first());
    EXPECT_FALSE(closedAs(sale)) << "a sale";
}

TEST_F(SharedReturn, ThatThisTillHasClosedItselfIsNotSoughtElsewhere)
{
    shop->elsewhere.insert(u"R"_s, returnOf());
    EXPECT_TRUE(till::wasClosedElsewhere(*returnOf()));
    EXPECT_THAT(shop->locked, IsEmpty()) << "it is only looked at";
    shop->elsewhere.insert(u"S"_s, QSharedPointer<Document>::create(SaleReceipt, u"S"_s));
    EXPECT_FALSE(till::wasClosedElsewhere(Document(SaleReceipt, u"S"_s))) << "another till's sale";
    DocumentsDao().store(returnOf());
    EXPECT_FALSE(till::wasClosedElsewhere(*returnOf()));
}

TEST_F(SharedReturn, ThatIsNotBeingPaidYetIsNotTakenForAnothersOfItsNumber)
{
    openReturn();
    shop->elsewhere.insert(u"R"_s, returnOf());
    EXPECT_EQ(checkout->pay().error, u"Позиция 1: к возврату 1, а из проданных 1 уже возвращено 1"_s);
    EXPECT_EQ(checkout->state(), State::Return);
}

TEST_F(SharedReturn, IsRefusedWhenAnotherTillWasQuickerWithTheSamePosition)
{
    expectDone(checkout->openSale(
        u"S"_s, {{.articul = u"1"_s, .name = u"Чай"_s, .price = 1, .quantity = 3, .discount = 1}}));
    expectDone(checkout->pay());
    expectDone(checkout->openReturn(u"R"_s, u"S"_s, {{.posnum = 1, .quantity = 1}}));
    ASSERT_EQ(checkout->receipt()->getSum(), 0.66) << "the first third";
    const auto quicker = QSharedPointer<Document>::create(ReturnReceipt, u"Q"_s);
    quicker->setSaleDocumentId(u"S"_s);
    const auto item = QSharedPointer<GoodsItem>::create(1, u"1"_s, u"Чай"_s, 1, 1);
    item->setDiscount(0.34);
    quicker->addGoodsItem(item);
    shop->elsewhere.insert(u"Q"_s, quicker);
    const QString outrun = u"Позиция 1: по чеку S уже оформлен другой возврат, откройте возврат заново"_s;
    EXPECT_EQ(checkout->pay().error, outrun);
    EXPECT_THAT(shop->locked, testing::ElementsAre(u"S"_s)) << "nobody returns of it meanwhile";
    EXPECT_EQ(checkout->state(), State::Return);
    shop->elsewhere.remove(u"Q"_s);
    shop->elsewhere.insert(u"S"_s, QSharedPointer<Document>::create(SaleReceipt, u"S"_s));
    EXPECT_EQ(checkout->pay().error, outrun) << "the sale does not have the position any more";
}

TEST_F(SharedReturn, OfASaleThatIsNotSeenIsOnlySaidNotToExistWhereAllAreSeen)
{
    const auto refused = [this] {
        return checkout->openReturn(u"R"_s, u"S"_s, {{.posnum = 1, .quantity = 1}}).error;
    };
    EXPECT_EQ(refused(), u"Чека S нет среди закрытых: возврат не возможен"_s);
    shop->seesEverything = false;
    EXPECT_EQ(refused(), u"Возврат не возможен"_s);
    open(u"S"_s);
    expectDone(checkout->pay());
    expectDone(checkout->openReturn(u"R"_s, u"S"_s, {{.posnum = 1, .quantity = 1}}));
}

} // namespace tilltest

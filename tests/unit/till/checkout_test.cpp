#include "host/core/session.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "till/checkout/checkout.h"
#include "till/setup/hostobjects.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;
using testing::HasSubstr;

namespace {

/// Some other loyalty system: it knows every card, and spends without a word of what became of it.
class SilentSystem : public BasicLoyaltySystem
{
public:
    bool identifyByCard(QSharedPointer<DocumentCardRecord>& /*card*/, ECardNumberType /*type*/) override
    {
        return true;
    }
    double getPointsForSpend(const QSharedPointer<AbstractDocument>& /*document*/) override
    {
        return m_pointsForSpend = std::min(m_pointsForSpend, limit);
    }
    bool spendPoints() override
    {
        asked.append(m_pointsForSpend);
        return true;
    }
    bool commit(const QSharedPointer<AbstractDocument>& /*document*/) override { return true; }

    double limit = 1000;
    QList<double> asked; ///< the points of each spending
};

class CheckoutWithASilentSystem : public testing::Test
{
protected:
    CheckoutWithASilentSystem() { storage::setDataDirectory(m_directory.path()); }
    ~CheckoutWithASilentSystem() override
    {
        m_checkout.reset();
        m_lock.reset();
        till::dropHostObject<Session>();
        till::dropHostObject<DocumentsDao>();
        storage::setDataDirectory({});
    }

    void start()
    {
        m_checkout.reset();
        m_lock.reset();
        m_lock = std::make_unique<storage::FileLock>(u"till.lock"_s);
        m_checkout = std::make_unique<till::Checkout>(m_loyalty, *m_lock, m_turnover);
    }

    static till::Line line(double price = 200, double quantity = 1, double discount = 0)
    {
        return {
            .articul = u"1"_s, .name = u"Чай"_s, .price = price, .quantity = quantity, .discount = discount};
    }
    void sell(const QString& identifier, const QList<till::Line>& lines)
    {
        ASSERT_TRUE(m_checkout->openSale(identifier, lines).ok);
        ASSERT_TRUE(m_checkout->pay().ok);
    }
    std::string refusalOfSale(const QList<till::Line>& lines)
    {
        const till::Result result = m_checkout->openSale(u"R-1"_s, lines);
        EXPECT_FALSE(result.ok);
        EXPECT_EQ(m_checkout->state(), till::State::Idle);
        return result.error.toStdString();
    }
    std::string refusalOfReturn(const QList<till::ReturnLine>& lines, const QString& sale = u"R-1"_s)
    {
        const till::Draft draft = m_checkout->returnOf(u"B-1"_s, sale, lines);
        const till::Result result = m_checkout->openReturn(u"B-1"_s, sale, lines);
        EXPECT_FALSE(result.ok);
        EXPECT_EQ(draft.error.toStdString(), result.error.toStdString()) << "it is known beforehand";
        return result.error.toStdString();
    }

    QTemporaryDir m_directory;
    SilentSystem m_loyalty;
    till::Turnover m_turnover;
    std::unique_ptr<storage::FileLock> m_lock;
    std::unique_ptr<till::Checkout> m_checkout;
};

TEST_F(CheckoutWithASilentSystem, TakesASpendingWithoutADiscountForOneThatNobodyKnowsOf)
{
    start();
    ASSERT_TRUE(
        m_checkout->openSale(u"R-1"_s, {{.articul = u"1"_s, .name = u"Чай"_s, .price = 200, .quantity = 1}})
            .ok);
    ASSERT_TRUE(m_checkout->identifyByCard(u"1"_s).ok);
    const till::Spending spending = m_checkout->spend(50);
    EXPECT_FALSE(spending.ok);
    EXPECT_EQ(spending.error.toStdString(),
              "Служба не сообщила, на какие позиции списаны баллы. Чек R-1: исход списания 50,00 баллов "
              "неизвестен, повторите списание той же суммы или отмените чек");
    EXPECT_EQ(m_checkout->state(), till::State::SpendingUnknown);
    EXPECT_FALSE(m_checkout->pay().ok);

    start(); // also after a till that died
    EXPECT_THAT(m_checkout->recover().ru().toStdString(), HasSubstr("исход списания 50,00 баллов"));
    EXPECT_EQ(m_checkout->state(), till::State::SpendingUnknown);
}

TEST_F(CheckoutWithASilentSystem, NamesAReceiptAsItIsCalledThoughItLooksLikeAPlaceholder)
{
    start();
    ASSERT_TRUE(m_checkout->openSale(u"%2-%1"_s, {}).ok);
    ASSERT_TRUE(m_checkout->identifyByCard(u"1"_s).ok);
    EXPECT_FALSE(m_checkout->spend(50).ok);
    EXPECT_EQ(m_checkout->obstacleTo(till::Action::Pay).toStdString(),
              "Чек %2-%1: исход списания 50,00 баллов неизвестен, повторите списание той же суммы или "
              "отмените чек");
}

TEST_F(CheckoutWithASilentSystem, RefusesASaleWhoseAmountsCannotBeCounted)
{
    start();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double quantity : {0.0, -1.0, 0.0005, 1e6, nan}) {
        EXPECT_EQ(refusalOfSale({line(), line(200, quantity)}),
                  "Позиция 2: количество — от 0,001 до 999 999,999, не мельче тысячных")
            << quantity;
    }
    for (const till::Line& bad : {line(1e18), line(nan), line(200, 1, nan), line(9e13, 999'999)})
        EXPECT_EQ(refusalOfSale({bad}), "Позиция 1: цена, скидка или сумма слишком велика или не число");
    for (const till::Line& bad : {line(-1), line(-0.001), line(200, 1, -1), line(200, 1, 200.01)}) {
        EXPECT_EQ(refusalOfSale({bad}),
                  "Позиция 1: цена и скидка — не меньше нуля, скидка — не больше стоимости");
    }
    EXPECT_EQ(refusalOfSale({line(8e13), line(8e13)}), "Сумма чека слишком велика");
    EXPECT_TRUE(m_checkout->openSale(u"R-1"_s, {line(0), line(200, 1, 200)}).ok) << "a gift costs nothing";
}

TEST_F(CheckoutWithASilentSystem, RefusesAReturnOfWhatWasNotSold)
{
    start();
    sell(u"R-1"_s, {line()});
    EXPECT_EQ(refusalOfReturn({}), "В возврате нет ни одной позиции");
    EXPECT_EQ(refusalOfReturn({{.posnum = 2, .quantity = 1}}), "Позиции 2 нет в чеке R-1");
    EXPECT_EQ(refusalOfReturn({{.posnum = 1, .quantity = 0.5}, {.posnum = 1, .quantity = 0.5}}),
              "Позиция 1 указана дважды");
    EXPECT_EQ(refusalOfReturn({{.posnum = 1, .quantity = 1}}, u"R-2"_s),
              "Чека R-2 нет среди закрытых: возврат не возможен");
    ASSERT_TRUE(m_checkout->openReturn(u"B-2"_s, u"R-1"_s, {{.posnum = 1, .quantity = 1}}).ok);
    ASSERT_TRUE(m_checkout->pay().ok);
    EXPECT_EQ(refusalOfReturn({{.posnum = 1, .quantity = 1}}, u"B-2"_s),
              "Чек B-2 — не продажа: возврат не возможен");
}

TEST_F(CheckoutWithASilentSystem, GivesBackThePartOfThePositionThatIsAskedFor)
{
    start();
    till::Line butter = line(100, 3, 30);
    butter.name = u"Масло сливочное «Крестьянское» 72,5 % высший сорт, 180 г"_s;
    sell(u"R-1"_s, {butter, line(50, 2)});
    const auto draft = m_checkout->returnOf(u"B-1"_s, u"R-1"_s, {{.posnum = 1, .quantity = 1}}).receipt;
    ASSERT_TRUE(draft);
    EXPECT_EQ(m_checkout->state(), till::State::Idle) << "a draft opens nothing";
    ASSERT_EQ(draft->getGoodsItems().size(), 1);
    const auto item = draft->getGoodsItems().first();
    EXPECT_EQ(item->getName(false), butter.name) << "in full";
    EXPECT_EQ(item->getBquant(), 1);
    EXPECT_EQ(item->getSumb(), 90);
    EXPECT_EQ(item->getDiscount(), 10);
    EXPECT_EQ(draft->getSaleDocumentId(), u"R-1"_s);
}

TEST_F(CheckoutWithASilentSystem, KeepsTheCardWhenTheLinesChange)
{
    start();
    ASSERT_TRUE(m_checkout->openSale(u"R-1"_s, {line()}).ok);
    EXPECT_FALSE(m_checkout->receipt()->isFlagSet(LoyaltyCardPresented));
    ASSERT_TRUE(m_checkout->identifyByCard(u"1"_s).ok);
    m_checkout->receipt()->setPluginData(u"Other"_s, u"key"_s, 7);
    ASSERT_TRUE(m_checkout->setLines({line(), line()}).ok);
    const auto receipt = m_checkout->receipt();
    EXPECT_EQ(receipt->getGoodsItems().size(), 2);
    ASSERT_TRUE(receipt->hasCardRecord(KyrLoyaltySystem));
    EXPECT_EQ(receipt->getCardRecord(KyrLoyaltySystem)->getNumber().toString(), u"1"_s);
    EXPECT_TRUE(receipt->isFlagSet(LoyaltyCardPresented)) << "else its receipt goes once more, as nobody's";
    EXPECT_EQ(receipt->getPluginData(u"Other"_s, u"key"_s, {}), 7);
}

TEST_F(CheckoutWithASilentSystem, RefusesPointsThatAreNoAmount)
{
    start();
    ASSERT_TRUE(m_checkout->openSale(u"R-1"_s, {line()}).ok);
    ASSERT_TRUE(m_checkout->identifyByCard(u"1"_s).ok);
    for (const double points : {-1.0, 1e18, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(m_checkout->spend(points).error.toStdString(),
                  "Баллы для списания: число меньше нуля, слишком велико или не число");
    }
    EXPECT_THAT(m_loyalty.asked, testing::IsEmpty());
    (void)m_checkout->spend(0);
    EXPECT_THAT(m_loyalty.asked, testing::ElementsAre(0)) << "none at all is an amount";
}

TEST_F(CheckoutWithASilentSystem, AsksAgainForThePointsOfASpendingThatIsUnknownAndForNoOthers)
{
    start();
    ASSERT_TRUE(m_checkout->openSale(u"R-1"_s, {line()}).ok);
    ASSERT_TRUE(m_checkout->identifyByCard(u"1"_s).ok);
    m_loyalty.limit = 30;
    EXPECT_EQ(m_checkout->spend(50).points, 30);
    m_loyalty.limit = 10; // the balance is less by now
    EXPECT_THAT(m_checkout->spend(40).error.toStdString(), HasSubstr("повторите списание той же суммы"));
    EXPECT_THAT(m_loyalty.asked, testing::ElementsAre(30));
    (void)m_checkout->spend(30);
    EXPECT_THAT(m_loyalty.asked, testing::ElementsAre(30, 30));
    EXPECT_EQ(m_checkout->state(), till::State::SpendingUnknown);
}

} // namespace

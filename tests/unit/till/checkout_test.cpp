#include "host/core/session.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "till/checkout/checkout.h"
#include "till/setup/hostobjects.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

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
        return m_pointsForSpend;
    }
    bool spendPoints() override { return true; }
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

} // namespace

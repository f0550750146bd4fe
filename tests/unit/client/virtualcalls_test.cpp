#include "tests/unit/client/receiptworld.h"

#include <utility>

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

/// Every operation that others are built on, replaced by one that notes its call: each must be reached
/// through the table of virtual operations, so that any one of them can be replaced.
class Replaced : public KyrLoyaltyInterface
{
public:
    [[nodiscard]] QMap<QString, QVariant> getServerResponse(const QString& path, const QByteArray& /*body*/,
                                                            RestMethod method) const override
    {
        calls.append(method == RestMethod::Get ? u"get"_s : u"post "_s + path.section(u'/', -1));
        return {{u"data"_s, QVariantMap{{u"card_data"_s, QVariantMap{{u"status"_s, 3}}},
                                        {u"accounts_data"_s, QVariantList{QVariantMap()}}}}};
    }
    [[nodiscard]] QVariantMap makeCheck(bool addBonusImpact) const override
    {
        calls.append(addBonusImpact ? u"check with bonus"_s : u"check"_s);
        return {};
    }
    [[nodiscard]] double bonusToMoney(double bonus) const override
    {
        calls.append(u"money"_s);
        return bonus;
    }
    [[nodiscard]] QSharedPointer<BonusImpact> prepareBonusImpact(const QList<QVariant>& /*positions*/,
                                                                 double /*total*/) const override
    {
        calls.append(u"impact"_s);
        return {};
    }
    [[nodiscard]] DocumentBonusRecord prepareBonusRecord(double /*amount*/) const override
    {
        calls.append(u"record"_s);
        return {};
    }
    [[nodiscard]] QString getOperationId(const QSharedPointer<DocumentCardRecord>& /*record*/,
                                         const QString& kind) const override
    {
        calls.append(kind);
        return {};
    }
    void setOperationId(const QSharedPointer<DocumentCardRecord>& /*record*/, const QString& kind,
                        const QString& /*id*/) const override
    {
        calls.append(u"new "_s + kind);
    }
    [[nodiscard]] QVariantMap makeAnonymousDocumentPartial() const override
    {
        calls.append(u"rest"_s);
        return {};
    }
    [[nodiscard]] QVariantMap
    makeAnonymousDocument(const QSharedPointer<AbstractDocument>& /*document*/) const override
    {
        calls.append(u"whole"_s);
        return {};
    }

    /// The calls since the last look.
    QStringList take() const { return std::exchange(calls, {}); }

private:
    mutable QStringList calls;
};

class VirtualCalls : public ReceiptWorld
{
protected:
    Replaced replaced;
};

TEST_F(VirtualCalls, AreWhatQueriesAreMadeOf)
{
    EXPECT_EQ(replaced.getCardStatus(u"77"_s), 3);
    EXPECT_THAT(replaced.take(), ElementsAre(u"get"_s));
    replaced.getUserInfo(card);
    EXPECT_THAT(replaced.take(), ElementsAre(u"get"_s, u"get"_s));
    (void)replaced.getCardNumbers(u"79001234567"_s);
    EXPECT_THAT(replaced.take(), ElementsAre(u"get"_s));
}

TEST_F(VirtualCalls, AreWhatSpendingIsMadeOf)
{
    (void)replaced.prePayment(1);
    EXPECT_THAT(replaced.take(), ElementsAre(u"check with bonus"_s, u"spend"_s, u"post pre-payment"_s,
                                             u"money"_s, u"record"_s));
    (void)replaced.forcePayment(1);
    EXPECT_THAT(replaced.take(), ElementsAre(u"check with bonus"_s, u"spend"_s, u"post force-payment-c2b"_s,
                                             u"money"_s, u"impact"_s));
    (void)replaced.payment(1);
    EXPECT_THAT(replaced.take(), ElementsAre(u"check with bonus"_s, u"spend"_s, u"post payment-c2b"_s));
    (void)replaced.confirmPayment(1, u"1"_s, 1);
    EXPECT_THAT(replaced.take(), ElementsAre(u"post confirm-payment-c2b"_s, u"money"_s, u"impact"_s));
}

TEST_F(VirtualCalls, AreWhatEarningAndCancellingAreMadeOf)
{
    (void)replaced.earnPoints(true);
    EXPECT_THAT(replaced.take(),
                ElementsAre(u"check"_s, u"earn"_s, u"post payment-b2c"_s, u"money"_s, u"record"_s));
    replaced.cancel(true);
    EXPECT_THAT(replaced.take(), ElementsAre(u"spend"_s, u"post cancel-payment"_s));
}

TEST_F(VirtualCalls, AreWhatRefusingIsMadeOf)
{
    replaced.sendMessageToQueue(card, u"1"_s, true);
    EXPECT_THAT(replaced.take(), ElementsAre(u"check with bonus"_s, u"spend"_s, u"new spend"_s));
    replaced.sendMessageToQueue(card, u"1"_s, false);
    EXPECT_THAT(replaced.take(), ElementsAre(u"check"_s, u"earn"_s, u"new earn"_s));
}

TEST_F(VirtualCalls, AreWhatAnonymousReceiptsAreMadeOf)
{
    replaced.sendAnonymousCheck(u"sale"_s);
    EXPECT_THAT(replaced.take(), ElementsAre(u"whole"_s));
    replaced.sendAnonymousCheck(u"backfull"_s);
    EXPECT_THAT(replaced.take(), ElementsAre(u"whole"_s));
    replaced.sendAnonymousCheck(u"salepartial"_s);
    EXPECT_THAT(replaced.take(), ElementsAre(u"rest"_s));
}

} // namespace

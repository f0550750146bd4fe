#include "tests/unit/client/receiptworld.h"

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Share = DocumentImpact::PositionSum;

class Impacts : public ReceiptWorld
{
protected:
    QList<Share> sharesOf(const QByteArray& positions)
    {
        const QVariantList list = QJsonDocument::fromJson(positions).toVariant().toList();
        return client.prepareBonusImpact(list, 10)->getPositionSums();
    }
};

TEST_F(Impacts, CarryWhatTheHostWantsToKnowOfTheDiscount)
{
    const auto totals = client.prepareBonusImpact({}, 12.5)->getTotals();
    EXPECT_EQ(totals->getCardRecord(), card);
    EXPECT_EQ(totals->getCardIndex(), QVariant(4));
    EXPECT_EQ(totals->getDateTime(), clock.now());
    EXPECT_EQ(totals->getDiscountType(), 5);
    EXPECT_EQ(totals->getDiscountMode(), 2);
    EXPECT_EQ(totals->getDiscountName(), u"Баллы KYRLoyalty"_s);
    EXPECT_EQ(totals->getDiscountObject(), 0);
    EXPECT_EQ(totals->getDiscountRate(), QVariant(12.5));
    EXPECT_EQ(totals->getDiscountSum(), 12.5);
    EXPECT_EQ(totals->getImpactSource(), 2);
    EXPECT_TRUE(totals->isMinPriceIgnored());
}

TEST_F(Impacts, OfAnEmptyListHaveATotalAndNoShares)
{
    EXPECT_THAT(sharesOf("[]"), IsEmpty());
    EXPECT_EQ(client.prepareBonusImpact({}, 3)->getTotals()->getDiscountSum(), 3.0);
}

TEST_F(Impacts, TakeThePositionNumberAsNumberOrText)
{
    EXPECT_THAT(sharesOf(R"([{"position":"3","discount_bonus":1.5},{"position":4,"discount_bonus":"2.25"}])"),
                ElementsAre(Share{3, 1.5}, Share{4, 2.25}));
}

TEST_F(Impacts, TakeMissingAndUnusableMembersForZero)
{
    EXPECT_THAT(
        sharesOf(R"([{"position":"2"},{"discount_bonus":7},"text",{"position":"x","discount_bonus":"y"}])"),
        ElementsAre(Share{2, 0}, Share{0, 7}, Share{0, 0}, Share{0, 0}));
}

TEST_F(Impacts, KeepTwoSharesOfOnePosition)
{
    EXPECT_THAT(sharesOf(R"([{"position":1,"discount_bonus":1},{"position":1,"discount_bonus":2}])"),
                ElementsAre(Share{1, 1}, Share{1, 2}));
}

TEST_F(Impacts, TakeSharesAsTheServiceSentThemWhateverTheRatio)
{
    client.bonusRatio = 10;
    EXPECT_THAT(sharesOf(R"([{"position":1,"discount_bonus":33.333}])"), ElementsAre(Share{1, 33.333}));
}

TEST_F(Impacts, BonusRecordNamesCardAmountCodeTimeAndShop)
{
    const DocumentBonusRecord record = client.prepareBonusRecord(7.5);
    EXPECT_EQ(record, (DocumentBonusRecord{u"2000000000017"_s, 7.5, 1200, clock.now(), u"shop-7"_s, 0}));
}

TEST_F(Impacts, BonusRecordOfNothingIsStillComplete)
{
    const DocumentBonusRecord record = client.prepareBonusRecord(0);
    EXPECT_EQ(record, (DocumentBonusRecord{u"2000000000017"_s, 0, 1200, clock.now(), u"shop-7"_s, 0}));
}

TEST_F(Impacts, LogNothing)
{
    (void)client.prepareBonusImpact({}, 1);
    (void)client.prepareBonusRecord(1);
    EXPECT_THAT(log(), IsEmpty());
}

} // namespace

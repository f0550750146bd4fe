#include "host/core/documentimpact.h"
#include "host/utils/serder.h"

#include <QDataStream>
#include <QIODevice>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

using Serder = serder::default_serder_type<BonusImpact>;

BonusImpact fullImpact()
{
    BonusImpact impact;
    const auto totals = impact.getTotals();
    totals->setCardIndex(3);
    totals->setDateTime(QDateTime(QDate(2024, 2, 29), QTime(12, 30, 15, 250)));
    totals->setDiscountType(EDiscountType::Bonus);
    totals->setDiscountMode(EDiscountMode::Sum);
    totals->setDiscountName(u"Скидка баллами"_s);
    totals->setDiscountObject(EDiscountObject::Position);
    totals->setDiscountRate(30.0);
    totals->setDiscountSum(30.03);
    totals->setImpactSource(EImpactSource::LoyaltySystem);
    totals->setMinPriceIgnored(true);
    impact.addDetailForPosition(2, 10.01);
    impact.addDetailForPosition(1, 20.02);
    return impact;
}

void expectEqual(const BonusImpact& read, const BonusImpact& written)
{
    EXPECT_EQ(*read.getTotals(), *written.getTotals());
    EXPECT_EQ(read.getPositionSums(), written.getPositionSums());
}

/// What comes out of the host's store for what went in.
QVariant stored(const QVariant& value)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << value;
    QDataStream in(bytes);
    QVariant result;
    in >> result;
    return result;
}

TEST(DocumentImpact, SaysNothingAtFirst)
{
    const DocumentImpact impact;
    ASSERT_NE(impact.getTotals(), nullptr);
    EXPECT_EQ(*impact.getTotals(), DocumentImpactDetail());
    EXPECT_TRUE(impact.getPositionSums().isEmpty());
    const DocumentImpactDetail detail;
    EXPECT_EQ(detail.getCardRecord(), nullptr);
    EXPECT_FALSE(detail.getCardIndex().isValid());
    EXPECT_FALSE(detail.getDateTime().isValid());
    EXPECT_EQ(detail.getDiscountType(), EDiscountType::None);
    EXPECT_EQ(detail.getDiscountMode(), EDiscountMode::None);
    EXPECT_TRUE(detail.getDiscountName().isEmpty());
    EXPECT_EQ(detail.getDiscountObject(), EDiscountObject::Document);
    EXPECT_FALSE(detail.getDiscountRate().isValid());
    EXPECT_EQ(detail.getDiscountSum(), 0);
    EXPECT_EQ(detail.getImpactSource(), EImpactSource::None);
    EXPECT_FALSE(detail.isMinPriceIgnored());
}

TEST(DocumentImpact, SharesTheTotalsThatItWasMadeOf)
{
    const auto totals = QSharedPointer<DocumentImpactDetail>::create();
    const BonusImpact impact(totals);
    EXPECT_EQ(impact.getTotals(), totals);
}

TEST(DocumentImpact, KeepsTheSharesInTheirOrderAndAPositionMoreThanOnce)
{
    DocumentImpact impact;
    impact.addDetailForPosition(2, 1.5);
    impact.addDetailForPosition(1, 2.5);
    impact.addDetailForPosition(2, 0.5);
    EXPECT_EQ(impact.getPositionSums(), (QList<DocumentImpact::PositionSum>{{2, 1.5}, {1, 2.5}, {2, 0.5}}));
}

TEST(BonusImpact, IsDescribedByTheMetaObjectOfItsBase)
{
    EXPECT_EQ(&BonusImpact::staticMetaObject, &DocumentImpact::staticMetaObject);
}

TEST(BonusImpact, IsReadBackWithEveryDetail)
{
    const BonusImpact impact = fullImpact();
    expectEqual(Serder::deserialize(Serder::serialize(impact)), impact);
    expectEqual(Serder::deserialize(Serder::serialize(BonusImpact())), BonusImpact());
}

TEST(BonusImpact, IsReadBackFromTheStoreWithEveryDetail)
{
    const BonusImpact impact = fullImpact();
    const BonusImpact read = Serder::deserialize(stored(Serder::serialize(impact)));
    expectEqual(read, impact);
    EXPECT_EQ(read.getTotals()->getDiscountRate().metaType(), QMetaType::fromType<double>());
    EXPECT_EQ(read.getTotals()->getCardIndex().metaType(), QMetaType::fromType<int>());
}

TEST(BonusImpact, IsStoredInPlainTypes)
{
    const QVariantMap written = stored(Serder::serialize(fullImpact())).toMap();
    const QVariantMap totals = written[u"totals"_s].toMap();
    EXPECT_EQ(totals[u"cardIndex"_s], QVariant(3));
    EXPECT_EQ(totals[u"dateTime"_s], QVariant(QDateTime(QDate(2024, 2, 29), QTime(12, 30, 15, 250))));
    EXPECT_EQ(totals[u"discountType"_s], QVariant(5));
    EXPECT_EQ(totals[u"discountMode"_s], QVariant(2));
    EXPECT_EQ(totals[u"discountObject"_s], QVariant(1));
    EXPECT_EQ(totals[u"impactSource"_s], QVariant(2));
    EXPECT_EQ(totals[u"discountSum"_s], QVariant(30.03));
    EXPECT_EQ(totals[u"discountSum"_s].metaType(), QMetaType::fromType<double>());
    EXPECT_EQ(totals[u"discountType"_s].metaType(), QMetaType::fromType<int>());
    EXPECT_EQ(written[u"positions"_s].toList(),
              (QVariantList{QVariantMap{{u"position"_s, 2}, {u"sum"_s, 10.01}},
                            QVariantMap{{u"position"_s, 1}, {u"sum"_s, 20.02}}}));
}

TEST(BonusImpact, IsWrittenWithoutTheCardRecord)
{
    const BonusImpact impact = fullImpact();
    impact.getTotals()->setCardRecord(
        QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, u"7000"_s));
    EXPECT_EQ(Serder::serialize(impact), Serder::serialize(fullImpact()));
    EXPECT_EQ(Serder::deserialize(Serder::serialize(impact)).getTotals()->getCardRecord(), nullptr);
}

TEST(BonusImpact, IsAFreshOneWhenReadFromNothing)
{
    expectEqual(Serder::deserialize(QVariant()), BonusImpact());
    expectEqual(Serder::deserialize(QVariantMap()), BonusImpact());
}

TEST(BonusImpact, IsReadBackInListsWithoutSharing)
{
    using ListSerder = serder::default_serder_type<QList<BonusImpact>>;
    const auto read = ListSerder::deserialize(ListSerder::serialize({fullImpact(), BonusImpact()}));
    ASSERT_EQ(read.size(), 2);
    expectEqual(read[0], fullImpact());
    expectEqual(read[1], BonusImpact());
    EXPECT_NE(read[0].getTotals(), read[1].getTotals());
}

} // namespace

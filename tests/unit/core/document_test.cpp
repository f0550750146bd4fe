#include "host/core/document.h"

#include <QDateTime>

#include <gtest/gtest.h>

#include <type_traits>

using namespace Qt::StringLiterals;

namespace {

QSharedPointer<GoodsItem> position(int posnum, double price, double quantity = 1)
{
    return QSharedPointer<GoodsItem>::create(posnum, u"4600"_s, u"Молоко"_s, price, quantity);
}

TEST(Document, HasTheTypeAndIdentifierThatItWasMadeOf)
{
    const Document sale(SaleReceipt, u"17-3"_s);
    EXPECT_EQ(sale.getDocumentType(), SaleReceipt);
    EXPECT_EQ(sale.getIdentifier(), u"17-3"_s);
    EXPECT_EQ(Document(ReturnReceipt, u"17-4"_s).getDocumentType(), ReturnReceipt);
}

TEST(Document, TellsItsTypeAsTheHostsPlainCode)
{
    const AbstractDocument& document = Document(ReturnReceipt, u"17-4"_s);
    const auto type = document.getDocumentType();
    static_assert(std::is_same_v<decltype(type), const int>, "plug-ins are compiled against this signature");
    EXPECT_EQ(type, 25);
}

TEST(Document, IsReportedUnderItsIdentifierUnlessAnotherIsSet)
{
    Document document(ReturnReceipt, u"17-4"_s);
    EXPECT_EQ(document.getReturnIdentifier(), u"17-4"_s);
    document.setReturnIdentifier(u"R-17-4"_s);
    EXPECT_EQ(document.getReturnIdentifier(), u"R-17-4"_s);
    EXPECT_EQ(document.getIdentifier(), u"17-4"_s);
}

TEST(Document, RefersToASaleOnlyWhenItIsAReturn)
{
    EXPECT_FALSE(Document(SaleReceipt, u"17-3"_s).getSaleDocumentId().isValid());
    Document document(ReturnReceipt, u"17-4"_s);
    document.setSaleDocumentId(173);
    EXPECT_EQ(document.getSaleDocumentId(), QVariant(173));
}

TEST(Document, KeepsItsPositionsInTheOrderOfTheReceipt)
{
    Document document(SaleReceipt, u"17-3"_s);
    const auto third = position(3, 1);
    const auto first = position(1, 2);
    document.addGoodsItem(third);
    document.addGoodsItem(first);
    EXPECT_EQ(document.getGoodsItems(), (QList<QSharedPointer<GoodsItem>>{third, first}));
}

TEST(Document, FindsAPositionByItsNumber)
{
    Document document(SaleReceipt, u"17-3"_s);
    const auto third = position(3, 1);
    document.addGoodsItem(position(1, 2));
    document.addGoodsItem(third);
    EXPECT_EQ(document.getGoodsItemByPosnum(3), third);
    EXPECT_EQ(document.getGoodsItemByPosnum(2), nullptr);
    EXPECT_EQ(document.getGoodsItemByPosnum(0), nullptr);
}

TEST(Document, CostsWhatItsPositionsCost)
{
    Document document(SaleReceipt, u"17-3"_s);
    EXPECT_EQ(document.getSum(), 0);
    for (int posnum = 1; posnum <= 10; ++posnum)
        document.addGoodsItem(position(posnum, 0.1));
    EXPECT_EQ(document.getSum(), 1);
    document.getGoodsItemByPosnum(4)->setDiscount(0.05);
    document.getGoodsItemByPosnum(7)->setBonusImpactSum(0.02);
    EXPECT_EQ(document.getSum(), 0.93);
}

TEST(Document, SumsUpAllDiscountsOfAllPositions)
{
    Document document(SaleReceipt, u"17-3"_s);
    EXPECT_EQ(document.getDiscountSum(), 0);
    for (int posnum = 1; posnum <= 3; ++posnum) {
        document.addGoodsItem(position(posnum, 5));
        document.getGoodsItemByPosnum(posnum)->setDiscount(0.1);
    }
    EXPECT_EQ(document.getDiscountSum(), 0.3);
    document.getGoodsItemByPosnum(2)->setBonusImpactSum(1.5);
    EXPECT_EQ(document.getDiscountSum(), 1.8);
}

TEST(Document, SharesTheCardRecordOfEachKind)
{
    Document document(SaleReceipt, u"17-3"_s);
    EXPECT_FALSE(document.hasCardRecord(KyrLoyaltySystem));
    EXPECT_EQ(document.getCardRecord(KyrLoyaltySystem), nullptr);

    const auto record = QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, u"17"_s);
    document.setCardRecord(record);
    EXPECT_TRUE(document.hasCardRecord(KyrLoyaltySystem));
    EXPECT_EQ(document.getCardRecord(KyrLoyaltySystem), record);
    EXPECT_FALSE(document.hasCardRecord(NoLoyaltySystem));
    EXPECT_EQ(document.getCardRecord(NoLoyaltySystem), nullptr);
}

TEST(Document, PutsACardRecordInThePlaceOfAnEarlierOneOfItsKind)
{
    Document document(SaleReceipt, u"17-3"_s);
    const auto other = QSharedPointer<DocumentCardRecord>::create(NoLoyaltySystem, u"1"_s);
    const auto later = QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, u"18"_s);
    document.setCardRecord(other);
    document.setCardRecord(QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, u"17"_s));
    document.setCardRecord(later);
    EXPECT_EQ(document.getCardRecord(KyrLoyaltySystem), later);
    EXPECT_EQ(document.getCardRecord(NoLoyaltySystem), other);
}

TEST(Document, TurnsEachFlagOnAndOff)
{
    Document document(SaleReceipt, u"17-3"_s);
    EXPECT_FALSE(document.isFlagSet(LoyaltyCardPresented));
    document.setFlag(LoyaltyCardPresented);
    document.setFlag(3);
    EXPECT_TRUE(document.isFlagSet(LoyaltyCardPresented));
    document.setFlag(LoyaltyCardPresented, false);
    EXPECT_FALSE(document.isFlagSet(LoyaltyCardPresented));
    EXPECT_TRUE(document.isFlagSet(3));
}

TEST(Document, KeepsTheDataOfEachPluginApart)
{
    Document document(SaleReceipt, u"17-3"_s);
    document.setPluginData(u"one"_s, u"key"_s, 1);
    document.setPluginData(u"other"_s, u"key"_s, u"2"_s);
    EXPECT_EQ(document.getPluginData(u"one"_s, u"key"_s, {}), QVariant(1));
    EXPECT_EQ(document.getPluginData(u"other"_s, u"key"_s, {}), QVariant(u"2"_s));
}

TEST(Document, GivesTheDefaultForPluginDataThatNobodySet)
{
    Document document(SaleReceipt, u"17-3"_s);
    EXPECT_EQ(document.getPluginData(u"one"_s, u"key"_s, 5), QVariant(5));
    document.setPluginData(u"one"_s, u"key"_s, 1);
    EXPECT_EQ(document.getPluginData(u"one"_s, u"another"_s, 5), QVariant(5));
    EXPECT_FALSE(document.getPluginData(u"other"_s, u"key"_s, {}).isValid());
}

TEST(Document, KeepsTheTypesOfPluginData)
{
    Document document(SaleReceipt, u"17-3"_s);
    const QVariantMap nested{{u"points"_s, 1.0}, {u"when"_s, QDateTime(QDate(2024, 2, 29), QTime(1, 2))}};
    for (const QVariant& value : {QVariant(1), QVariant(1.0), QVariant(true), QVariant(u"1"_s),
                                  QVariant(nested), QVariant(QVariantList{1, u"1"_s}), QVariant()}) {
        document.setPluginData(u"one"_s, u"key"_s, value);
        const QVariant kept = document.getPluginData(u"one"_s, u"key"_s, u"default"_s);
        EXPECT_EQ(kept, value);
        EXPECT_EQ(kept.metaType(), value.metaType());
    }
}

} // namespace

#include "till/checkout/receiptmarks.h"

#include "host/core/document.h"
#include "till/checkout/receiptsums.h"

#include <gmock/gmock.h>

#include <limits>

using namespace Qt::StringLiterals;

namespace till {

TEST(ReceiptMarks, AreReadAsEarlierTillsHaveWrittenThem)
{
    const QList<std::pair<State, QString>> all{
        {State::Paying, u"paying"_s}, {State::Settled, u"settled"_s}, {State::Abandoned, u"abandoned"_s}};
    for (const auto& [state, word] : all) {
        Document receipt(SaleReceipt, u"R-1"_s);
        EXPECT_EQ(markedState(receipt), std::nullopt);
        receipt.setPluginData(u"Till"_s, u"stage"_s, word);
        EXPECT_EQ(markedState(receipt), state) << word.toStdString();
        Document other(SaleReceipt, u"R-2"_s);
        setMarkedState(other, state);
        EXPECT_EQ(other.getPluginData(u"Till"_s, u"stage"_s, {}), word);
        setMarkedState(other, std::nullopt);
        EXPECT_EQ(markedState(other), std::nullopt);
    }
    Document unheardOf(SaleReceipt, u"R-3"_s);
    unheardOf.setPluginData(u"Till"_s, u"stage"_s, u"on the moon"_s);
    EXPECT_EQ(markedState(unheardOf), std::nullopt);
}

TEST(ReceiptMarks, CountTheDiscountsThatAreOnTheReceipt)
{
    Document receipt(SaleReceipt, u"R-1"_s);
    EXPECT_EQ(appliedImpacts(receipt), 0);
    receipt.setPluginData(u"Till"_s, u"appliedImpacts"_s, 2);
    EXPECT_EQ(appliedImpacts(receipt), 2) << "as earlier tills have written it";
    setAppliedImpacts(receipt, 1);
    EXPECT_EQ(receipt.getPluginData(u"Till"_s, u"appliedImpacts"_s, {}), 1);
}

TEST(ReceiptSums, AddUpTheDiscountsOfThePositionsInHundredths)
{
    Document receipt(SaleReceipt, u"R-1"_s);
    EXPECT_EQ(bonusDiscountOf(receipt), 0);
    for (const int posnum : {1, 2}) {
        const auto item = QSharedPointer<GoodsItem>::create(posnum, u"1"_s, u"Чай"_s, 200, 1);
        item->setBonusImpactSum(10.25 * posnum);
        receipt.addGoodsItem(item);
    }
    EXPECT_EQ(bonusDiscountOf(receipt), 3075);
    receipt.getGoodsItemByPosnum(1)->setBonusImpactSum(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(bonusDiscountOf(receipt), std::nullopt) << "nothing is made of what cannot be counted";
}

TEST(ReceiptSums, TellWhatTheReceiptEarnedOnlyWhenSomebodySaid)
{
    Document receipt(SaleReceipt, u"R-1"_s);
    EXPECT_EQ(earnedBy(receipt), std::nullopt) << "it has no card";
    const auto record = QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, u"1"_s);
    receipt.setCardRecord(record);
    EXPECT_EQ(earnedBy(receipt), std::nullopt) << "nobody was asked";
    record->setPointsForEarn(12.5);
    EXPECT_EQ(earnedBy(receipt), 1250);
}

} // namespace till

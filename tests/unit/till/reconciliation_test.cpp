#include "till/audit/reconciliation.h"
#include "till/checkout/receiptsums.h"

#include "host/core/document.h"
#include "till/cli/usageerror.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace till {

namespace {

const QString cardNumber = u"2000000000055"_s;

QVariantMap operation(int n, const QString& kind, const QString& check, double points, int root = 0)
{
    return {{u"n"_s, n},
            {u"operation"_s, kind},
            {u"card"_s, cardNumber},
            {u"check_identifier"_s, check},
            {u"points"_s, points},
            {u"root"_s, root}};
}

Ledger ledgerOf(const QVariantList& operations, const Ratio& ratio = {})
{
    return Ledger({{u"operations"_s, operations}}, ratio);
}

/// A receipt of one position with that bonus discount.
BookedReceipt receiptOf(EDocumentType type, double bonusDiscount, const QVariant& earned = {})
{
    const auto document = QSharedPointer<Document>::create(type, u"R-1"_s);
    const auto item = QSharedPointer<GoodsItem>::create(1, u"1"_s, u"Чай"_s, 300, 1);
    item->setBonusImpactSum(bonusDiscount);
    document->addGoodsItem(item);
    const auto record = QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, cardNumber);
    record->setPointsForEarn(earned);
    document->setCardRecord(record);
    return {.document = document, .closed = true};
}

std::vector<std::string> differences(const QVariantList& operations, const BookedReceipt& booked,
                                     const Ratio& ratio = {})
{
    std::vector<std::string> texts;
    for (const QString& text : ledgerOf(operations, ratio).differences(u"R-1"_s, booked))
        texts.push_back(text.toStdString());
    return texts;
}

const QString spending = u"spending"_s;
const QString earning = u"earning"_s;
const QString refusal = u"refusal"_s;

} // namespace

TEST(TillReconciliation, ASaleAgreesToTheHundredth)
{
    const BookedReceipt sale = receiptOf(SaleReceipt, 40, 13);
    EXPECT_THAT(
        differences({operation(1, spending, u"R-1"_s, 40), operation(2, earning, u"R-1"_s, 13)}, sale),
        IsEmpty());
    EXPECT_THAT(
        differences({operation(1, spending, u"R-1"_s, 40.01), operation(2, earning, u"R-1"_s, 12.99)}, sale),
        ElementsAre("R-1, card …0055: spent 40.00 at the till, 40.01 in the ledger",
                    "R-1, card …0055: earned 13.00 at the till, 12.99 in the ledger"));
}

TEST(TillReconciliation, AReturnTakesBackWhatItsPartOfTheSaleHasEarned)
{
    BookedReceipt back = receiptOf(ReturnReceipt, 0);
    const auto sale = QSharedPointer<Document>::create(SaleReceipt, u"R-0"_s);
    sale->addGoodsItem(QSharedPointer<GoodsItem>::create(1, u"1"_s, u"Чай"_s, 300, 2));
    back.sale = sale;
    const auto books = [](double taken) {
        return QVariantList{operation(1, earning, u"R-0"_s, 30), operation(2, refusal, u"R-1"_s, taken, 1)};
    };
    EXPECT_THAT(differences(books(15), back), IsEmpty());
    EXPECT_THAT(differences(books(14.99), back), IsEmpty()) << "each position's part is cut";
    EXPECT_THAT(
        differences(books(14.98), back),
        ElementsAre(
            "R-1, card …0055: earned points taken back: 15.00 for what came back, 14.98 in the ledger"));
    EXPECT_THAT(
        differences(books(15), receiptOf(SaleReceipt, 0)),
        testing::Contains("R-1, card …0055: 15.00 earned points taken back in the ledger, none at the till"));
}

TEST(TillReconciliation, AReceiptWithoutACardIsReportedOnce)
{
    const auto document = QSharedPointer<Document>::create(SaleReceipt, u"R-1"_s);
    document->addGoodsItem(QSharedPointer<GoodsItem>::create(1, u"1"_s, u"Чай"_s, 300, 1));
    BookedReceipt sale{.document = document, .closed = true};
    const auto reported = [](double amount) {
        const QVariantMap receipt{{u"receipt_amount"_s, amount}};
        const QVariantMap report{
            {u"method"_s, u"POST"_s}, {u"receipt_number"_s, u"R-1"_s}, {u"receipt"_s, receipt}};
        return Ledger({{u"anonymous"_s, QVariantList{report}}}, {});
    };
    EXPECT_THAT(reported(300).differences(u"R-1"_s, sale), IsEmpty());
    EXPECT_THAT(reported(299).differences(u"R-1"_s, sale),
                ElementsAre(u"R-1, no card: reported 300.00 at the till, 299.00 in the ledger"_s));
    EXPECT_THAT(reported(300).differences(u"R-1"_s, {}),
                ElementsAre(u"R-1, no card: reported to the service, unknown to the till"_s));
    EXPECT_THAT(Ledger({}, {}).differences(u"R-1"_s, sale),
                ElementsAre(u"R-1, no card: not reported to the service"_s));
    sale.awaited = true;
    EXPECT_THAT(Ledger({}, {}).differences(u"R-1"_s, sale), IsEmpty());
}

TEST(TillReconciliation, PointsAreWorthWhatTheRatioSays)
{
    // 12.37 points are 1.23 of money: the plug-in cuts, and can tell no more.
    EXPECT_THAT(differences({operation(1, spending, u"R-1"_s, 400), operation(2, earning, u"R-1"_s, 12.37)},
                            receiptOf(SaleReceipt, 40, 1.23), {.points = 10, .money = 1}),
                IsEmpty());
}

TEST(TillReconciliation, AnEarningIsMissedUnlessItIsStillToBeSent)
{
    BookedReceipt sale = receiptOf(SaleReceipt, 0);
    EXPECT_THAT(differences({}, sale), ElementsAre("R-1, card …0055: no earning in the ledger"));
    sale.awaited = true;
    EXPECT_THAT(differences({}, sale), IsEmpty());
    EXPECT_THAT(differences({operation(1, earning, u"R-1"_s, 5)}, sale), IsEmpty()) << "nobody told how much";
}

TEST(TillReconciliation, TwoEarningsOfOneSaleAreTooMany)
{
    EXPECT_THAT(differences({operation(1, earning, u"R-1"_s, 5), operation(2, earning, u"R-1"_s, 5)},
                            receiptOf(SaleReceipt, 0, 5)),
                ElementsAre("R-1, card …0055: 2 earnings in the ledger"));
}

TEST(TillReconciliation, AnAbandonedSpendingMustBeCanceled)
{
    const QVariantList spent{operation(1, spending, u"R-1"_s, 40)};
    EXPECT_THAT(differences(spent, {}),
                ElementsAre("R-1, card …0055: spent 0.00 at the till, 40.00 in the ledger"));
    EXPECT_THAT(differences(spent, {.awaited = true}), IsEmpty());
    EXPECT_THAT(differences(spent + QVariantList{operation(2, u"cancellation"_s, {}, 40, 1)}, {}), IsEmpty());
}

TEST(TillReconciliation, AReturnGivesBackItsOwnBonusDiscount)
{
    const QVariantList before{operation(1, spending, u"R-0"_s, 40), operation(2, earning, u"R-0"_s, 13)};
    const QVariantList refused{operation(3, refusal, u"R-1"_s, 6.5, 2),
                               operation(4, refusal, u"R-1"_s, 20, 1)};
    EXPECT_THAT(differences(before + refused, receiptOf(ReturnReceipt, 20)), IsEmpty());
    EXPECT_THAT(differences(before + refused, receiptOf(ReturnReceipt, 20.01)),
                ElementsAre("R-1, card …0055: given back 20.01 at the till, 20.00 in the ledger"));

    BookedReceipt waiting = receiptOf(ReturnReceipt, 20);
    EXPECT_THAT(differences(before, waiting),
                ElementsAre("R-1, card …0055: given back 20.00 at the till, 0.00 in the ledger"));
    waiting.awaited = true;
    EXPECT_THAT(differences(before, waiting), IsEmpty());
}

TEST(TillReconciliation, AReturnMayBeAHundredthOffForEachPartThatTheServiceWasNotToldOf)
{
    const QVariantList books{operation(1, spending, u"R-0"_s, 40), operation(2, earning, u"R-0"_s, 13),
                             operation(3, refusal, u"R-1"_s, 20, 1)};
    BookedReceipt back = receiptOf(ReturnReceipt, 20.02);
    back.untold = 1;
    EXPECT_THAT(differences(books, back),
                ElementsAre("R-1, card …0055: given back 20.02 at the till, 20.00 in the ledger"));
    back.untold = 2;
    EXPECT_THAT(differences(books, back), IsEmpty());
}

TEST(TillReconciliation, AReturnMayBeACutOffWherePointsAreNotMoney)
{
    // 33.33 of money are 333.30 points: 166.65 of them are worth 16.665, which is 16.66 twice.
    const QVariantList books{operation(1, spending, u"R-0"_s, 333.3),
                             operation(2, refusal, u"R-1"_s, 166.65, 1)};
    const Ratio ratio{.points = 10, .money = 1};
    EXPECT_THAT(differences(books, receiptOf(ReturnReceipt, 16.67), ratio), IsEmpty());
    EXPECT_THAT(differences(books, receiptOf(ReturnReceipt, 16.68), ratio),
                ElementsAre("R-1, card …0055: given back 16.68 at the till, 16.66 in the ledger"));
}

TEST(TillReconciliation, WhatIsNoAmountIsADifferenceOrNoLedger)
{
    EXPECT_THAT(differences({operation(1, spending, u"R-1"_s, 40)}, receiptOf(SaleReceipt, 1e300)),
                testing::Contains("R-1, card …0055: spent no amount at the till, 40.00 in the ledger"));
    EXPECT_THROW(ledgerOf({operation(1, spending, u"R-1"_s, 1e300)}), UsageError);
    EXPECT_EQ(bonusDiscountOf(*receiptOf(SaleReceipt, 1e300).document), std::nullopt);
    EXPECT_EQ(earnedBy(*receiptOf(SaleReceipt, 0, 1e300).document), std::nullopt);
}

TEST(TillReconciliation, WhatIsTakenBackIsReckonedExactlyHoweverGreatItIs)
{
    BookedReceipt back = receiptOf(ReturnReceipt, 0);
    const auto sale = QSharedPointer<Document>::create(SaleReceipt, u"R-0"_s);
    sale->addGoodsItem(QSharedPointer<GoodsItem>::create(1, u"1"_s, u"Остров"_s, 6e13, 1));
    back.sale = sale;
    const auto island = QSharedPointer<Document>::create(ReturnReceipt, u"R-1"_s);
    island->addGoodsItem(QSharedPointer<GoodsItem>::create(1, u"1"_s, u"Остров"_s, 3e13, 1));
    island->setCardRecord(back.document->getCardRecord(KyrLoyaltySystem));
    back.document = island;
    EXPECT_THAT(
        differences({operation(1, earning, u"R-0"_s, 3e12), operation(2, refusal, u"R-1"_s, 1.5e12, 1)},
                    back),
        IsEmpty());
}

TEST(TillReconciliation, AnotherCardIsADifference)
{
    QVariantMap other = operation(1, earning, u"R-1"_s, 5);
    other.insert(u"card"_s, u"2000000000017"_s);
    EXPECT_THAT(differences({other}, receiptOf(SaleReceipt, 0, 5)),
                ElementsAre("R-1, card …0055: card …0017 in the ledger"));
}

} // namespace till

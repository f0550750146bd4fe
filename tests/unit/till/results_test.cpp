#include "till/checkout/results.h"

#include "host/core/document.h"
#include "host/utils/basicexception.h"
#include "till/cli/usageerror.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;

namespace till {

TEST(TillResults, TellAFailureInItsOwnWordsAndLetOnlyUsageErrorsThrough)
{
    Result done;
    bool ran = false;
    carryOut(done, [&ran] { ran = true; });
    EXPECT_TRUE(ran);
    EXPECT_TRUE(done.ok);
    EXPECT_EQ(done.error, QString());

    Result failed;
    carryOut(failed, [] { throw BasicException(tr::Tr::untranslated(u"нет связи"_s)); });
    EXPECT_FALSE(failed.ok);
    EXPECT_EQ(failed.error, u"нет связи"_s);

    Result unforeseen;
    carryOut(unforeseen, [] { throw std::runtime_error("нет места"); });
    EXPECT_FALSE(unforeseen.ok);
    EXPECT_EQ(unforeseen.error, u"нет места"_s);

    Result none;
    EXPECT_THROW(carryOut(none, [] { throw UsageError(u"another till"_s); }), UsageError);
}

TEST(TillResults, HaveTheLinesOfAReceiptAsTheyWereEntered)
{
    Document receipt(SaleReceipt, u"R"_s);
    const QString longName = u"Масло сливочное «Крестьянское» 72,5 %"_s;
    for (const int posnum : {1, 2}) {
        const auto item = QSharedPointer<GoodsItem>::create(posnum, u"4605"_s, longName, 200, 2.5);
        item->setDiscount(30);
        receipt.addGoodsItem(item);
    }
    const QList<Line> lines = linesOf(receipt);
    ASSERT_EQ(lines.size(), 2);
    EXPECT_EQ(lines[1].articul, u"4605"_s);
    EXPECT_EQ(lines[1].name, longName);
    EXPECT_EQ(lines[1].price, 200);
    EXPECT_EQ(lines[1].quantity, 2.5);
    EXPECT_EQ(lines[1].discount, 30);
}

TEST(TillResults, OfNothingEnteredAreNothing)
{
    EXPECT_EQ(Line().price, 0);
    EXPECT_EQ(Line().quantity, 0);
    EXPECT_EQ(Line().discount, 0);
    EXPECT_EQ(ReturnLine().posnum, 0);
    EXPECT_EQ(ReturnLine().quantity, 0);
    EXPECT_EQ(Payment().earning, Payment::Earning::None);
    EXPECT_FALSE(Payment().earnedIsRounded);
}

} // namespace till

#include "till/checkout/screen.h"
#include "till/cli/texttable.h"

#include <gmock/gmock.h>

#include <clocale>
#include <limits>

using namespace Qt::StringLiterals;

namespace till {

TEST(TillScreen, AmountsHaveTwoDecimalsAndThousandsApart)
{
    EXPECT_EQ(screen::amount(0), u"0,00"_s);
    EXPECT_EQ(screen::amount(0.05), u"0,05"_s);
    EXPECT_EQ(screen::amount(999.99), u"999,99"_s);
    EXPECT_EQ(screen::amount(1000), u"1 000,00"_s);
    EXPECT_EQ(screen::amount(1234567.8), u"1 234 567,80"_s);
    EXPECT_EQ(screen::amount(-1000.5), u"−1 000,50"_s);
    EXPECT_EQ(screen::amount(1e15), u"1e+15"_s) << "what has no hundredths is shown as the number it is";
    EXPECT_EQ(screen::amount(std::numeric_limits<double>::quiet_NaN()), u"nan"_s);
}

TEST(TillScreen, WidthCountsColumnsOfTheTerminal)
{
    EXPECT_EQ(textWidth(u"Молоко"_s), 6);
    EXPECT_EQ(textWidth(u"Йод"_s), 3);
    EXPECT_EQ(textWidth(u"И\u0306од"_s), 3) << "a letter with its breve apart";
    EXPECT_EQ(textWidth(u"茶"_s), 2);
}

TEST(TillScreen, WidthIsTheSameInEveryEnvironment)
{
    const QByteArray before = setlocale(LC_ALL, nullptr);
    setlocale(LC_ALL, "C");
    EXPECT_EQ(textWidth(u"И\u0306од 茶"_s), 6);
    setlocale(LC_ALL, before.constData());
}

TEST(TillScreen, ReceiptColumnsStandBelowEachOther)
{
    Document receipt(SaleReceipt, u"R-1"_s);
    receipt.addGoodsItem(QSharedPointer<GoodsItem>::create(9, u"1"_s, u"И\u0306од"_s, 5, 1));
    receipt.addGoodsItem(QSharedPointer<GoodsItem>::create(10, u"2"_s, u"Чай 茶"_s, 1500, 0.25));
    EXPECT_EQ(screen::receipt(receipt).join(u'\n').toStdString(),
              "Чек R-1\n"
              " 9  И\u0306од        1 ×     5,00    5,00\n"
              "10  Чай 茶  0,25 × 1 500,00  375,00\n"
              "    Итого                    380,00");
}

} // namespace till

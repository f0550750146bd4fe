#include "host/utils/masking.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using utils::maskNumbers;

TEST(MaskNumbers, LeavesOnlyTheLastFourOfACardNumber)
{
    EXPECT_EQ(maskNumbers(u"7000000000000017"_s), u"…0017"_s);
}

TEST(MaskNumbers, MasksFromSevenDigitsOn)
{
    EXPECT_EQ(maskNumbers(u"123456"_s), u"123456"_s);
    EXPECT_EQ(maskNumbers(u"1234567"_s), u"…4567"_s);
}

TEST(MaskNumbers, KeepsEverythingAroundTheNumbers)
{
    EXPECT_EQ(maskNumbers(u"/v1/cards/7000000000000017/phones/+79991234567?page=25"_s),
              u"/v1/cards/…0017/phones/+…4567?page=25"_s);
}

TEST(MaskNumbers, JudgesEachRunByItself)
{
    EXPECT_EQ(maskNumbers(u"123456-1234567-12"_s), u"123456-…4567-12"_s);
}

TEST(MaskNumbers, LeavesATextWithoutNumbersAsItIs)
{
    EXPECT_EQ(maskNumbers({}), QString());
    EXPECT_EQ(maskNumbers(u"Карта не найдена"_s), u"Карта не найдена"_s);
}

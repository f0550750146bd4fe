#include "host/utils/masking.h"

#include <QStringList>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using utils::maskNumbers;
using utils::maskPath;
using utils::maskWhole;

TEST(MaskNumbers, LeavesOnlyTheLastFourOfACardNumber)
{
    EXPECT_EQ(maskNumbers(u"7000000000000017"_s), u"…0017"_s);
}

TEST(MaskNumbers, MasksFromSevenDigitsOn)
{
    EXPECT_EQ(maskNumbers(u"123456"_s), u"123456"_s);
    EXPECT_EQ(maskNumbers(u"1234567"_s), u"…4567"_s);
    EXPECT_EQ(maskNumbers(u"123-456"_s), u"123-456"_s);
    EXPECT_EQ(maskNumbers(u"123-4567"_s), u"…4567"_s);
}

TEST(MaskNumbers, KeepsEverythingAroundTheNumbers)
{
    EXPECT_EQ(maskNumbers(u"/v1/cards/7000000000000017/phones/+79991234567?page=25"_s),
              u"/v1/cards/…0017/phones/+…4567?page=25"_s);
    EXPECT_EQ(maskNumbers(u"http://127.0.0.1:43857/2000000000017"_s), u"http://127.0.0.1:43857/…0017"_s);
    EXPECT_EQ(maskNumbers(u"Карта 2000 0000 0000 17, телефон 8-900-123-45-67."_s),
              u"Карта …0017, телефон …4567."_s);
}

TEST(MaskNumbers, MasksThemHoweverTheyAreWritten)
{
    const QStringList written{
        u"+7 (900) 123-45-67"_s,
        u"8 900 123 45 67"_s,
        u"8-900-123-45-67"_s,
        u"8.900.123.45.67"_s,
        u"8(900)1234567"_s,
        u"8/900/123/45/67"_s,
        u"8_900_123_45_67"_s,
        u"7 ( 900 ) 123 - 45 - 67"_s,
        u"8\u00A0900\u00A0123\u00A045\u00A067"_s, // no-break spaces
        u"8\u202F900\u202F123\u202F45\u202F67"_s, // narrow ones
        u"8\u2009900\u2009123\u200945\u200967"_s, // thin spaces
        u"8\u2010900\u2011123\u201345\u201467"_s, // hyphens and dashes
        u"8\u2212900\u2212123\u221245\u221267"_s, // minus signs
        u"8\u00AD900\u200B123\u202E45\uFEFF67"_s, // what nobody sees
        u"8\t900\x1b"
        u"123\r45\x7f"
        u"67"_s,                                  // controls
        u"8\uFFFD900\uFFFD123\uFFFD45\uFFFD67"_s, // the same, replaced
        u"8\u2028900\u2029123\u0301"
        u"45\uFE0F\u20E3"
        u"67"_s,                         // lines, marks and keys
        u"8%20900%C2%A0123%2045%2067"_s, // in an address
        u"8 900 123  45   67"_s,
        u"123-45-67"_s,
    };
    for (const QString& number : written) {
        const QString shown = maskNumbers(u"a "_s + number + u" b"_s);
        EXPECT_EQ(shown, number.startsWith(u'+') ? u"a +…4567 b"_s : u"a …4567 b"_s) << number.toStdString();
    }
}

TEST(MaskNumbers, KnowsTheDigitsOfEveryScript)
{
    EXPECT_EQ(maskNumbers(u"٢٠٠٠٠٠٠٠٠٠٠١٧"_s), u"…٠٠١٧"_s);
    EXPECT_EQ(maskNumbers(u"２０００ ００００ ００００ １７"_s), u"…００１７"_s);
    EXPECT_EQ(maskNumbers(u"𝟐𝟎𝟎𝟎𝟎𝟎𝟎𝟎𝟎𝟎𝟏𝟕"_s), u"…𝟎𝟎𝟏𝟕"_s);
    EXPECT_EQ(maskNumbers(u"²⁰⁰⁰⁰⁰⁰①⑦"_s), u"…⁰⁰①⑦"_s);
}

TEST(MaskNumbers, TakesDigitsTogetherThatStandTogether)
{
    EXPECT_EQ(maskNumbers(u"123456-1234567-12"_s), u"…6712"_s);
    EXPECT_EQ(maskNumbers(u"123456, 1234567, 12"_s), u"123456, …4567, 12"_s);
    EXPECT_EQ(maskNumbers(u"123456\n1234567\n12"_s), u"123456\n…4567\n12"_s);
    EXPECT_EQ(maskNumbers(u"123456    1234567"_s), u"123456    …4567"_s);
}

TEST(MaskNumbers, LeavesWhatIsPlainlySomethingElse)
{
    for (const QString& text : {
             u"2026-11-21"_s,
             u"21.11.2026"_s,
             u"11/21 or 21/11/2026"_s,
             u"2026-11-21 19:13:02"_s,
             u"21.11.2026 19:13"_s,
             u"2026-11-21T19:13:02Z"_s,
             u"2026-11-21T19:13:02.123Z info    [till]"_s,
             u"чек 261121-191302, 261121-191303-B"_s,
             u"kyr-loyalty-support-20261121-191302.tar.gz"_s,
             u"till.sqlite.damaged-20261121T191302Z"_s,
             u"R-1, R-17 и V-42"_s,
             u"1234.56, 123456.78, 123456,78"_s,
             u"1 234 567,50 ₽ и 12 345 678.90"_s,
             u"1\u00A0234\u00A0567,50"_s,
             u"http://127.0.0.1:8790/v2/partner"_s,
             u"192.168.100.200:8790"_s,
             u"http://192.168.100.200:43857/42/card-info"_s,
             u"SQLite 3.40.1, libcurl 7.88.1, Qt 6.4.2"_s,
             u"libKYRLoyalty.so.0.1.0"_s,
             u"123e4567-e89b-12d3-a456-426614174000"_s,
             u"12 мс, 345 байт, HTTP 422"_s,
             u"Карта не найдена"_s,
             QString(),
         })
        EXPECT_EQ(maskNumbers(text), text) << text.toStdString();
}

TEST(MaskNumbers, MasksWhatOnlyLooksABitLikeSomethingElse)
{
    EXPECT_EQ(maskNumbers(u"2026-13-21"_s), u"…1321"_s) << "no month";
    EXPECT_EQ(maskNumbers(u"2026-11-2119"_s), u"…2119"_s) << "more than a date";
    EXPECT_EQ(maskNumbers(u"2026-11-21 1234"_s), u"…1234"_s) << "a date and no time";
    EXPECT_EQ(maskNumbers(u"261121-191362"_s), u"…1362"_s) << "no second";
    EXPECT_EQ(maskNumbers(u"7.900.123.45"_s), u"…2345"_s) << "no address";
    EXPECT_EQ(maskNumbers(u"1234567.50"_s), u"…6750"_s) << "too many digits at a stretch";
    EXPECT_EQ(maskNumbers(u"1 234 567"_s), u"…4567"_s) << "no hundredths";
    EXPECT_EQ(maskNumbers(u"+1234.56, +123456.78"_s), u"+1234.56, +…5678"_s) << "dialled";
    EXPECT_EQ(maskNumbers(u"20000000-0000-0000-0000-000000000055"_s), u"…0055"_s) << "digits alone";
}

TEST(MaskNumbers, MasksNothingTwice)
{
    for (const QString& text : {u"Карта 2000 0000 0000 17"_s, u"+7 (900) 123-45-67, R-1"_s})
        EXPECT_EQ(maskNumbers(maskNumbers(text)), maskNumbers(text));
}

TEST(MaskNumbers, TakesNoLongerThanTheText)
{
    const QString line = u"2026-11-21T19:13:02Z 2000 0000 0000 17\n"_s;
    EXPECT_EQ(maskNumbers(line.repeated(20'000)), u"2026-11-21T19:13:02Z …0017\n"_s.repeated(20'000));
}

TEST(MaskWhole, HidesWhateverANumberIsWrittenWith)
{
    EXPECT_EQ(maskWhole(u"2000000000017"_s), u"…0017"_s);
    EXPECT_EQ(maskWhole(u"2000 0000 0000 1 7"_s), u"…0017"_s);
    EXPECT_EQ(maskWhole(u"KYR-ABCD-EF"_s), u"…CDEF"_s);
    EXPECT_EQ(maskWhole(u"2026-11-21"_s), u"…1121"_s);
    EXPECT_EQ(maskWhole(u"123456"_s), u"…"_s);
    EXPECT_EQ(maskWhole({}), QString());
}

TEST(MaskPath, HidesWhatStandsBehindCardAndPhone)
{
    EXPECT_EQ(maskPath(u"/v2/partner/card/2000000000017/card-info"_s), u"/v2/partner/card/…0017/card-info"_s);
    EXPECT_EQ(maskPath(u"/v2/partner/operation/user/phone/+7 (900) 123-45-67/user-info"_s),
              u"/v2/partner/operation/user/phone/…4567/user-info"_s);
    EXPECT_EQ(maskPath(u"/v2/partner/user-account/card/KYR-ABCD-EF"_s),
              u"/v2/partner/user-account/card/…CDEF"_s);
    EXPECT_EQ(maskPath(u"/v2/card/1234/5678/9012/card-info"_s), u"/v2/card/…/…9012/card-info"_s);
    EXPECT_EQ(maskPath(u"/v2/partner/operation/payment-b2c"_s), u"/v2/partner/operation/payment-b2c"_s);
}

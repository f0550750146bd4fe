#include "till/goods/goodsfile.h"

#include <QElapsedTimer>

#include <gmock/gmock.h>

#include <algorithm>

using namespace Qt::StringLiterals;
using testing::HasSubstr;

namespace till {

namespace {

const QByteArray header = "article,barcodes,name,price,unit,button\n";

std::string problemsOf(const QByteArray& content)
{
    const GoodsReading reading = readGoods(content);
    EXPECT_TRUE(reading.problems.isEmpty() || reading.goods.isEmpty()) << "half of it was read";
    return problemsText(u"goods.csv"_s, reading).toStdString();
}

/// Of one line with goods below the header.
std::string problemOf(const QByteArray& line) { return problemsOf(header + line); }

std::string textOf(const GoodsReading& reading)
{
    QStringList lines;
    for (const Goods& one : reading.goods)
        lines.append(u"%1|%2|%3|%4|%5|%6"_s.arg(one.articul, one.barcodes.join(u' '), one.name,
                                                QString::number(one.price, 'f', 2), one.unit,
                                                QString::number(one.place)));
    return lines.join(u'\n').toStdString() + problemsText(u"goods.csv"_s, reading).toStdString();
}

/// So many goods, each with two barcodes.
QByteArray shopOf(int count)
{
    QByteArray content = header;
    for (int i = 1; i <= count; ++i) {
        const QByteArray number = QByteArray::number(i);
        content += number + ",29" + number.rightJustified(10, '0') + " 46" + number.rightJustified(11, '0') +
                   ",\"Товар \"\"" + number + "\"\", 200 г\"," + number + ".50,шт,\n";
    }
    return content;
}

} // namespace

TEST(GoodsFile, HoldsGoodsWithBarcodesUnitAndButton)
{
    EXPECT_EQ(textOf(readGoods(header + "4601,2900000046016 2900000046017,\"Молоко, 3,2 %\",89.90,шт,1\n"
                                        "4605, ,Яблоки,119,кг,\n"
                                        "А-7/2,\"29;30\", Сыр ,\"1,5\",,8")),
              "4601|2900000046016 2900000046017|Молоко, 3,2 %|89.90|шт|1\n"
              "4605||Яблоки|119.00|кг|0\n"
              "А-7/2|29 30|Сыр|1.50||8");
}

TEST(GoodsFile, IsTakenAsSpreadsheetsWriteIt)
{
    EXPECT_EQ(textOf(readGoods("\xEF\xBB\xBF\"Name\";Article;Price;Barcodes;Unit;Button\r\n"
                               "\"Сыр \"\"Российский\"\"\";1;259,5;\"11;12 13\";;\r\n"
                               ";;;;;\r\n"
                               "\r\n"
                               "Хлеб;2;54,000;;шт;2\r\n")),
              "1|11 12 13|Сыр \"Российский\"|259.50||0\n"
              "2||Хлеб|54.00|шт|2");
}

TEST(GoodsFile, WithoutGoodsIsRefused)
{
    for (const char* content : {"", "\xEF\xBB\xBF", "\n\n"})
        EXPECT_THAT(problemsOf(content), HasSubstr("the file is empty; its first line must name the columns: "
                                                   "article,barcodes,name,price,unit,button"));
    EXPECT_EQ(problemsOf(header),
              "goods.csv:1: there are no goods below the first line; add a line for each");
    EXPECT_EQ(problemOf("\n,,,,,\n"),
              "goods.csv:3: there are no goods below the first line; add a line for each");
}

TEST(GoodsFile, WithAnUnknownMissingOrRepeatedColumnIsRefusedByItsName)
{
    EXPECT_EQ(
        problemsOf("article,barcodes,name,cost,unit,button,unit\n1,,Чай,1,,\n"),
        "goods.csv:1: cost: unknown column; take it away, known are: article, barcodes, name, price, unit, "
        "button\n"
        "goods.csv:1: unit: the column is there twice; take one away\n"
        "goods.csv:1: price: the column is missing; add it to the first line, separated by commas or "
        "semicolons");
    EXPECT_THAT(problemsOf("article\tbarcodes\tname\tprice\tunit\tbutton\n"), HasSubstr("separated by tabs"));
    EXPECT_THAT(problemsOf("article|barcodes|name|price|unit|button\n"),
                HasSubstr("article: the column is missing"));
}

TEST(GoodsFile, WithABadPriceIsRefused)
{
    for (const char* price : {"", "дорого", "-5", "1.2.3", "1 200", "12.", ".50", "1e3", "+5", "٣"})
        EXPECT_EQ(problemOf(QByteArray("1,,Чай,") + price + ",,\n"),
                  "goods.csv:2: price: expected digits with a point or comma, such as 89.90")
            << price;
    for (const char* price : {"0", "0.00", "1000000000", "99999999999999999999999"})
        EXPECT_EQ(problemOf(QByteArray("1,,Чай,") + price + ",,\n"),
                  "goods.csv:2: price: expected a price above 0 and below 1000000000")
            << price;
    EXPECT_EQ(problemOf("1,,Чай,89.905,,\n"),
              "goods.csv:2: price: not in whole kopecks; round it to two digits behind the point");
    EXPECT_EQ(textOf(readGoods(header + "1,,Чай,999999999.99,,\n2,,Сок,0.01,,\n")),
              "1||Чай|999999999.99||0\n2||Сок|0.01||0");
}

TEST(GoodsFile, WithACodeThatStandsForTwoThingsIsRefusedWithBothLines)
{
    const std::string rest = "; each article and barcode stands for one thing, take one away";
    EXPECT_EQ(problemOf("1,,Чай,1,,\n2,,Сок,1,,\n1,,Чай,1,,\n"),
              "goods.csv:4: article: 1 is in line 2 already" + rest);
    EXPECT_EQ(problemOf("1,29,Чай,1,,\n2,30 29,Сок,1,,\n"),
              "goods.csv:3: barcodes: 29 is in line 2 already" + rest);
    EXPECT_EQ(problemOf("1,29,Чай,1,,\n29,,Сок,1,,\n"),
              "goods.csv:3: article: 29 is in line 2 already" + rest);
    EXPECT_EQ(problemOf("29,29 29,Чай,1,,\n"), "") << "it is its own";
}

TEST(GoodsFile, WithABrokenQuoteIsRefusedWhereItIs)
{
    EXPECT_EQ(problemOf("1,,\"Чай,1,,\n2,,Сок,1,,\n"),
              "goods.csv:2: name: the quote is not closed on this line; close it, or leave it away");
    EXPECT_EQ(problemOf("1,,\"Чай\" чёрный,1,,\n"),
              "goods.csv:2: name: text behind the closing quote; double each quote that is part of the text");
    EXPECT_EQ(
        problemOf("1,,Чай \"Лотос\",1,,\n"),
        "goods.csv:2: name: a quote within the text; put the text in quotes and double those that are part "
        "of it");
    EXPECT_THAT(problemsOf("article,\"barcodes,name\n"), HasSubstr("goods.csv:1: the quote is not closed"));
}

TEST(GoodsFile, WithALineThatDoesNotFitTheColumnsIsRefused)
{
    EXPECT_EQ(problemOf("1,,Чай,89,90,,\n"),
              "goods.csv:2: 7 fields where the first line has 6; put a field with \",\" in it in quotes");
    EXPECT_THAT(problemOf("1;;Чай;89;;\n"), HasSubstr("1 fields where the first line has 6"));
}

TEST(GoodsFile, NotInUtf8IsRefusedOnce)
{
    EXPECT_EQ(problemOf("1,,\xD7\xE0\xE9,1,,\n2,,\xD7\xE0\xE9,1,,\n"),
              "goods.csv:2: not in UTF-8; save the file as \"CSV UTF-8\"");
    EXPECT_THAT(problemsOf("\xFF\xFE\x61"), HasSubstr("goods.csv:1: not in UTF-8"));
}

TEST(GoodsFile, WithAnythingElseThatNobodyCouldSellIsRefused)
{
    EXPECT_EQ(problemOf(",,,1,,\n"), "goods.csv:2: article: is empty; each thing needs one\n"
                                     "goods.csv:2: name: is empty; each thing needs one");
    for (const char* barcodes : {"4.60E+12", "\"4,60E+12\"", "шт"})
        EXPECT_THAT(problemOf("1," + QByteArray(barcodes) + ",Чай,1,,\n"),
                    HasSubstr("goods.csv:2: barcodes: expected digits, Latin letters and dashes"))
            << barcodes;
    EXPECT_EQ(problemOf("1,,Ч\x1B[31mай,1,,\n"),
              "goods.csv:2: name: holds a character that cannot be shown; take it away");
    EXPECT_EQ(problemOf("1,,Чай,1," + QByteArray(201, 'x') + ",\n"),
              "goods.csv:2: unit: longer than 200 characters; shorten it");
}

TEST(GoodsFile, WithAButtonThatHasNoPlaceIsRefused)
{
    for (const char* place : {"0", "9", "-1", "first", "1.5", "99999999999"})
        EXPECT_EQ(problemOf(QByteArray("1,,Чай,1,,") + place + '\n'),
                  "goods.csv:2: button: expected the number of a place, 1 to 8, or nothing")
            << place;
    EXPECT_EQ(problemOf("1,,Чай,1,,3\n2,,Сок,1,,3\n"),
              "goods.csv:3: button: place 3 is taken by line 2; take another");
}

TEST(GoodsFile, TellsOfAllItsProblemsButNotOfThousands)
{
    QByteArray lines;
    for (int i = 0; i < 1000; ++i)
        lines += QByteArray::number(i) + ",,Чай,free,,\n";
    const auto told = QString::fromStdString(problemOf(lines)).split(u'\n');
    ASSERT_EQ(told.size(), 51);
    EXPECT_THAT(told[49].toStdString(), HasSubstr("goods.csv:51: price: "));
    EXPECT_EQ(told[50], u"goods.csv: and 950 more"_s);
}

// A reader that looked through all lines for each would take a hundred times as long for ten times as many.
TEST(GoodsFile, OfAHundredThousandLinesTakesInProportionToAFewThousand)
{
    const auto timed = [](const QByteArray& shop, qint64& took) {
        QElapsedTimer clock;
        clock.start();
        GoodsReading reading = readGoods(shop);
        took = clock.nsecsElapsed();
        return reading;
    };
    qint64 few = 0;
    timed(shopOf(10'000), few);
    qint64 many = 0;
    const GoodsReading reading = timed(shopOf(100'000), many);
    ASSERT_EQ(reading.goods.size(), 100'000) << problemsText(u"goods.csv"_s, reading).toStdString();
    EXPECT_EQ(reading.goods.last().name, u"Товар \"100000\", 200 г"_s);
    EXPECT_EQ(reading.goods.last().price, 100'000.5);
    EXPECT_LT(many, 40 * few);
}

} // namespace till

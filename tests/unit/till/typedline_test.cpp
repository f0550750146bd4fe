#include "till/scenario/shell.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// The members of a line that must be right.
QVariantMap membersOf(const QString& line)
{
    Problems problems;
    const auto step = parseLine(line, problems);
    EXPECT_TRUE(step && problems.isEmpty()) << line.toStdString();
    return step ? step->members : QVariantMap();
}

} // namespace

TEST(TillTypedLine, DigitsAreATextWhereATextIsAskedFor)
{
    EXPECT_EQ(membersOf(u"identifyByPhone  phone=79001234567 choose=-1"_s),
              (QVariantMap{{u"phone"_s, u"79001234567"_s}, {u"choose"_s, -1}}));
}

TEST(TillTypedLine, QuotesKeepBlanksTogether)
{
    EXPECT_EQ(membersOf(uR"(identifyByCard card="20 \" 17")"_s), (QVariantMap{{u"card"_s, u"20 \" 17"_s}}));
}

TEST(TillTypedLine, ListsAreJson)
{
    const QVariantMap members = membersOf(
        uR"(openSale positions=[ { "articul": "1", "name": "a ] b", "price": 1, "quantity": 0.5 } ] id=R-1)"_s);
    EXPECT_EQ(members.value(u"id"_s), u"R-1"_s);
    EXPECT_EQ(
        members.value(u"positions"_s).toList(),
        (QVariantList{QVariantMap{
            {u"articul"_s, u"1"_s}, {u"name"_s, u"a ] b"_s}, {u"price"_s, 1.0}, {u"quantity"_s, 0.5}}}));
}

TEST(TillTypedLine, AFlagOfEveryStepIsUnderstood)
{
    Problems problems;
    const auto step = parseLine(u"identifyByCard card=1 mayFail=true"_s, problems);
    ASSERT_TRUE(step);
    EXPECT_TRUE(step->mayFail);
}

} // namespace till

#include "tests/shop/books.h"
#include "tests/shop/day.h"
#include "tests/shop/plan.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <iostream>

using namespace Qt::StringLiterals;
using ::testing::IsEmpty;

namespace shopday {

namespace {

constexpr int usualTills = 4;
constexpr int usualSales = 2;
constexpr int usualSeed = 1;

int sizeOf(const char* variable, int otherwise)
{
    bool isNumber = false;
    const int size = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber && size >= 0 ? size : otherwise;
}

std::string textOf(const QStringList& lines) { return lines.join(u'\n').toStdString(); }

/// Lines that one has more often than the other.
QStringList beyond(QStringList lines, const QStringList& others)
{
    for (const QString& line : others)
        lines.removeOne(line);
    return lines;
}

/// Of two rivals the first stands for both.
QStringList closedOf(const QList<Receipt>& plan)
{
    QStringList closed;
    for (qsizetype i = 0; i < plan.size(); ++i) {
        if (plan[i].isClosed && (plan[i].rival < 0 || plan[i].rival > i))
            closed.append(plan[i].identifier);
    }
    closed.sort();
    return closed;
}

int rivalsIn(const QList<Receipt>& plan)
{
    return static_cast<int>(std::count_if(plan.cbegin(), plan.cend(),
                                          [](const Receipt& receipt) { return receipt.rival >= 0; })) /
           2;
}

QStringList documentsOf(const Day& day)
{
    QStringList closed = withoutRivals(day.sql(u"SELECT identifier FROM kyr.documents"_s)).split(u'\n');
    closed.sort();
    return closed;
}

} // namespace

TEST(ADayOfAShop, HasTwoTillsAfterTheSameGoodsThoughItIsSmall)
{
    EXPECT_GT(rivalsIn(planOf(usualTills, usualSales, usualSeed)), 0);
}

TEST(ADayOfAShop, LosesDoublesAndReordersNothingWhateverIsKilled)
{
    const auto seed = static_cast<quint32>(sizeOf("KYR_DAY_SEED", usualSeed));
    const auto plan = planOf(sizeOf("KYR_DAY_TILLS", usualTills), sizeOf("KYR_DAY_SALES", usualSales), seed);
    const QString delivered =
        u"SELECT count(*), count(DISTINCT identity), count(*) FILTER (WHERE outcome = 'delivered') "
        "FROM kyr.history"_s;
    const int rivals = rivalsIn(plan);
    QStringList undisturbed;
    QString messages;
    {
        tilltest::ShopWorld world;
        Day day(world, plan, Disturbance(std::nullopt));
        ASSERT_TRUE(day.play());
        undisturbed = booksOf(world);
        messages = day.sql(delivered);
        EXPECT_EQ(day.outrun(), rivals);
        EXPECT_EQ(textOf(documentsOf(day)), textOf(closedOf(plan)));
    }
    tilltest::ShopWorld world;
    Day day(world, plan, Disturbance(seed));
    ASSERT_TRUE(day.play());
    const QStringList books = booksOf(world);
    EXPECT_THAT(textOf(beyond(undisturbed, books)), IsEmpty()) << "is missing";
    EXPECT_THAT(textOf(beyond(books, undisturbed)), IsEmpty()) << "is too much";
    EXPECT_TRUE(books.contains(u"the books are right"_s));
    EXPECT_EQ(day.sql(delivered), messages);
    EXPECT_EQ(textOf(documentsOf(day)), textOf(closedOf(plan)));
    EXPECT_EQ(day.outrun(), rivals);
    const Kills& kills = day.kills();
    EXPECT_EQ(kills.databases, 2);
    EXPECT_GT(kills.tills + kills.services + kills.deliveries, 0);
    std::cout << plan.size() << " receipts in " << day.runs() << " runs, " << rivals
              << " times two tills after the same goods; killed: " << kills.tills << " runs, "
              << kills.services << " services of tills, " << kills.deliveries << " deliveries and "
              << kills.databases << " databases" << std::endl;
}

} // namespace shopday

#include "tests/journey/till/kepttill.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

const QByteArray two = R"({ "do": "setPositions", "positions": [
    { "articul": "1", "name": "Чай", "price": 300, "quantity": 1, "discount": 100 },
    { "articul": "2", "name": "Мёд", "price": 250, "quantity": 2 } ] })";
const QByteArray pay = R"({ "do": "pay" })";

/// What the step says that is played after these.
QJsonObject after(const QByteArray& steps, const QByteArray& step)
{
    const QList<QJsonObject> lines = linesOf(runJson(scenarioOfSteps(steps + ',' + step)));
    return lines.size() < 2 ? QJsonObject() : lines[lines.size() - 2];
}

std::string refusalOf(const QByteArray& steps)
{
    const QJsonObject line = after(steps, two);
    EXPECT_FALSE(line.value(u"ok"_s).toBool(true));
    return line.value(u"error"_s).toString().toStdString();
}

} // namespace

TEST(TillPositions, MayBeReplacedAndTheCardStays)
{
    const QJsonObject request = after(sale + ',' + card + ',' + two, R"({ "do": "request" })");
    EXPECT_TRUE(request.value(u"ok"_s).toBool()) << "the card is still there";
    const QJsonObject paid = after(sale + ',' + card + ',' + two + ',' + spend, pay);
    EXPECT_TRUE(paid.value(u"ok"_s).toBool());
    EXPECT_EQ(paid.value(u"value"_s).toDouble(), 30) << "5 % of 200 and 500, less 100 in points";
}

TEST(TillPositions, MayAllBeTakenAwayAndComeBack)
{
    const QByteArray none = R"({ "do": "setPositions", "positions": [] })";
    const QJsonObject paid = after(sale + ',' + card + ',' + none + ',' + two, pay);
    EXPECT_EQ(paid.value(u"value"_s).toDouble(), 35) << "5 % of 700";
}

TEST(TillPositions, StayAsTheyAreFoundAfterARestart)
{
    const QJsonObject paid = after(sale + ',' + card + ',' + two + R"(, { "do": "restart" })", pay);
    EXPECT_EQ(paid.value(u"value"_s).toDouble(), 35) << "5 % of 700";
}

TEST(TillPositions, StayOnceThePointsAreSpent)
{
    EXPECT_EQ(refusalOf(sale + ',' + card + ',' + spend),
              "Баллы уже списаны: позиции не изменить. Оплатите чек или отмените его\n"
              "Возможны шаги: getCardInfo, request, cancel, rollback, pay");
}

TEST(TillPositions, OfAReturnAndOfNoReceiptDoNotChange)
{
    EXPECT_THAT(refusalOf(sale + ',' + pay + R"(, { "do": "openReturn", "id": "V-1", "of": "R-1",
        "positions": [ { "posnum": 1, "quantity": 1 } ] })"),
                HasSubstr("Позиции возврата не меняются"));
    EXPECT_THAT(refusalOf(sale + ',' + pay), HasSubstr("Чек не открыт"));
}

} // namespace tilltest

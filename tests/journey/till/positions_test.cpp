#include "tests/journey/till/kepttill.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

const Step two = setPositions({tea(300).less(100), honey(250, 2)});

std::string refusalOf(const Steps& steps)
{
    const QJsonObject line = lastStep(steps + two);
    EXPECT_FALSE(line.value(u"ok"_s).toBool(true));
    return errorOf(line);
}

} // namespace

TEST(TillPositions, MayBeReplacedAndTheCardStays)
{
    const QJsonObject asked = lastStep(sale + card + two + request());
    EXPECT_TRUE(asked.value(u"ok"_s).toBool()) << "the card is still there";
    const QJsonObject paid = lastStep(sale + card + two + spend + pay());
    EXPECT_TRUE(paid.value(u"ok"_s).toBool());
    EXPECT_EQ(paid.value(u"value"_s).toDouble(), 30) << "5 % of 200 and 500, less 100 in points";
}

TEST(TillPositions, MayAllBeTakenAwayAndComeBack)
{
    const Step none = setPositions({});
    const QJsonObject paid = lastStep(sale + card + none + two + pay());
    EXPECT_EQ(paid.value(u"value"_s).toDouble(), 35) << "5 % of 700";
}

TEST(TillPositions, StayAsTheyAreFoundAfterARestart)
{
    const QJsonObject paid = lastStep(sale + card + two + restart() + pay());
    EXPECT_EQ(paid.value(u"value"_s).toDouble(), 35) << "5 % of 700";
}

TEST(TillPositions, StayOnceThePointsAreSpent)
{
    EXPECT_EQ(refusalOf(sale + card + spend),
              "Баллы уже списаны: позиции не изменить. Оплатите чек или отмените его\n"
              "Возможны шаги: getCardInfo, request, cancel, rollback, pay");
}

TEST(TillPositions, OfAReturnAndOfNoReceiptDoNotChange)
{
    EXPECT_THAT(refusalOf(sale + pay() + openReturn("V-1", "R-1", {position(1)})),
                HasSubstr("Позиции возврата не меняются"));
    EXPECT_THAT(refusalOf(sale + pay()), HasSubstr("Чек не открыт"));
}

} // namespace tilltest

#include "tests/journey/till/tillprocess.h"

#include <QJsonArray>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

const char* const noReceipt =
    "Чек не открыт: сначала откройте его\nВозможны шаги: openSale, openReturn, cancel";
const QJsonObject withCode{{u"KYRLoyalty:smsVerification"_s, true}};

} // namespace

TEST(TillReceipt, TheRequestTellsHowManyPointsMayBeSpent)
{
    const QJsonObject line = lastStep(largeSale + card + request());
    EXPECT_TRUE(line.value(u"ok"_s).toBool());
    EXPECT_EQ(line.value(u"points"_s).toDouble(), 300) << "all of the card: half of the receipt would be 390";
}

TEST(TillReceipt, StepsOnPointsNeedAReceiptWithACard)
{
    const char* const noCard = "В чеке нет карты: сначала найдите её по номеру или телефону";
    for (const Step& step : {request(), spendPoints(1)}) {
        expectFailure(lastStep(step), noReceipt);
        expectFailure(lastStep(largeSale + step), noCard);
    }
    expectFailure(lastStep(pay()), noReceipt);
    expectFailure(lastStep(rollback()), noReceipt);
}

TEST(TillReceipt, SpentPointsBecomeTheDiscountThatTheServiceGave)
{
    const QJsonObject line = lastStep(largeSale + card + spend);
    EXPECT_TRUE(line.value(u"ok"_s).toBool());
    EXPECT_EQ(line.value(u"value"_s).toDouble(), 100);
    const QJsonArray impacts = line.value(u"impacts"_s).toArray();
    ASSERT_EQ(impacts.size(), 2);
    EXPECT_DOUBLE_EQ(impacts[0].toObject().value(u"sum"_s).toDouble() +
                         impacts[1].toObject().value(u"sum"_s).toDouble(),
                     100);
}

TEST(TillReceipt, TheCashierSeesTheDiscountOfPointsAndWhatIsLeftToPay)
{
    const Ran ran = runSteps(largeSale + card + request() + spendPoints(78) + pay());
    EXPECT_EQ(ran.status, 0);
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("     Можно списать баллов: 300,00\n"));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("     Чек R-1\n"
                                                 "     1  Чай             1 × 300,00  300,00\n"
                                                 "          скидка                    −20,00\n"
                                                 "          баллами                   −28,00\n"
                                                 "     2  Мёд             2 × 250,00  500,00\n"
                                                 "          баллами                   −50,00\n"
                                                 "        Итого                       780,00\n"
                                                 "        Скидка баллами              −78,00\n"
                                                 "        К оплате                    702,00\n"));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("     Чек R-1: оплачено 702,00\n"
                                                 "     Начислено баллов: 35,10\n"));
}

TEST(TillReceipt, WhatWasEarnedIsToldInPointsWhateverTheyAreWorth)
{
    const Ran ran = runSteps(largeSale + card + pay(), {}, {{u"KYRLoyalty:bonusRatio"_s, u"10:1"_s}});
    EXPECT_EQ(ran.status, 0);
    // 5 % of 780.00, and ten points for each unit of money; the plug-in tells it in money.
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("     Начислено баллов: около 390,00\n"));
    const QJsonObject line = lastStep(largeSale + card + pay(), {{u"KYRLoyalty:bonusRatio"_s, u"10:1"_s}});
    EXPECT_EQ(line.value(u"value"_s).toDouble(), 390);
}

TEST(TillReceipt, MorePointsThanTheCardHasAreCutToItsBalance)
{
    const QJsonObject line = lastStep(largeSale + card + spendPoints(5000));
    EXPECT_TRUE(line.value(u"ok"_s).toBool());
    EXPECT_EQ(line.value(u"value"_s).toDouble(), 300);
}

TEST(TillReceipt, MoreThanTheTermsAllowIsRefusedInTheServicesWords)
{
    expectFailure(lastStep(sale + card + spendPoints(200)), "Сумма списания больше допустимой");
}

TEST(TillReceipt, TheCodeIsEnteredCanceledOrRefused)
{
    const Steps start = largeSale + card;
    EXPECT_TRUE(lastStep(start + spendPoints(50).withCode("1234"), withCode).value(u"ok"_s).toBool());
    expectFailure(lastStep(start + spendPoints(50), withCode), "Пользователь отменил ввод кода");
    expectFailure(lastStep(start + spendPoints(50).withCode("9999"), withCode), "Неверный код подтверждения");
}

TEST(TillReceipt, TheCodeIsShownNowhere)
{
    const Ran ran = runSteps(largeSale + card + spendPoints(50).withCode("1234"), {u"--verbose"_s}, withCode);
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.err, "");
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("     [Подтверждение списания]\n     Введено\n"));
    // Balances of the demonstration cards hold these digits too.
    EXPECT_FALSE(ran.out.contains("code 1234"));
    EXPECT_FALSE(ran.out.contains(R"("code": "1234")"));
    EXPECT_TRUE(ran.out.contains(R"("code": "***")"));
}

TEST(TillReceipt, APaidSaleEarnsAndIsClosed)
{
    const Ran ran = runJson(largeSale + card + pay() + pay());
    const QList<QJsonObject> lines = linesOf(ran);
    ASSERT_EQ(lines.size(), 5);
    EXPECT_EQ(lines[2].value(u"value"_s).toDouble(), 39);
    EXPECT_EQ(lines[2].value(u"queued"_s).toInt(), 0);
    expectFailure(lines[3], noReceipt);
}

TEST(TillReceipt, ASaleWithoutACardIsReportedByTheQueue)
{
    const QJsonObject line = lastStep(largeSale + pay());
    EXPECT_TRUE(line.value(u"ok"_s).toBool());
    EXPECT_TRUE(line.value(u"value"_s).isNull());
    EXPECT_EQ(line.value(u"queued"_s).toInt(), 1);
}

TEST(TillReceipt, ARollbackGivesThePointsBackAndAbandonsTheReceipt)
{
    const Ran ran = runJson(largeSale + card + spend + rollback() + largeSale + card);
    EXPECT_EQ(ran.status, 0);
    const QList<QJsonObject> lines = linesOf(ran);
    ASSERT_EQ(lines.size(), 7);
    EXPECT_EQ(lines[3].value(u"points"_s).toDouble(), 0);
    EXPECT_TRUE(lines[3].value(u"balance"_s).isNull());
    EXPECT_EQ(lines[5].value(u"balance"_s).toDouble(), 300);
}

TEST(TillReceipt, CancelForgetsThePointsButKeepsTheReceipt)
{
    const Ran ran = runJson(largeSale + card + request() + cancel() + pay());
    const QList<QJsonObject> lines = linesOf(ran);
    ASSERT_EQ(lines.size(), 6);
    EXPECT_EQ(lines[2].value(u"points"_s).toDouble(), 300);
    EXPECT_EQ(lines[3].value(u"points"_s).toDouble(), 0);
    EXPECT_TRUE(lines[4].value(u"ok"_s).toBool());
}

TEST(TillReceipt, PointsThatWereSpentStaySpentWhenTheyAreForgotten)
{
    const Ran ran =
        runJson(largeSale + card + spend + cancel() + spend.mayFail() + setPositions({}).mayFail() +
                identifyByCard("2000000000017").mayFail() + openSale("R-2").mayFail() + pay());
    EXPECT_EQ(ran.status, 0) << "the ledger agrees";
    const QList<QJsonObject> lines = linesOf(ran);
    ASSERT_EQ(lines.size(), 10);
    EXPECT_TRUE(lines[3].value(u"ok"_s).toBool());
    for (int step = 4; step < 8; ++step)
        EXPECT_FALSE(lines[step].value(u"ok"_s).toBool()) << step;
    EXPECT_EQ(lines[9].value(u"summary"_s).toObject().value(u"spent"_s).toDouble(), 100);
}

TEST(TillReceipt, AReceiptWithSpentPointsIsNotPushedAside)
{
    expectFailure(lastStep(largeSale + card + spend + openSale("R-2")),
                  "Чек R-1 не закрыт, в нём списаны баллы: оплатите его или отмените\nВозможны шаги: "
                  "getCardInfo, request, cancel, rollback, pay");
}

TEST(TillReceipt, PointsAreSpentOnceOnAReceipt)
{
    const Ran ran = runJson(largeSale + card + spend + spend + pay());
    EXPECT_EQ(ran.status, 1);
    const QList<QJsonObject> lines = linesOf(ran);
    ASSERT_EQ(lines.size(), 6);
    expectFailure(lines[3], "В чеке уже списаны баллы: второе списание сервис не отличит от первого. "
                            "Отмените чек\nВозможны шаги: getCardInfo, request, cancel, rollback, pay");
    EXPECT_EQ(lines[5].value(u"summary"_s).toObject().value(u"spent"_s).toDouble(), 100);
}

TEST(TillReceipt, AnIdentifierIsNotUsedTwice)
{
    expectFailure(lastStep(largeSale + pay() + largeSale), "Чек R-1 уже есть: номер чека не повторяется");
}

} // namespace tilltest

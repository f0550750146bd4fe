#include "tests/journey/till/tillprocess.h"

#include <QJsonArray>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

const QByteArray sale = R"({ "do": "openSale", "id": "R-1", "positions": [
    { "articul": "1", "name": "Чай", "price": 300, "quantity": 1, "discount": 20 },
    { "articul": "2", "name": "Мёд", "price": 250, "quantity": 2 } ] })";
const QByteArray card = R"({ "do": "identifyByCard", "card": "2000000000055" })";
const QByteArray withCode = R"({ "KYRLoyalty:smsVerification": true })";

/// The line of the last step.
QJsonObject lastStep(const QByteArray& steps, const QByteArray& config = "{}")
{
    const Ran ran = runJson(scenarioOfSteps(steps, config));
    EXPECT_EQ(ran.err, "");
    const QList<QJsonObject> lines = linesOf(ran);
    return lines.size() < 2 ? QJsonObject() : lines[lines.size() - 2];
}

void expectFailure(const QJsonObject& line, const QString& error)
{
    EXPECT_FALSE(line.value(u"ok"_s).toBool(true));
    EXPECT_EQ(line.value(u"error"_s).toString(), error);
}

} // namespace

TEST(TillReceipt, TheRequestTellsHowManyPointsMayBeSpent)
{
    const QJsonObject line = lastStep(sale + ',' + card + R"(, { "do": "request" })");
    EXPECT_TRUE(line.value(u"ok"_s).toBool());
    EXPECT_EQ(line.value(u"points"_s).toDouble(), 300) << "all of the card: half of the receipt would be 390";
}

TEST(TillReceipt, StepsOnPointsNeedAReceiptWithACard)
{
    const QString noReceipt =
        u"Чек не открыт: сначала откройте его\nВозможны шаги: openSale, openReturn, cancel"_s;
    const QString noCard = u"В чеке нет карты: сначала найдите её по номеру или телефону"_s;
    for (const QByteArray& step :
         {QByteArray(R"({ "do": "request" })"), QByteArray(R"({ "do": "spendPoints", "points": 1 })")}) {
        expectFailure(lastStep(step), noReceipt);
        expectFailure(lastStep(sale + ',' + step), noCard);
    }
    expectFailure(lastStep(R"({ "do": "pay" })"), noReceipt);
    expectFailure(lastStep(R"({ "do": "rollback" })"), noReceipt);
}

TEST(TillReceipt, SpentPointsBecomeTheDiscountThatTheServiceGave)
{
    const QJsonObject line = lastStep(sale + ',' + card + R"(, { "do": "spendPoints", "points": 100 })");
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
    const Files files;
    const QString file = files.write(u"s.json"_s, scenarioOfSteps(sale + ',' + card + R"(,
        { "do": "request" }, { "do": "spendPoints", "points": 78 }, { "do": "pay" })"));
    const Ran ran = run({u"run"_s, file});
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

TEST(TillReceipt, MorePointsThanTheCardHasAreCutToItsBalance)
{
    const QJsonObject line = lastStep(sale + ',' + card + R"(, { "do": "spendPoints", "points": 5000 })");
    EXPECT_TRUE(line.value(u"ok"_s).toBool());
    EXPECT_EQ(line.value(u"value"_s).toDouble(), 300);
}

TEST(TillReceipt, MoreThanTheTermsAllowIsRefusedInTheServicesWords)
{
    expectFailure(lastStep(R"({ "do": "openSale", "id": "R-1", "positions": [
                      { "articul": "1", "name": "Чай", "price": 300, "quantity": 1 } ] },)" +
                           card + R"(, { "do": "spendPoints", "points": 200 })"),
                  u"Сумма списания больше допустимой"_s);
}

TEST(TillReceipt, TheCodeIsEnteredCanceledOrRefused)
{
    const QByteArray start = sale + ',' + card + ',';
    EXPECT_TRUE(lastStep(start + R"({ "do": "spendPoints", "points": 50, "code": "1234" })", withCode)
                    .value(u"ok"_s)
                    .toBool());
    expectFailure(lastStep(start + R"({ "do": "spendPoints", "points": 50 })", withCode),
                  u"Пользователь отменил ввод кода"_s);
    expectFailure(lastStep(start + R"({ "do": "spendPoints", "points": 50, "code": "9999" })", withCode),
                  u"Неверный код подтверждения"_s);
}

TEST(TillReceipt, TheCodeIsShownNowhere)
{
    const Files files;
    const QString file = files.write(
        u"s.json"_s,
        scenarioOfSteps(sale + ',' + card + R"(, { "do": "spendPoints", "points": 50, "code": "1234" })",
                        withCode));
    const Ran ran = run({u"run"_s, file, u"--verbose"_s});
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
    const Ran ran = runJson(scenarioOfSteps(sale + ',' + card + R"(, { "do": "pay" }, { "do": "pay" })"));
    const QList<QJsonObject> lines = linesOf(ran);
    ASSERT_EQ(lines.size(), 5);
    EXPECT_EQ(lines[2].value(u"value"_s).toDouble(), 39);
    EXPECT_EQ(lines[2].value(u"queued"_s).toInt(), 0);
    expectFailure(lines[3],
                  u"Чек не открыт: сначала откройте его\nВозможны шаги: openSale, openReturn, cancel"_s);
}

TEST(TillReceipt, ASaleWithoutACardIsReportedByTheQueue)
{
    const QJsonObject line = lastStep(sale + R"(, { "do": "pay" })");
    EXPECT_TRUE(line.value(u"ok"_s).toBool());
    EXPECT_TRUE(line.value(u"value"_s).isNull());
    EXPECT_EQ(line.value(u"queued"_s).toInt(), 1);
}

TEST(TillReceipt, ARollbackGivesThePointsBackAndAbandonsTheReceipt)
{
    const Ran ran = runJson(scenarioOfSteps(sale + ',' + card + R"(, { "do": "spendPoints", "points": 100 },
        { "do": "rollback" }, )" + sale + ',' +
                                            card));
    EXPECT_EQ(ran.status, 0);
    const QList<QJsonObject> lines = linesOf(ran);
    ASSERT_EQ(lines.size(), 7);
    EXPECT_EQ(lines[3].value(u"points"_s).toDouble(), 0);
    EXPECT_TRUE(lines[3].value(u"balance"_s).isNull());
    EXPECT_EQ(lines[5].value(u"balance"_s).toDouble(), 300);
}

TEST(TillReceipt, CancelForgetsThePointsButKeepsTheReceipt)
{
    const Ran ran = runJson(scenarioOfSteps(sale + ',' + card + R"(, { "do": "request" }, { "do": "cancel" },
        { "do": "pay" })"));
    const QList<QJsonObject> lines = linesOf(ran);
    ASSERT_EQ(lines.size(), 6);
    EXPECT_EQ(lines[2].value(u"points"_s).toDouble(), 300);
    EXPECT_EQ(lines[3].value(u"points"_s).toDouble(), 0);
    EXPECT_TRUE(lines[4].value(u"ok"_s).toBool());
}

TEST(TillReceipt, PointsThatWereSpentStaySpentWhenTheyAreForgotten)
{
    const Ran ran = runJson(scenarioOfSteps(sale + ',' + card + R"(, { "do": "spendPoints", "points": 100 },
        { "do": "cancel" },
        { "do": "spendPoints", "points": 100, "mayFail": true },
        { "do": "setPositions", "positions": [], "mayFail": true },
        { "do": "identifyByCard", "card": "2000000000017", "mayFail": true },
        { "do": "openSale", "id": "R-2", "positions": [], "mayFail": true },
        { "do": "pay" })"));
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
    expectFailure(
        lastStep(sale + ',' + card + R"(, { "do": "spendPoints", "points": 100 },
        { "do": "openSale", "id": "R-2", "positions": [] })"),
        u"Чек R-1 не закрыт, в нём списаны баллы: оплатите его или отмените\nВозможны шаги: getCardInfo, request, cancel, rollback, pay"_s);
}

TEST(TillReceipt, PointsAreSpentOnceOnAReceipt)
{
    const Ran ran = runJson(scenarioOfSteps(sale + ',' + card + R"(, { "do": "spendPoints", "points": 100 },
        { "do": "spendPoints", "points": 100 }, { "do": "pay" })"));
    EXPECT_EQ(ran.status, 1);
    const QList<QJsonObject> lines = linesOf(ran);
    ASSERT_EQ(lines.size(), 6);
    expectFailure(lines[3], u"В чеке уже списаны баллы: второе списание сервис не отличит от первого. "
                            "Отмените чек\nВозможны шаги: getCardInfo, request, cancel, rollback, pay"_s);
    EXPECT_EQ(lines[5].value(u"summary"_s).toObject().value(u"spent"_s).toDouble(), 100);
}

TEST(TillReceipt, AnIdentifierIsNotUsedTwice)
{
    expectFailure(lastStep(sale + R"(, { "do": "pay" }, )" + sale),
                  u"Чек R-1 уже есть: номер чека не повторяется"_s);
}

} // namespace tilltest

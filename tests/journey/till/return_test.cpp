#include "tests/journey/till/tillprocess.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

const QByteArray paidSale = R"({ "do": "openSale", "id": "R-1", "positions": [
    { "articul": "1", "name": "Чай", "price": 300, "quantity": 1, "discount": 20 },
    { "articul": "2", "name": "Мёд", "price": 250, "quantity": 2 } ] },
    { "do": "identifyByCard", "card": "2000000000055" },
    { "do": "spendPoints", "points": 78 }, { "do": "pay" })";

QByteArray returnOf(const QByteArray& positions, const QByteArray& id = "R-2", const QByteArray& of = "R-1")
{
    return R"({ "do": "openReturn", "id": ")" + id + R"(", "of": ")" + of + R"(", "positions": [ )" +
           positions + " ] }";
}

/// The error of a return of the paid sale that cannot be opened.
std::string refusalOf(const QByteArray& step)
{
    const Ran ran = runJson(scenarioOfSteps(paidSale + ',' + step));
    EXPECT_EQ(ran.status, 1);
    const QList<QJsonObject> lines = linesOf(ran);
    return lines.size() < 5 ? "" : lines[4].value(u"error"_s).toString().toStdString();
}

} // namespace

TEST(TillReturn, WhatCannotBeReturnedIsSaid)
{
    EXPECT_EQ(refusalOf(returnOf(R"({ "posnum": 1, "quantity": 1 })", "R-2", "R-9")),
              "Чека R-9 нет среди закрытых: возврат не возможен");
    EXPECT_EQ(refusalOf(returnOf(R"({ "posnum": 3, "quantity": 1 })")), "Позиции 3 нет в чеке R-1");
    EXPECT_EQ(refusalOf(returnOf(R"({ "posnum": 2, "quantity": 2.001 })")),
              "Позиция 2: к возврату 2,001, а продано 2");
    EXPECT_EQ(refusalOf(returnOf(R"({ "posnum": 2, "quantity": 0 })")),
              "Позиция 2: количество для возврата должно быть больше нуля");
    EXPECT_EQ(refusalOf(returnOf(R"({ "posnum": 2, "quantity": 1 }, { "posnum": 2, "quantity": 1 })")),
              "Позиция 2 указана дважды");
    EXPECT_EQ(refusalOf(returnOf("")), "В возврате нет ни одной позиции");
    EXPECT_EQ(refusalOf(returnOf(R"({ "posnum": 1, "quantity": 1 })", "R-1")),
              "Чек R-1 уже есть: номер чека не повторяется");
}

TEST(TillReturn, OfAReturnIsRefused)
{
    const Ran ran = runJson(scenarioOfSteps(paidSale + ',' + returnOf(R"({ "posnum": 1, "quantity": 1 })") +
                                            R"(, { "do": "pay" }, )" +
                                            returnOf(R"({ "posnum": 1, "quantity": 1 })", "R-3", "R-2")));
    EXPECT_EQ(linesOf(ran).value(6).value(u"error"_s).toString(),
              u"Чек R-2 — не продажа: возврат не возможен"_s);
}

TEST(TillReturn, WhatCameBackBeforeCannotComeBackAgain)
{
    const QByteArray one = R"({ "posnum": 2, "quantity": 1 })";
    const QByteArray pay = R"(, { "do": "pay" }, )";
    const QList<QJsonObject> lines =
        linesOf(runJson(scenarioOfSteps(paidSale + ',' + returnOf(one) + pay + returnOf(one, "R-3") + pay +
                                        returnOf(R"({ "posnum": 2, "quantity": 0.001 })", "R-4"))));
    EXPECT_TRUE(lines.value(6).value(u"ok"_s).toBool());
    EXPECT_EQ(lines.value(8).value(u"error"_s).toString(),
              u"Позиция 2: к возврату 0,001, а из проданных 2 уже возвращено 2"_s);
}

TEST(TillReturn, WhatCameBackIsRememberedByTheNextTill)
{
    const Files files;
    const QStringList kept{u"--data-dir"_s, files.path(u"data"_s)};
    const QByteArray one = R"({ "posnum": 2, "quantity": 1 })";
    const QByteArray pay = R"(, { "do": "pay" })";
    EXPECT_EQ(runJson(scenarioOfSteps(paidSale + ',' + returnOf(one) + pay), kept).status, 0);
    const QList<QJsonObject> lines = linesOf(runJson(
        scenarioOfSteps(returnOf(R"({ "posnum": 2, "quantity": 2 })", "R-3") + ',' + returnOf(one, "R-3")),
        kept));
    EXPECT_EQ(lines.value(0).value(u"error"_s).toString(),
              u"Позиция 2: к возврату 2, а из проданных 2 уже возвращено 1"_s);
    EXPECT_TRUE(lines.value(1).value(u"ok"_s).toBool());
}

TEST(TillReturn, DiscountsGoBackInProportionToTheQuantity)
{
    const Files files;
    const QString file = files.write(
        u"s.json"_s,
        scenarioOfSteps(paidSale + ',' +
                        returnOf(R"({ "posnum": 2, "quantity": 1 }, { "posnum": 1, "quantity": 1 })") +
                        R"(, { "do": "pay" }, { "do": "deliver" })"));
    const Ran ran = run({u"run"_s, file});
    EXPECT_EQ(ran.status, 0);
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("     Возврат R-2 по чеку R-1\n"
                                                 "     2  Мёд             1 × 250,00  250,00\n"
                                                 "          баллами                   −25,00\n"
                                                 "     1  Чай             1 × 300,00  300,00\n"
                                                 "          скидка                    −20,00\n"
                                                 "          баллами                   −28,00\n"
                                                 "        Итого                       530,00\n"
                                                 "        Скидка баллами              −53,00\n"
                                                 "        К возврату                  477,00\n"));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("     Возврат R-2 по чеку R-1: возвращено 477,00\n"));
}

TEST(TillReturn, OfAllLeavesNothingOverAndRefusesEarningAndSpending)
{
    const Ran ran = runJson(scenarioOfSteps(
        R"({ "do": "openSale", "id": "R-1", "positions": [
            { "articul": "1", "name": "Чай", "price": 33.33, "quantity": 3, "discount": 0.01 } ] },
        { "do": "identifyByCard", "card": "2000000000055" },
        { "do": "spendPoints", "points": 10 }, { "do": "pay" }, )" +
        returnOf(R"({ "posnum": 1, "quantity": 3 })") + R"(, { "do": "pay" }, { "do": "deliver" },
        { "do": "openSale", "id": "R-3", "positions": [] },
        { "do": "identifyByCard", "card": "2000000000055" })"));
    EXPECT_EQ(ran.status, 0);
    const QList<QJsonObject> lines = linesOf(ran);
    ASSERT_EQ(lines.size(), 10);
    EXPECT_TRUE(lines[5].value(u"value"_s).isNull()) << "a return earns nothing";
    EXPECT_EQ(lines[5].value(u"queued"_s).toInt(), 2);
    EXPECT_EQ(lines[8].value(u"balance"_s).toDouble(), 300);
    EXPECT_EQ(lines[9].value(u"summary"_s).toObject().value(u"spent"_s).toDouble(), 0);
}

TEST(TillReturn, InPartsOfAnOddDiscountAddsUpAndAgreesWithTheService)
{
    const QByteArray half = R"({ "posnum": 1, "quantity": 1 })";
    const Ran ran = runJson(scenarioOfSteps(
        R"({ "do": "openSale", "id": "R-1", "positions": [
            { "articul": "1", "name": "Чай", "price": 50, "quantity": 2 } ] },
        { "do": "identifyByCard", "card": "2000000000055" },
        { "do": "spendPoints", "points": 33.33 }, { "do": "pay" }, )" +
        returnOf(half, "R-2") + R"(, { "do": "pay" }, )" + returnOf(half, "R-3") + R"(, { "do": "pay" },
        { "do": "deliver" }, { "do": "openSale", "id": "R-4", "positions": [] },
        { "do": "identifyByCard", "card": "2000000000055" })"));
    EXPECT_EQ(ran.status, 0) << "the ledger agrees: both cut the first part to 16.66";
    const QList<QJsonObject> lines = linesOf(ran);
    ASSERT_EQ(lines.size(), 12);
    EXPECT_EQ(lines[10].value(u"balance"_s).toDouble(), 300);
    EXPECT_EQ(lines[11].value(u"summary"_s).toObject().value(u"spent"_s).toDouble(), 0);
}

TEST(TillReturn, WithoutACardIsReportedByTheQueue)
{
    const Ran ran = runJson(scenarioOfSteps(R"({ "do": "openSale", "id": "R-1", "positions": [
        { "articul": "1", "name": "Чай", "price": 30, "quantity": 2 } ] }, { "do": "pay" }, )" +
                                            returnOf(R"({ "posnum": 1, "quantity": 1 })") +
                                            R"(, { "do": "pay" }, { "do": "deliver" })"));
    EXPECT_EQ(ran.status, 0);
    const QList<QJsonObject> lines = linesOf(ran);
    EXPECT_EQ(lines.value(3).value(u"queued"_s).toInt(), 3) << "sale, whole return, and what stays sold";
    EXPECT_EQ(lines.value(4).value(u"value"_s).toInt(), 3);
    EXPECT_EQ(lines.value(4).value(u"queued"_s).toInt(), 0);
}

} // namespace tilltest

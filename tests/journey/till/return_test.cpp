#include "tests/journey/till/tillprocess.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

const Steps paidSale = largeSale + card + spendPoints(78) + pay();

/// The error of a return of the paid sale that cannot be opened.
std::string refusalOf(const Step& step)
{
    const Ran ran = runJson(paidSale + step);
    EXPECT_EQ(ran.status, 1);
    return errorOf(lastStep(ran));
}

} // namespace

TEST(TillReturn, WhatCannotBeReturnedIsSaid)
{
    EXPECT_EQ(refusalOf(openReturn("R-2", "R-9", {position(1)})),
              "Чека R-9 нет среди закрытых: возврат не возможен");
    EXPECT_EQ(refusalOf(openReturn("R-2", "R-1", {position(3)})), "Позиции 3 нет в чеке R-1");
    EXPECT_EQ(refusalOf(openReturn("R-2", "R-1", {position(2, 2.001)})),
              "Позиция 2: к возврату 2,001, а продано 2");
    EXPECT_EQ(refusalOf(openReturn("R-2", "R-1", {position(2, 0)})),
              "Позиция 2: количество для возврата должно быть больше нуля");
    EXPECT_EQ(refusalOf(openReturn("R-2", "R-1", {position(2), position(2)})), "Позиция 2 указана дважды");
    EXPECT_EQ(refusalOf(openReturn("R-2", "R-1", {})), "В возврате нет ни одной позиции");
    EXPECT_EQ(refusalOf(openReturn("R-1", "R-1", {position(1)})),
              "Чек R-1 уже есть: номер чека не повторяется");
}

TEST(TillReturn, OfAReturnIsRefused)
{
    const Ran ran = runJson(paidSale + openReturn("R-2", "R-1", {position(1)}) + pay() +
                            openReturn("R-3", "R-2", {position(1)}));
    EXPECT_EQ(errorOf(linesOf(ran).value(6)), "Чек R-2 — не продажа: возврат не возможен");
}

TEST(TillReturn, WhatCameBackBeforeCannotComeBackAgain)
{
    const Back one = position(2);
    const QList<QJsonObject> lines =
        linesOf(runJson(paidSale + openReturn("R-2", "R-1", {one}) + pay() + openReturn("R-3", "R-1", {one}) +
                        pay() + openReturn("R-4", "R-1", {position(2, 0.001)})));
    EXPECT_TRUE(lines.value(6).value(u"ok"_s).toBool());
    EXPECT_EQ(errorOf(lines.value(8)), "Позиция 2: к возврату 0,001, а из проданных 2 уже возвращено 2");
}

TEST(TillReturn, WhatCameBackIsRememberedByTheNextTill)
{
    const Files files;
    const QStringList kept{u"--data-dir"_s, files.path(u"data"_s)};
    const Back one = position(2);
    EXPECT_EQ(runJson(paidSale + openReturn("R-2", "R-1", {one}) + pay(), kept).status, 0);
    const QList<QJsonObject> lines =
        linesOf(runJson(openReturn("R-3", "R-1", {position(2, 2)}) + openReturn("R-3", "R-1", {one}), kept));
    EXPECT_EQ(errorOf(lines.value(0)), "Позиция 2: к возврату 2, а из проданных 2 уже возвращено 1");
    EXPECT_TRUE(lines.value(1).value(u"ok"_s).toBool());
}

TEST(TillReturn, DiscountsGoBackInProportionToTheQuantity)
{
    const Ran ran =
        runSteps(paidSale + openReturn("R-2", "R-1", {position(2), position(1)}) + pay() + deliver());
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
    const Ran ran =
        runJson(openSale("R-1", {tea(33.33, 3).less(0.01)}) + card + spendPoints(10) + pay() +
                openReturn("R-2", "R-1", {position(1, 3)}) + pay() + deliver() + openSale("R-3") + card);
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
    const Back half = position(1);
    const Ran ran = runJson(openSale("R-1", {tea(50, 2)}) + card + spendPoints(33.33) + pay() +
                            openReturn("R-2", "R-1", {half}) + pay() + openReturn("R-3", "R-1", {half}) +
                            pay() + deliver() + openSale("R-4") + card);
    EXPECT_EQ(ran.status, 0) << "the ledger agrees: both cut the first part to 16.66";
    const QList<QJsonObject> lines = linesOf(ran);
    ASSERT_EQ(lines.size(), 12);
    EXPECT_EQ(lines[10].value(u"balance"_s).toDouble(), 300);
    EXPECT_EQ(lines[11].value(u"summary"_s).toObject().value(u"spent"_s).toDouble(), 0);
}

TEST(TillReturn, WithoutACardIsReportedByTheQueue)
{
    const Ran ran = runJson(openSale("R-1", {tea(30, 2)}) + pay() + openReturn("R-2", "R-1", {position(1)}) +
                            pay() + deliver());
    EXPECT_EQ(ran.status, 0);
    const QList<QJsonObject> lines = linesOf(ran);
    EXPECT_EQ(lines.value(3).value(u"queued"_s).toInt(), 3) << "sale, whole return, and what stays sold";
    EXPECT_EQ(lines.value(4).value(u"value"_s).toInt(), 3);
    EXPECT_EQ(lines.value(4).value(u"queued"_s).toInt(), 0);
}

} // namespace tilltest

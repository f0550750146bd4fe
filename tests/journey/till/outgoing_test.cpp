#include "tests/journey/till/kepttill.h"

#include <QFile>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

const QByteArray down = R"({ "do": "service", "up": false })";
const QByteArray up = R"({ "do": "service", "up": true })";

} // namespace

TEST(TillOutgoing, AnEarningThatTheServiceMissesIsDeliveredLater)
{
    const Ran ran = runJson(scenarioOfSteps(sale + ',' + card + ',' + down + R"(,
        { "do": "pay" }, { "do": "deliver", "mayFail": true },)" +
                                            up + R"(, { "do": "deliver" })"));
    EXPECT_EQ(ran.status, 0);
    const QList<QJsonObject> lines = linesOf(ran);
    ASSERT_EQ(lines.size(), 8);
    EXPECT_TRUE(lines[3].value(u"ok"_s).toBool());
    EXPECT_EQ(lines[3].value(u"queued"_s).toInt(), 1);
    EXPECT_FALSE(lines[4].value(u"ok"_s).toBool());
    EXPECT_EQ(lines[4].value(u"value"_s).toInt(), 0);
    EXPECT_THAT(lines[4].value(u"error"_s).toString().toStdString(),
                HasSubstr("В очереди осталось сообщений: 1 (no connection to the service)"));
    EXPECT_TRUE(lines[6].value(u"ok"_s).toBool());
    EXPECT_EQ(lines[6].value(u"queued"_s).toInt(), 0);
    EXPECT_EQ(lines[7].value(u"summary"_s).toObject().value(u"earned"_s).toDouble(), 15);
}

TEST(TillOutgoing, WhatWaitsIsSaidButIsNoDifference)
{
    const Files files;
    const QString file = files.write(
        u"s.json"_s, scenarioOfSteps(sale + ',' + card + R"(, { "do": "spendPoints", "points": 100 },)" +
                                     down + R"(, { "do": "rollback" })"));
    const Ran ran = run({u"run"_s, file});
    EXPECT_EQ(ran.status, 0) << ran.out.toStdString();
    EXPECT_THAT(ran.out.toStdString(),
                HasSubstr("        0   0,00    0,00       1          0        1  agrees\n"));
}

TEST(TillOutgoing, AReturnWaitsBehindItsSale)
{
    const Ran ran = runJson(scenarioOfSteps(sale + ',' + card + R"(, { "do": "spendPoints", "points": 100 },
        { "do": "pay" }, { "do": "openReturn", "id": "R-2", "of": "R-1", "positions": [
            { "posnum": 1, "quantity": 1 } ] }, { "do": "pay" })"));
    EXPECT_EQ(ran.status, 0) << "what waits under the sale's name is no difference";
    EXPECT_EQ(linesOf(ran).last().value(u"summary"_s).toObject().value(u"waiting"_s).toInt(), 2);
}

TEST(TillOutgoing, ARefusedMessageIsSaidWithTheServicesWords)
{
    const Files files;
    const QStringList there{u"--data-dir"_s, files.path(u"data"_s)};
    ASSERT_EQ(runJson(scenarioOfSteps(sale + ',' + card + R"(, { "do": "pay" })"), there).status, 0);
    // New books, in which nobody has earned anything that could be refused.
    ASSERT_TRUE(QFile::remove(files.path(u"data/stand.sqlite"_s)));
    const Ran ran = runJson(scenarioOfSteps(R"({ "do": "openReturn", "id": "R-2", "of": "R-1", "positions": [
        { "posnum": 1, "quantity": 1 } ] }, { "do": "pay" }, { "do": "deliver" })"),
                            there);
    EXPECT_EQ(ran.status, 1);
    const QList<QJsonObject> lines = linesOf(ran);
    EXPECT_EQ(
        lines.value(2).value(u"error"_s).toString(),
        u"В очереди осталось сообщений: 1, из них отклонено службой: 1 (Операция для отмены не найдена)"_s);
    EXPECT_EQ(lines.value(2).value(u"queued"_s).toInt(), 0);
    EXPECT_EQ(lines.value(3).value(u"summary"_s).toObject().value(u"parked"_s).toInt(), 1);
}

TEST(TillOutgoing, AForeignServiceIsNeitherStartedNorStopped)
{
    const Ran ran = runJson(scenarioOfSteps(down + ',' + up), {u"--server-url"_s, u"http://127.0.0.1:1/"_s});
    EXPECT_EQ(ran.status, 1);
    const QList<QJsonObject> lines = linesOf(ran);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(lines.value(i).value(u"error"_s).toString(),
                  u"Служба лояльности не запущена этой кассой: остановить и запустить её нельзя"_s);
    EXPECT_TRUE(lines.value(2).value(u"summary"_s).toObject().value(u"differences"_s).isNull());
}

} // namespace tilltest

#include "tests/journey/till/kepttill.h"

#include <QFile>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::HasSubstr;

namespace tilltest {

TEST(TillOutgoing, AnEarningThatTheServiceMissesIsDeliveredLater)
{
    const Ran ran =
        runJson(sale + card + stopService() + pay() + deliver().mayFail() + startService() + deliver());
    EXPECT_EQ(ran.status, 0);
    const QList<QJsonObject> lines = linesOf(ran);
    ASSERT_EQ(lines.size(), 8);
    EXPECT_TRUE(lines[3].value(u"ok"_s).toBool());
    EXPECT_EQ(lines[3].value(u"queued"_s).toInt(), 1);
    EXPECT_FALSE(lines[4].value(u"ok"_s).toBool());
    EXPECT_EQ(lines[4].value(u"value"_s).toInt(), 0);
    EXPECT_THAT(errorOf(lines[4]),
                HasSubstr("В очереди осталось сообщений: 1 (no connection to the service)"));
    EXPECT_TRUE(lines[6].value(u"ok"_s).toBool());
    EXPECT_EQ(lines[6].value(u"queued"_s).toInt(), 0);
    EXPECT_EQ(lines[7].value(u"summary"_s).toObject().value(u"earned"_s).toDouble(), 15);
}

TEST(TillOutgoing, WhatWaitsIsSaidButIsNoDifference)
{
    const Ran ran = runSteps(sale + card + spend + stopService() + rollback());
    EXPECT_EQ(ran.status, 0) << ran.out.toStdString();
    EXPECT_THAT(ran.out.toStdString(),
                HasSubstr("        0   0,00    0,00       1          0        1  agrees\n"));
}

TEST(TillOutgoing, AReturnWaitsBehindItsSale)
{
    const Ran ran = runJson(sale + card + spend + pay() + openReturn("R-2", "R-1", {position(1)}) + pay());
    EXPECT_EQ(ran.status, 0) << "what waits under the sale's name is no difference";
    EXPECT_EQ(linesOf(ran).last().value(u"summary"_s).toObject().value(u"waiting"_s).toInt(), 2);
}

TEST(TillOutgoing, ARefusedMessageIsSaidWithTheServicesWords)
{
    const Files files;
    const QStringList there{u"--data-dir"_s, files.path(u"data"_s)};
    ASSERT_EQ(runJson(sale + card + pay(), there).status, 0);
    // New books, in which nobody has earned anything that could be refused.
    ASSERT_TRUE(QFile::remove(files.path(u"data/stand.sqlite"_s)));
    const Ran ran = runJson(openReturn("R-2", "R-1", {position(1)}) + pay() + deliver(), there);
    EXPECT_EQ(ran.status, 1);
    const QList<QJsonObject> lines = linesOf(ran);
    EXPECT_EQ(errorOf(lines.value(2)), "В очереди осталось сообщений: 1, из них отклонено службой: 1 "
                                       "(Операция для отмены не найдена)");
    EXPECT_EQ(lines.value(2).value(u"queued"_s).toInt(), 0);
    EXPECT_EQ(lines.value(3).value(u"summary"_s).toObject().value(u"parked"_s).toInt(), 1);
}

TEST(TillOutgoing, AForeignServiceIsNeitherStartedNorStopped)
{
    const Ran ran = runJson(stopService() + startService(), {u"--server-url"_s, u"http://127.0.0.1:1/"_s});
    EXPECT_EQ(ran.status, 1);
    const QList<QJsonObject> lines = linesOf(ran);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(errorOf(lines.value(i)),
                  "Служба лояльности не запущена этой кассой: остановить и запустить её нельзя");
    EXPECT_TRUE(lines.value(2).value(u"summary"_s).toObject().value(u"differences"_s).isNull());
}

} // namespace tilltest

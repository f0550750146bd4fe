#include "tests/journey/till/tillprocess.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

Steps saleOf(const char* id) { return openSale(id, {tea(300)}) + card; }

const Steps spendAndPay = spendPoints(40) + pay();

} // namespace

TEST(TillSummary, AllScenariosOfTheFolderGoWellAndTheLedgerAgrees)
{
    QStringList files;
    const QDir folder(QStringLiteral(SCENARIOS));
    for (const QString& name : folder.entryList({u"*.json"_s}))
        files.append(folder.filePath(name));
    ASSERT_GT(files.size(), 10);
    const Ran ran = run(QStringList{u"run"_s, u"--json"_s} + files);
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.err, "");
    int receipts = 0;
    qsizetype summaries = 0;
    for (const QJsonObject& line : linesOf(ran)) {
        const QJsonObject summary = line.value(u"summary"_s).toObject();
        if (summary.isEmpty())
            continue;
        ++summaries;
        receipts += summary.value(u"receipts"_s).toInt();
        EXPECT_TRUE(summary.value(u"differences"_s).isArray());
        EXPECT_TRUE(summary.value(u"differences"_s).toArray().isEmpty());
        EXPECT_EQ(summary.value(u"failed"_s).toInt(), summary.value(u"allowed"_s).toInt());
        EXPECT_EQ(summary.value(u"waiting"_s).toInt() + summary.value(u"parked"_s).toInt(), 0)
            << summary.value(u"file"_s).toString().toStdString();
    }
    EXPECT_EQ(summaries, files.size());
    EXPECT_GE(receipts, 15);
}

TEST(TillSummary, ATableEndsTheAccount)
{
    const Files files;
    const QString a = files.write(u"a.json"_s, scenario(saleOf("R-1") + spendAndPay));
    const QString b = files.write(u"b.json"_s, scenario(saleOf("R-2") + pay()));
    const Ran ran = run({u"run"_s, a, b});
    EXPECT_EQ(ran.status, 0);
    const QByteArray blanks(a.toUtf8().size() - 4, ' ');
    EXPECT_THAT(
        ran.out.toStdString(),
        HasSubstr(("\nfile" + blanks + "  receipts  spent  earned  queued  delivered  waiting  ledger\n" +
                   a.toUtf8() + "         1  40,00   13,00       0          0        0  agrees\n" +
                   b.toUtf8() + "         1   0,00   15,00       0          0        0  agrees\n" + "total" +
                   blanks.sliced(1) + "         2  40,00   28,00       0          0        0  agrees\n")
                      .toStdString()));
}

TEST(TillSummary, WhatAnotherTillDidWithTheCardIsADifference)
{
    const Files files;
    const auto there = [&files](const QString& name) {
        return QStringList{u"--data-dir"_s, files.path(name)};
    };
    ASSERT_EQ(runJson(saleOf("OTHER-1") + spendAndPay, there(u"other"_s)).status, 0);
    // The same books at a till that has not had that receipt.
    ASSERT_TRUE(QDir().mkpath(files.path(u"ours"_s)));
    ASSERT_TRUE(QFile::copy(files.path(u"other/stand.sqlite"_s), files.path(u"ours/stand.sqlite"_s)));

    const QString file = files.write(u"s.json"_s, scenario(saleOf("R-1")));
    const Ran ran = run(QStringList{u"run"_s, file} + there(u"ours"_s));
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("s.json: 2 steps, 0 failed\n"));
    EXPECT_THAT(
        ran.out.toStdString(),
        HasSubstr("ledger differs: OTHER-1, card …0055: spent 0.00 at the till, 40.00 in the ledger\n"));
    EXPECT_THAT(
        ran.out.toStdString(),
        HasSubstr("ledger differs: OTHER-1, card …0055: earned 0.00 at the till, 13.00 in the ledger\n"));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("  differs\n"));
}

TEST(TillSummary, TheReceiptsOfEarlierRunsStillAgree)
{
    const Files files;
    const QStringList there{u"--data-dir"_s, files.path(u"data"_s)};
    EXPECT_EQ(runJson(saleOf("R-1") + spendAndPay, there).status, 0);
    const Ran ran = runJson(saleOf("R-2"), there);
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(linesOf(ran).last().value(u"summary"_s).toObject().value(u"receipts"_s).toInt(), 0);
}

TEST(TillSummary, ARunInTheFolderOfAnotherGoesOnWithItsClock)
{
    const Files files;
    const QStringList there{u"--data-dir"_s, files.path(u"data"_s)};
    // Within the same second; the service knows a spending by the card and the second.
    EXPECT_EQ(runJson(saleOf("R-1") + spendAndPay, there).status, 0);
    const Ran ran = runJson(saleOf("R-2") + spendAndPay, there);
    EXPECT_EQ(ran.status, 0) << ran.out.toStdString();
    QFile clock(files.path(u"data/scenario-clock"_s));
    ASSERT_TRUE(clock.open(QIODevice::ReadOnly));
    EXPECT_EQ(clock.permissions() & QFile::Permissions(0x0077), QFile::Permissions())
        << "as all that is kept";
    const auto kept = QDateTime::fromString(QString::fromLatin1(clock.readAll().trimmed()), Qt::ISODate);
    EXPECT_GE(QDateTime::currentDateTimeUtc().secsTo(kept), 2 * 600 + 8 * 5 - 60);
}

TEST(TillSummary, AStoppedStandIsAskedNevertheless)
{
    const Ran ran = runJson(saleOf("R-1") + spendAndPay + stopService());
    EXPECT_EQ(ran.status, 0);
    EXPECT_TRUE(linesOf(ran).last().value(u"summary"_s).toObject().value(u"differences"_s).isArray());
}

TEST(TillSummary, ARatioThatOnlyThePluginKnowsNeedsAService)
{
    const Ran ran = runJson({}, {}, {{u"KYRLoyalty:bonusRatio"_s, u"0.5:1"_s}});
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err.toStdString(),
                HasSubstr("KYRLoyalty:bonusRatio: the stand knows ratios of whole numbers"));
}

} // namespace tilltest

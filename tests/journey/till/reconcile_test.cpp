#include "tests/journey/till/tillprocess.h"
#include "tests/support/httpserver.h"

#include <QDate>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using test_support::HttpAnswer;
using test_support::HttpServer;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

/// A till that has played receipts with a stand of its own, whose books lie in the data directory.
class TillReconcile : public testing::Test
{
protected:
    void play(const char* scenario)
    {
        const Ran ran = run({u"run"_s, QStringLiteral(SCENARIOS) + u'/' + QString::fromLatin1(scenario),
                             u"--data-dir"_s, directory});
        ASSERT_EQ(ran.status, 0) << ran.out.toStdString();
    }

    [[nodiscard]] Ran reconcile(const QStringList& more = {}) const
    {
        return run(QStringList{u"reconcile"_s, u"--data-dir"_s, directory} + more);
    }

    const Files files{};
    const QString directory = files.path(u"data"_s);
};

} // namespace

TEST_F(TillReconcile, ADayThatAgrees)
{
    play("10-partial-returns.json");
    play("11-anonymous.json");
    const Ran ran = reconcile();
    EXPECT_EQ(ran.status, 0) << ran.out.toStdString() << ran.err.toStdString();
    EXPECT_THAT(ran.out.toStdString(), HasSubstr(": 9 receipts compared, 0 differences\n"));
    const Ran quietDay = reconcile({u"--date"_s, u"2020-02-29"_s, u"--json"_s});
    EXPECT_EQ(quietDay.out, "{\"date\":\"2020-02-29\",\"differences\":[],\"receipts\":[]}\n");
}

TEST_F(TillReconcile, EveryDifferenceIsTold)
{
    play("10-partial-returns.json");
    ASSERT_TRUE(QFile::remove(files.path(u"data/till.sqlite"_s)));
    const Ran ran = reconcile({u"--json"_s});
    EXPECT_EQ(ran.status, 1) << ran.err.toStdString();
    const QJsonObject report = QJsonDocument::fromJson(ran.out).object();
    EXPECT_EQ(report[u"date"_s].toString(), QDate::currentDate().toString(Qt::ISODate));
    const QJsonArray differences = report[u"differences"_s].toArray();
    ASSERT_FALSE(differences.isEmpty());
    EXPECT_EQ(differences[0][u"receipt"_s].toString(), u"10-1"_s);
    EXPECT_EQ(differences[0][u"text"_s].toString(),
              u"10-1, card …0017: spent 0.00 at the till, 140.00 in the ledger"_s);
}

TEST_F(TillReconcile, AServiceWithoutALedgerPageIsSaid)
{
    play("02-earn.json");
    HttpServer server;
    server.enqueue(HttpAnswer::status(404, "{}"));
    const Ran ran = reconcile({u"--server-url"_s, server.url().toString()});
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err.toStdString(),
                HasSubstr("shows no ledger to compare with (code 404): only the stand does"));
    EXPECT_EQ(server.requests().value(0).path, "/stand/ledger");
}

TEST_F(TillReconcile, ADayIsChecked)
{
    EXPECT_THAT(reconcile({u"--date"_s, u"yesterday"_s}).err.toStdString(),
                HasSubstr("--date: expected a day such as 2026-11-21 instead of 'yesterday'"));
}

} // namespace tilltest

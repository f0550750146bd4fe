#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "tests/journey/till/tillprocess.h"
#include "tests/support/httpserver.h"
#include "tests/support/rawdatabase.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using test_support::HttpAnswer;
using test_support::HttpServer;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

namespace tilltest {

namespace {

/// A data directory with an outgoing queue, and a service to deliver it to.
class TillQueue : public testing::Test
{
protected:
    TillQueue() { storage::setDataDirectory(directory); }
    ~TillQueue() override { storage::setDataDirectory({}); }

    qint64 enqueue(const QString& receipt)
    {
        return MessageQueue().enqueue(u"kyrloyalty"_s, receipt,
                                      {{u"method"_s, u"POST"_s},
                                       {u"url"_s, server.url(u"/v2/partner/operation/payment-b2c"_s)},
                                       {u"headers"_s, QVariantMap{{u"Authorization"_s, u"Basic aHVzaA=="_s},
                                                                  {u"Accept"_s, u"application/json"_s}}},
                                       {u"timeout"_s, 3},
                                       {u"body"_s, QByteArray(R"({"card":"2000000000017","code":"4711"})")}},
                                      u"Начисление по карте 2000000000017"_s);
    }

    [[nodiscard]] Ran queue(const QStringList& arguments) const
    {
        return run(QStringList{u"queue"_s} + arguments + QStringList{u"--data-dir"_s, directory});
    }

    [[nodiscard]] QJsonObject json(const QStringList& arguments) const
    {
        return QJsonDocument::fromJson(queue(arguments + QStringList{u"--json"_s}).out).object();
    }

    /// Has the service refuse the next message for good.
    void refuseNext()
    {
        server.enqueue(
            HttpAnswer::status(422, R"({"data":[{"message":"Карта 2000000000017 заблокирована"}]})"));
    }

    const Files files;
    const QString directory = files.path(u"data"_s);
    HttpServer server;
};

} // namespace

TEST_F(TillQueue, ListsWhatWaitsInColumns)
{
    enqueue(u"R-1"_s);
    enqueue(u"R-2"_s);
    const Ran ran = queue({u"list"_s});
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.err, "");
    const QList<QByteArray> lines = ran.out.trimmed().split('\n');
    ASSERT_EQ(lines.size(), 4) << ran.out.toStdString();
    EXPECT_TRUE(lines[0].startsWith("id  since "));
    EXPECT_TRUE(lines[1].startsWith(" 1  2"));
    EXPECT_THAT(lines[2].toStdString(), HasSubstr("Z  R-2      payment-b2c  waiting         0"));
    EXPECT_EQ(lines[3], "2 waiting, 0 parked");
}

TEST_F(TillQueue, ListsAsManyAsAskedAndSaysThatThereAreMore)
{
    enqueue(u"R-1"_s);
    enqueue(u"R-2"_s);
    const QJsonObject listed = json({u"list"_s, u"--limit"_s, u"1"_s});
    EXPECT_EQ(listed[u"messages"_s].toArray().size(), 1);
    EXPECT_TRUE(listed[u"more"_s].toBool());
    EXPECT_EQ(listed[u"waiting"_s].toInt(), 2);
    EXPECT_FALSE(json({u"list"_s, u"--limit"_s, u"2"_s})[u"more"_s].toBool());
    EXPECT_EQ(json({u"list"_s, u"--parked"_s})[u"messages"_s].toArray().size(), 0);
    EXPECT_THAT(queue({u"list"_s, u"--limit"_s, u"0"_s}).err.toStdString(),
                HasSubstr("--limit: expected a whole number above 0 instead of '0'"));
}

TEST_F(TillQueue, ShowsAMessageWithoutItsSecrets)
{
    const QString id = QString::number(enqueue(u"R-1"_s));
    for (const QStringList& way : {QStringList{u"show"_s, id}, QStringList{u"show"_s, id, u"--json"_s}}) {
        const Ran ran = queue(way);
        EXPECT_EQ(ran.status, 0);
        EXPECT_THAT(ran.out.toStdString(),
                    AllOf(HasSubstr("…0017"), HasSubstr("application/json"), HasSubstr("payment-b2c"),
                          Not(HasSubstr("2000000000017")), Not(HasSubstr("4711")), Not(HasSubstr("aHVzaA"))));
    }
    EXPECT_EQ(json({u"show"_s, id})[u"headers"_s].toObject()[u"Authorization"_s].toString(), u"***"_s);
    const Ran missing = queue({u"show"_s, u"99"_s});
    EXPECT_EQ(missing.status, 2);
    EXPECT_THAT(missing.err.toStdString(), HasSubstr("no message 99 in the queue; see till queue list"));
    EXPECT_THAT(queue({u"show"_s, u"first"_s}).err.toStdString(),
                HasSubstr("expected the number of a message instead of 'first'"));
}

TEST_F(TillQueue, DeliversOnceAndTellsHowFarItCame)
{
    enqueue(u"R-1"_s);
    enqueue(u"R-2"_s);
    server.enqueue(HttpAnswer::status(200, "{}"));
    server.enqueue(HttpAnswer::status(503));
    const Ran ran = queue({u"deliver"_s});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "1 delivered, 1 waiting, 0 parked\nfirst error: HTTP 503\n");
    EXPECT_EQ(ran.err, "1 of 2: payment-b2c ok\n2 of 2: payment-b2c failed\n");
    server.enqueue(HttpAnswer::status(200, "{}"));
    EXPECT_EQ(queue({u"deliver"_s}).status, 0);
    EXPECT_EQ(json({u"list"_s})[u"waiting"_s].toInt(), 0);
}

TEST_F(TillQueue, ARefusedMessageIsRetriedAfterTheCauseIsMended)
{
    const qint64 id = enqueue(u"R-1"_s);
    refuseNext();
    const Ran refused = queue({u"deliver"_s, u"--json"_s});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(QJsonDocument::fromJson(refused.out).object()[u"firstError"_s].toString(),
              u"Карта …0017 заблокирована"_s);
    EXPECT_EQ(json({u"list"_s, u"--parked"_s})[u"messages"_s].toArray().size(), 1);

    const QJsonObject retried = json({u"retry"_s, u"--all"_s});
    EXPECT_EQ(retried[u"changed"_s].toArray(), QJsonArray{id});
    EXPECT_EQ(queue({u"retry"_s, QString::number(id)}).status, 1) << "it waits already";
    server.enqueue(HttpAnswer::status(200, "{}"));
    EXPECT_EQ(queue({u"deliver"_s}).status, 0);
}

TEST_F(TillQueue, WhatARefusalRepeatsOfTheCredentialsIsNotKept)
{
    const QString id = QString::number(enqueue(u"R-1"_s));
    server.enqueue(HttpAnswer::status(422, R"({"data":[{"message":"Authorization: Basic aHVzaA=="}]})"));
    EXPECT_EQ(queue({u"deliver"_s}).out,
              "0 delivered, 0 waiting, 1 parked\nfirst error: Authorization: Basic ***\n");
    for (const QStringList& way : {QStringList{u"list"_s}, QStringList{u"show"_s, id}})
        EXPECT_THAT(queue(way).out.toStdString(), AllOf(HasSubstr("Basic ***"), Not(HasSubstr("aHVzaA"))));
}

TEST_F(TillQueue, RetryNeedsToBeToldWhat)
{
    enqueue(u"R-1"_s);
    EXPECT_EQ(queue({u"retry"_s}).status, 2);
    EXPECT_THAT(queue({u"retry"_s, u"1"_s, u"--all"_s}).err.toStdString(),
                HasSubstr("expected either numbers of messages or --all"));
}

TEST_F(TillQueue, DropsNothingWhereNobodyCanBeAsked)
{
    const QString id = QString::number(enqueue(u"R-1"_s));
    const Ran ran = queue({u"drop"_s, id});
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err.toStdString(), HasSubstr("nobody can be asked here; say --yes"));
    EXPECT_EQ(json({u"list"_s})[u"waiting"_s].toInt(), 1);

    EXPECT_EQ(queue({u"drop"_s, id, u"--yes"_s}).out,
              "message " + id.toUtf8() + " is dropped; the history keeps it\n");
    EXPECT_EQ(json({u"list"_s})[u"waiting"_s].toInt(), 0);
    EXPECT_EQ(queue({u"drop"_s, id, u"-y"_s}).status, 1);
}

TEST_F(TillQueue, ReaddressesWhatWaitsToTheServiceThatMoved)
{
    const QString old = server.url().toString();
    HttpServer moved;
    const QString next = moved.url(u"/api/"_s).toString();
    const QString id = QString::number(enqueue(u"R-1"_s));
    enqueue(u"R-2"_s);
    const QStringList wanted{u"readdress"_s, u"--from"_s, old, u"--to"_s, next};

    const Ran unasked = queue(wanted);
    EXPECT_EQ(unasked.status, 2);
    EXPECT_THAT(unasked.err.toStdString(), HasSubstr("2 put in for " + old.toStdString() + " would go to " +
                                                     next.toStdString() + ", but nobody can be asked here"));
    EXPECT_THAT(queue({u"show"_s, id}).out.toStdString(), HasSubstr("POST " + old.toStdString() + "v2/"));

    const Ran done = queue(wanted + QStringList{u"--yes"_s});
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.out, "2 readdressed to " + next.toUtf8() + '\n');
    const Ran again = queue(wanted + QStringList{u"-y"_s});
    EXPECT_EQ(again.status, 1);
    EXPECT_EQ(again.out,
              "no message is for " + old.toUtf8() + "; there are some for " + next.toUtf8() + '\n');

    for (int i = 0; i < 2; ++i)
        moved.enqueue(HttpAnswer::status(200, "{}"));
    EXPECT_EQ(queue({u"deliver"_s}).status, 0);
    ASSERT_EQ(moved.requests().size(), 2);
    EXPECT_EQ(moved.requests()[0].path, "/api/v2/partner/operation/payment-b2c");
    EXPECT_TRUE(server.requests().isEmpty());
    EXPECT_THAT(run({u"receipts"_s, u"show"_s, u"R-1"_s, u"--data-dir"_s, directory}).out.toStdString(),
                HasSubstr("readdressed  payment-b2c"));
}

TEST_F(TillQueue, ReaddressesToALongerPathOfTheSameServerOnlyOnce)
{
    enqueue(u"R-1"_s);
    const QString old = server.url().toString();
    const QStringList wanted{u"readdress"_s, u"--from"_s, old, u"--to"_s, old + u"api"_s, u"--yes"_s};
    EXPECT_EQ(json(wanted)[u"readdressed"_s].toInt(), 1);
    EXPECT_EQ(json(wanted)[u"readdressed"_s].toInt(-1), 0);
    enqueue(u"R-2"_s);
    EXPECT_EQ(json(wanted)[u"readdressed"_s].toInt(), 1) << "the new one alone";
    EXPECT_THAT(queue({u"show"_s, u"1"_s}).out.toStdString(),
                HasSubstr("POST " + old.toStdString() + "api/v2/partner/operation/payment-b2c"));
}

TEST_F(TillQueue, ReaddressNeedsTwoAddresses)
{
    enqueue(u"R-1"_s);
    for (const QStringList& wrong :
         {QStringList{u"--from"_s, u"http://a/"_s}, QStringList{u"--to"_s, u"http://a/"_s}, QStringList{}})
        EXPECT_THAT(queue(QStringList{u"readdress"_s} + wrong).err.toStdString(),
                    HasSubstr("expected --from URL and --to URL"));
    const auto said = [this](const QString& from, const QString& to) {
        const Ran ran = queue({u"readdress"_s, u"--yes"_s, u"--from"_s, from, u"--to"_s, to});
        EXPECT_EQ(ran.status, 2);
        return ran.err.toStdString();
    };
    EXPECT_THAT(said(u"http://a/"_s, u"b.example"_s),
                HasSubstr("--to: expected an address that begins with"));
    EXPECT_THAT(said(u"http://a/?x"_s, u"http://b/"_s), HasSubstr("--from: a '?' or '#'"));
    EXPECT_THAT(said(u"http://a/"_s, u"http://A:80"_s), HasSubstr("are the same address"));
}

TEST_F(TillQueue, AFolderThatIsNotThereIsNotMade)
{
    const Ran ran = run({u"queue"_s, u"list"_s, u"--data-dir"_s, files.path(u"none"_s)});
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err.toStdString(), HasSubstr("no such data directory; name the till's with --data-dir"));
    EXPECT_FALSE(QFile::exists(files.path(u"none"_s)));
    EXPECT_THAT(run({u"queue"_s}).err.toStdString(),
                HasSubstr("expected list, show, retry, drop, readdress, deliver"));
    EXPECT_THAT(run({u"queue"_s, u"lst"_s}).err.toStdString(), HasSubstr("did you mean \"list\"?"));
}

TEST_F(TillQueue, TheUsualFolderIsTheServicesOrTheUsers)
{
    enqueue(u"R-1"_s);
    EXPECT_EQ(runWith({u"STATE_DIRECTORY="_s + directory}, {u"queue"_s, u"list"_s})
                  .out.trimmed()
                  .split('\n')
                  .last(),
              "1 waiting, 0 parked");
    EXPECT_THAT(runWith({u"STATE_DIRECTORY="_s, u"XDG_STATE_HOME="_s + files.path(u"state"_s)},
                        {u"queue"_s, u"list"_s})
                    .err.toStdString(),
                HasSubstr(files.path(u"state/kyr-loyalty"_s).toStdString() + ": no such data directory"));
}

TEST_F(TillQueue, CallsADamagedMessageDamagedAndNotRefused)
{
    const qint64 id = enqueue(u"R-1"_s);
    test_support::flipABit(directory + u"/till.sqlite"_s, u"queued"_s, u"message"_s, u"id = %1"_s.arg(id));
    for (int i = 0; i < 2; ++i) { // before its delivery was tried, and after
        EXPECT_THAT(queue({u"list"_s}).out.toStdString(),
                    AllOf(HasSubstr("  damaged "), Not(HasSubstr("refuse"))));
        EXPECT_EQ(json({u"list"_s})[u"messages"_s][0][u"state"_s].toString(), u"damaged"_s);
        EXPECT_THAT(queue({u"show"_s, QString::number(id)}).out.toStdString(),
                    AllOf(HasSubstr("state       damaged\n"), Not(HasSubstr("refuse"))));
        const Ran receipt = run({u"receipts"_s, u"show"_s, u"R-1"_s, u"--data-dir"_s, directory});
        EXPECT_THAT(receipt.out.toStdString(), HasSubstr("damaged: message 1 needs till queue drop"));
        EXPECT_EQ(queue({u"deliver"_s}).status, 1);
    }
    EXPECT_TRUE(server.requests().isEmpty());
}

} // namespace tilltest

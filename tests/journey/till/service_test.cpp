#include "tests/journey/till/tillprocess.h"
#include "tests/support/httpserver.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTcpServer>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

QString urlOf(const QTcpServer& server) { return u"http://127.0.0.1:%1/"_s.arg(server.serverPort()); }

const Steps identified = sale + identifyByCard("2000000000017");

} // namespace

TEST(TillService, ARefusedConnectionFailsTheStep)
{
    QTcpServer server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
    const QString url = urlOf(server);
    server.close();
    const Ran ran = runSteps(identified, {u"--server-url"_s, url});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("     Ошибка обращения к серверу\n"));
}

TEST(TillService, ASilentServiceFailsTheStepWithinTheTimeout)
{
    QTcpServer server; // the system accepts the connection; nobody answers
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
    QElapsedTimer clock;
    clock.start();
    const Ran ran = runSteps(identified, {u"--verbose"_s, u"--server-url"_s, urlOf(server)},
                             {{u"KYRLoyalty:timeout"_s, 1}});
    EXPECT_GE(clock.elapsed(), 1000);
    EXPECT_LT(clock.elapsed(), 9000) << "the default timeout would have taken ten seconds";
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("     Ошибка обращения к серверу\n"));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("no answer, 1"));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr(" ms (Timeout)"));
}

TEST(TillService, WhatAnErrorRepeatsOfTheCredentialsIsShownToNobody)
{
    const Files files;
    const QString config =
        files.write(u"till.toml"_s, "[KYRLoyalty]\nuser = \"shop\"\npassword = \"open-sesame\"\n");
    const QByteArray encoded = QByteArray("shop:open-sesame").toBase64();
    test_support::HttpServer server;
    server.enqueue(
        test_support::HttpAnswer::status(400, R"({"data":[{"message":"Bad: Authorization: Basic )" + encoded +
                                                  R"(, that is shop:open-sesame"}]})"));
    const QString log = files.path(u"till.log"_s);
    const Ran ran = run({u"shell"_s, u"--verbose"_s, u"--config"_s, config, u"--server-url"_s,
                         server.url().toString(), u"--log-file"_s, log, u"--log-level"_s, u"debug"_s},
                        "openSale id=R-1 positions=[]\nidentifyByCard card=2000000000017\n");
    QFile file(log);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    for (const QByteArray& text : {ran.out, file.readAll()}) {
        EXPECT_THAT(text.toStdString(), HasSubstr("Bad: Authorization: Basic ***, that is shop:***"));
        EXPECT_FALSE(text.contains(encoded.first(12)) || text.contains("sesame")) << text.toStdString();
    }
}

} // namespace tilltest

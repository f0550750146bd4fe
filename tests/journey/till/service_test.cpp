#include "tests/journey/till/tillprocess.h"

#include <QElapsedTimer>
#include <QTcpServer>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

QString urlOf(const QTcpServer& server) { return u"http://127.0.0.1:%1/"_s.arg(server.serverPort()); }

const QByteArray steps = R"({ "do": "identifyByCard", "card": "2000000000017" })";

} // namespace

TEST(TillService, ARefusedConnectionFailsTheStep)
{
    QTcpServer server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
    const QString url = urlOf(server);
    server.close();
    const Files files;
    const Ran ran = run({u"run"_s, files.write(u"s.json"_s, scenarioOf(steps)), u"--server-url"_s, url});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("     Ошибка обращения к серверу\n"));
}

TEST(TillService, ASilentServiceFailsTheStepWithinTheTimeout)
{
    QTcpServer server; // the system accepts the connection; nobody answers
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
    const Files files;
    const QString file = files.write(u"s.json"_s, scenarioOf(steps, R"({ "KYRLoyalty:timeout": 1 })"));
    QElapsedTimer clock;
    clock.start();
    const Ran ran = run({u"run"_s, file, u"--verbose"_s, u"--server-url"_s, urlOf(server)});
    EXPECT_GE(clock.elapsed(), 1000);
    EXPECT_LT(clock.elapsed(), 9000) << "the default timeout would have taken ten seconds";
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("     Ошибка обращения к серверу\n"));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("no answer, 1"));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr(" ms (Timeout)"));
}

} // namespace tilltest

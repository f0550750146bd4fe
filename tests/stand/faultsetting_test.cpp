// Setting faults: over HTTP, from a file, on the command line.

#include "tests/stand/shop.h"
#include "tests/stand/standfixture.h"

#include <curl/curl.h>

#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using standtest::json;
using standtest::Shop;
using standtest::StandProcess;
using ::testing::HasSubstr;
using ::testing::Optional;

namespace {

class StandFaultList : public standtest::StandTest
{
protected:
    standtest::Reply faults(const QByteArray& method, const QByteArray& body = {},
                            const QByteArray& path = {})
    {
        return call("/stand/faults" + path, {.url = {}, .method = method, .body = body});
    }
};

TEST_F(StandFaultList, TellsWhatIsArmedAndHowOftenItStruck)
{
    EXPECT_EQ(faults("GET").json(), json(u"{'faults':[]}"_s));
    const auto set = faults("POST", R"({"operation": "card-info", "fault": "late", "ms": 5, "nth": 2})");
    EXPECT_EQ(set.status, 201);
    EXPECT_EQ(set.json(), json(u"{'faults':[{'id':1,'operation':'card-info','fault':'late','when':'after',"
                               "'nth':2,'every':1,'count':1,'ms':5,'calls':0,'fired':0,'armed':true}]}"_s));
    for (int i = 0; i < 3; ++i)
        get("card/2000000000017/card-info");
    const auto fault = faults("GET").json()[u"faults"][0];
    EXPECT_EQ(fault[u"calls"], 3);
    EXPECT_EQ(fault[u"fired"], 1);
    EXPECT_EQ(fault[u"armed"], false);
}

TEST_F(StandFaultList, GivesUpOneFaultOrAll)
{
    faults("POST", R"(["any:reset", "any:hang:nth=9", "any:late:nth=9"])");
    EXPECT_EQ(faults("DELETE", {}, "/1").json()[u"faults"].toArray().size(), 2);
    EXPECT_EQ(faults("DELETE", {}, "/1").status, 404);
    EXPECT_EQ(faults("DELETE", {}, "/x").status, 404);
    EXPECT_EQ(get("card/2000000000017/card-info").status, 200);
    EXPECT_EQ(faults("DELETE").json(), json(u"{'faults':[]}"_s));
}

TEST_F(StandFaultList, ArmsAllOfAListOrNothing)
{
    const auto refused = faults("POST", "[\"any:reset\",\n\"any:rest\"]");
    EXPECT_EQ(refused.status, 422);
    EXPECT_THAT(refused.messages().at(0).toString().toStdString(),
                HasSubstr("line 2: there is no fault \"rest\""));
    EXPECT_EQ(faults("GET").json(), json(u"{'faults':[]}"_s));
}

TEST_F(StandFaultList, KnowsItsMethods)
{
    EXPECT_EQ(faults("PUT").headers.value("allow"), "GET, POST, DELETE");
    EXPECT_EQ(faults("GET", {}, "/1").headers.value("allow"), "DELETE");
    EXPECT_EQ(call("/stand/faultsandmore").status, 404);
}

TEST(StandFaultOptions, ArmFaultsFromTheStart)
{
    Shop shop(
        {u"--fault"_s, u"force-payment-c2b:apply-then-drop:nth=1"_s, u"--fault"_s, u"payment-b2c:status"_s});
    EXPECT_EQ(shop.forcePayment({}, u"20.00"_s).error, CURLE_GOT_NOTHING);
    EXPECT_EQ(shop.earn({}).status, 503);
    EXPECT_EQ(shop.forcePayment({}, u"20.00"_s).status, 200);
    EXPECT_EQ(shop.balance(), 28000);
}

TEST(StandFaultOptions, ReadAFile)
{
    const QTemporaryDir directory;
    QFile file(directory.filePath(u"faults.json"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(R"({"faults": ["payment-b2c:status:code=502"]})");
    file.close();
    Shop shop({u"--faults"_s, file.fileName()});
    EXPECT_EQ(shop.earn({}).status, 502);
    EXPECT_EQ(shop.earn({}).status, 200);
}

TEST(StandFaultOptions, SayWhereAFileIsWrong)
{
    const QTemporaryDir directory;
    QFile file(directory.filePath(u"faults.json"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[\n  {\"fault\": \"late\", \"ms\": \"soon\"}\n]\n");
    file.close();
    StandProcess wrong({u"--faults"_s, file.fileName()});
    EXPECT_THAT(wrong.exitStatus(), Optional(1));
    EXPECT_THAT(wrong.errors().toStdString(), HasSubstr("faults.json:2: \"ms\" is a whole number from 0 to"));
    StandProcess missing({u"--faults"_s, directory.filePath(u"none.json"_s)});
    EXPECT_THAT(missing.exitStatus(), Optional(1));
    EXPECT_THAT(missing.errors().toStdString(), HasSubstr("Cannot read the faults file"));
    StandProcess misused({u"--fault"_s, u"any:oops"_s});
    EXPECT_THAT(misused.exitStatus(), Optional(2));
    EXPECT_THAT(misused.errors().toStdString(), HasSubstr("--fault: there is no fault \"oops\""));
}

TEST(StandFaultOptions, AreAllInTheHelp)
{
    StandProcess stand({u"--help"_s});
    EXPECT_THAT(stand.exitStatus(), Optional(0));
    const auto help = stand.output().toStdString();
    for (const auto* word : {"--faults", "apply-then-drop", "gzip-bomb", "confirm-payment-c2b", "nth=1",
                             "when=", "/stand/faults"})
        EXPECT_THAT(help, HasSubstr(word));
}

} // namespace

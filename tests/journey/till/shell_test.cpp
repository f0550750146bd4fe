#include "tests/journey/till/tillprocess.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace tilltest {

TEST(TillShell, EndsWellAtQuitAndAtTheEndOfInput)
{
    EXPECT_EQ(run({u"shell"_s}).status, 0);
    const Ran ran = run({u"shell"_s}, "quit\nidentifyByCard card=1\n");
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.out, "");
}

TEST(TillShell, HelpListsTheStepsAndTheirMembers)
{
    const std::string out = run({u"shell"_s}, "help\n").out.toStdString();
    for (const char* word :
         {"openSale ", "positions ", "quantity ", "openReturn ", "posnum ", "identifyByCard ",
          "identifyByPhone ", "request ", "spendPoints ", "code ", "cancel ", "rollback ", "pay ", "deliver ",
          "service ", "restart ", "choose ", "getCardInfo ", "quit "})
        EXPECT_THAT(out, HasSubstr(word));
}

TEST(TillShell, TakesStepsAsWordsAndAsJson)
{
    const Ran ran = run({u"shell"_s, u"--json"_s},
                        "openSale id=R-1 positions=[{\"articul\": \"1\", \"name\": \"Чай чёрный\", "
                        "\"price\": 10, \"quantity\": 2}]\n"
                        "\n"
                        "identifyByCard card=2000000000017\n"
                        "{ \"do\": \"identifyByPhone\", \"phone\": \"79001234567\", \"choose\": 1 }\n");
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.err, "");
    const QList<QByteArray> lines = ran.out.trimmed().split('\n');
    ASSERT_EQ(lines.size(), 3);
    EXPECT_THAT(lines[1].toStdString(), StartsWith(R"({"step":2,"do":"identifyByCard","ok":true,)"));
    EXPECT_THAT(lines[2].toStdString(), HasSubstr(R"("value":"2000000000024")"));
}

TEST(TillShell, AMistypedLineIsExplainedAndTheNextOnePlayed)
{
    const Ran ran = run({u"shell"_s}, "openSael id=R-1\n"
                                      "{ \"do\": \n"
                                      "openSale R-1\n"
                                      "openSale id=R-1 id=R-2\n"
                                      "openSale id=R-1 positions=[]\n");
    EXPECT_EQ(ran.status, 0);
    EXPECT_THAT(ran.out.toStdString(),
                AllOf(HasSubstr("did you mean \"openSale\"?"), HasSubstr("is not JSON"),
                      HasSubstr("expected member=value instead of 'R-1'"), HasSubstr("id is given twice"),
                      HasSubstr("✓  1 openSale\n     Чек R-1\n")));
}

TEST(TillShell, DialogsAreAnsweredOnTheTerminal)
{
    const Ran ran = run({u"shell"_s}, "openSale id=R-1 positions=[]\n"
                                      "identifyByPhone phone=79001234567\n"
                                      "2\n"
                                      "identifyByPhone phone=79001234567\n"
                                      "\n");
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("Номера карт\n  1. …0017\n  2. …0024\n  3. …0031\n"));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("Карта …0024\n"));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("Карта не выбрана\n"));
}

TEST(TillShell, WithJsonNothingButTheStepsGoesToTheOutput)
{
    const Ran ran = run({u"shell"_s, u"--json"_s}, "help\nfoo\nopenSale id=R-1 positions=[]\n"
                                                   "identifyByPhone phone=79001234567\n1\n");
    EXPECT_EQ(ran.out.count('\n'), 2) << ran.out.toStdString();
    EXPECT_THAT(ran.out.toStdString(), Not(HasSubstr("Номера карт")));
    EXPECT_THAT(ran.err.toStdString(), HasSubstr("Номера карт"));
}

TEST(TillShell, ShowsEachStepBeforeItWaitsForTheNext)
{
    QProcess till;
    start(till, {u"shell"_s, u"--json"_s});
    till.write("openSale id=R-1 positions=[]\n");
    while (!till.canReadLine())
        ASSERT_TRUE(till.waitForReadyRead(patienceMs));
    EXPECT_THAT(till.readLine().toStdString(), StartsWith(R"({"step":1,)"));
    till.closeWriteChannel();
    ASSERT_TRUE(till.waitForFinished(patienceMs));
    EXPECT_EQ(till.exitCode(), 0);
}

} // namespace tilltest

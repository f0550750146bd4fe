#include "tests/journey/till/tillprocess.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace tilltest {

namespace {

/// What the till says of a scenario that it refuses, without the file's name: "line: text" each.
std::vector<std::string> problemsOf(const QByteArray& content)
{
    const Files files;
    const QString good = files.write(u"good.json"_s, scenario(sale + getCardInfo()));
    const QString bad = files.write(u"bad.json"_s, content);
    const Ran ran = run({u"run"_s, good, bad});
    EXPECT_EQ(ran.status, 2);
    EXPECT_EQ(ran.out, "") << "nothing may be played beside a file with mistakes";
    std::vector<std::string> problems;
    for (const QByteArray& line : ran.err.trimmed().split('\n')) {
        EXPECT_TRUE(line.startsWith(bad.toUtf8() + ':')) << line.toStdString();
        problems.push_back(line.sliced(bad.toUtf8().size() + 1).toStdString());
    }
    return problems;
}

} // namespace

TEST(TillScenario, ATextThatIsNotJsonIsRefusedWithItsLine)
{
    EXPECT_THAT(problemsOf("{ \"steps\": [\n 1,\n 2 3 ] }"), ElementsAre(StartsWith("3: is not JSON: ")));
    EXPECT_THAT(problemsOf("{ \"steps\": [\n"), ElementsAre(StartsWith("2: is not JSON: ")));
    EXPECT_THAT(problemsOf(""), ElementsAre(StartsWith("1: is not JSON: ")));
    EXPECT_THAT(problemsOf(QByteArray("{\n\"steps\": [] }") + '\0' + "more"),
                ElementsAre("2: is not JSON: holds a zero byte"));
    EXPECT_THAT(problemsOf(QByteArray(100'000, '[')), ElementsAre(HasSubstr("nested too deep")));
}

TEST(TillScenario, UnknownStepsAndMembersAreNamedWithWhatIsMeant)
{
    EXPECT_THAT(
        problemsOf(R"({
        "nmae": "x",
        "steps": [
            { "do": "openSael" },
            { "do": "identifyByCard", "card": "2000000000017",
              "pin": "1" },
            { "do": "brew" },
            { "do": "1234" }
        ] })"),
        ElementsAre(
            "2: unknown member \"nmae\"; did you mean \"name\"?",
            "4: unknown step \"openSael\"; did you mean \"openSale\"?",
            StartsWith("6: identifyByCard: unknown member \"pin\"; known are card"),
            StartsWith(
                "7: unknown step \"brew\"; known are openSale, openReturn, setPositions, identifyByCard"),
            "8: a number is no step; a code is typed where one is asked for"));
}

TEST(TillScenario, MistypedAndMissingMembersAreNamed)
{
    EXPECT_THAT(problemsOf(R"({
        "name": 5,
        "steps": [
            { "do": "openSale", "id": 7, "positions": [
              { "articul": "1", "name": "x", "price": "1", "quantity": 1 }, 5 ] },
            { "do": "identifyByPhone", "phone": "79001234567",
              "choose": 1.5, "mayFail": "yes" },
            { "do": "identifyByCard" },
            { "card": "2000000000017" },
            "identifyByCard"
        ] })"),
                ElementsAre("2: name: expected a text in quotes",
                            "4: openSale: id: expected a text in quotes",
                            "5: openSale: positions: price: expected a number",
                            "5: openSale: positions: expected an object in the list",
                            "7: identifyByPhone: choose: expected a whole number",
                            "7: identifyByPhone: mayFail: expected true or false",
                            "8: identifyByCard: card is missing: expected a text in quotes (the card number)",
                            StartsWith("9: expected a step: an object whose member \"do\""),
                            StartsWith("10: expected a step: an object whose member \"do\"")));
}

TEST(TillScenario, AMemberGivenTwiceIsRefused)
{
    EXPECT_THAT(problemsOf("{ \"steps\": [],\n\"steps\": [] }"), ElementsAre("2: \"steps\" is given twice"));
}

TEST(TillScenario, TheTopMustBeAnObjectWithSteps)
{
    EXPECT_THAT(problemsOf("[]"), ElementsAre(StartsWith("1: expected an object with")));
    EXPECT_THAT(problemsOf("{}"), ElementsAre("1: steps is missing: expected a list of steps"));
    EXPECT_THAT(problemsOf(R"({ "steps": {} })"), ElementsAre("1: steps: expected a list of steps"));
}

TEST(TillScenario, ItsConfigurationIsCheckedLikeAnyOther)
{
    EXPECT_THAT(problemsOf(R"({ "config": {
        "KYRLoyalty:timeout": "3",
        "KYRLoyalty:tiemout": 3,
        "KYRLoyalty:password": [ "hush-hush" ],
        "KYRLoyalty:smsVerification": true
        }, "steps": [] })"),
                ElementsAre(StartsWith("2: KYRLoyalty:timeout: expected a whole number"),
                            StartsWith("3: KYRLoyalty:tiemout: unknown key"),
                            StartsWith("4: KYRLoyalty:password: expected a text in quotes")));
}

TEST(TillScenario, ItsConfigurationHoldsForTheFileOnly)
{
    const Files files;
    const Steps steps = sale + identifyByCard("2000000000017");
    const QString away =
        files.write(u"away.json"_s, scenario(steps, {{u"KYRLoyalty:serverUrl"_s, u"http://127.0.0.1:1/"_s}}));
    const QString home = files.write(u"home.json"_s, scenario(steps));
    const Ran ran = run({u"run"_s, away, home});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("away.json: 2 steps, 1 failed\n"));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("home.json: 2 steps, 0 failed\n"));
}

} // namespace tilltest

// How a fault is written, and which calls it strikes.

#include "stand/faults/faults.h"

#include <gmock/gmock.h>

#include <QFile>
#include <QRegularExpression>

using namespace Qt::StringLiterals;
using stand::CallPattern;
using stand::FaultError;
using stand::faultFrom;
using stand::FaultKind;
using stand::faultsFrom;
using stand::When;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

std::string reasonAgainst(const QString& text)
{
    try {
        (void)faultFrom(text);
    } catch (const FaultError& error) {
        return error.what();
    }
    return "none";
}

std::string reasonInFile(const QByteArray& json, const QString& file = {})
{
    try {
        (void)faultsFrom(json, file);
    } catch (const FaultError& error) {
        return error.what();
    }
    return "none";
}

/// The calls, of the first ten, that the fault strikes.
std::vector<int> struck(const QString& text)
{
    const auto fault = faultFrom(text);
    std::vector<int> calls;
    for (int call = 1; call <= 10; ++call) {
        if (fault.strikes(call, static_cast<int>(calls.size())))
            calls.push_back(call);
    }
    return calls;
}

stand::Request call(const char* method, const char* path)
{
    stand::Request request;
    request.method = method;
    request.path = path;
    return request;
}

TEST(CallPattern, MeansAnOperationByItsName)
{
    const auto where = CallPattern::fromText(u"payment-c2b"_s);
    ASSERT_TRUE(where);
    EXPECT_TRUE(where->matches("POST", "/v2/partner/operation/payment-c2b"));
    EXPECT_FALSE(where->matches("GET", "/v2/partner/operation/payment-c2b"));
    EXPECT_FALSE(where->matches("POST", "/v2/partner/operation/force-payment-c2b"));
    EXPECT_FALSE(where->matches("POST", "/v2/partner/operation/confirm-payment-c2b"));
}

TEST(CallPattern, MeansAReceiptWithoutACardByBothItsMethods)
{
    const auto where = CallPattern::fromText(u"receipt"_s);
    ASSERT_TRUE(where);
    EXPECT_TRUE(where->matches("POST", "/v2/partner/operation/receipt"));
    EXPECT_TRUE(where->matches("PUT", "/v2/partner/operation/receipt"));
}

TEST(CallPattern, TakesAStarForAnyCharacters)
{
    const auto matches = [](const QString& pattern, const char* path) {
        return CallPattern::fromText(pattern).value().matches("GET", path);
    };
    EXPECT_TRUE(matches(u"/v2/*"_s, "/v2/partner/card/1/card-info"));
    EXPECT_TRUE(matches(u"GET /v2/*/card/*-info"_s, "/v2/partner/card/1/card-info"));
    EXPECT_TRUE(matches(u"/a*"_s, "/a"));
    EXPECT_FALSE(matches(u"POST /v2/*"_s, "/v2/partner"));
    EXPECT_FALSE(matches(u"/v2/*/card"_s, "/v2/card")) << "one slash is not two";
    EXPECT_FALSE(matches(u"/a*ba"_s, "/aba ba!"));
    EXPECT_FALSE(matches(u"/v2"_s, "/v2/partner"));
    EXPECT_FALSE(matches(u"/ab*bc"_s, "/abc")) << "a letter is not used twice";
}

TEST(CallPattern, KnowsEveryOperationOnceAndNothingElse)
{
    EXPECT_EQ(CallPattern::operations().size(), 12);
    for (const auto& name : CallPattern::operations())
        EXPECT_TRUE(CallPattern::fromText(name)) << name.toStdString();
    for (const auto& text : {u""_s, u"payment"_s, u"v2/partner"_s, u"get /v2"_s, u"GET  /v2"_s})
        EXPECT_FALSE(CallPattern::fromText(text)) << text.toStdString();
}

TEST(FaultText, NamesOperationFaultAndSettings)
{
    const auto fault =
        faultFrom(u"force-payment-c2b:status:nth=3,every=2,count=all,code=429,retry-after=7,when=after"_s);
    EXPECT_EQ(fault.where.text(), u"force-payment-c2b"_s);
    EXPECT_EQ(fault.kind, FaultKind::Status);
    EXPECT_EQ(fault.nth, 3);
    EXPECT_EQ(fault.every, 2);
    EXPECT_FALSE(fault.count);
    EXPECT_EQ(fault.when, When::After);
    EXPECT_EQ(fault.number("code"), 429);
    EXPECT_EQ(fault.number("retry-after"), 7);
    EXPECT_EQ(fault.text("envelope"), u"yes"_s);
}

TEST(FaultText, StrikesTheFirstCallOnceWhenNothingElseIsSaid)
{
    const auto fault = faultFrom(u"any:apply-then-drop"_s);
    EXPECT_EQ(fault.kind, FaultKind::ApplyThenDrop);
    EXPECT_EQ(fault.when, When::After);
    EXPECT_THAT(struck(u"any:reset"_s), ElementsAre(1));
}

TEST(FaultText, MayHoldAnAddress)
{
    EXPECT_EQ(faultFrom(u"any:redirect:to=http://127.0.0.1:1/x"_s).text("to"), u"http://127.0.0.1:1/x"_s);
}

TEST(FaultText, NamesEveryKindInTheOrderOfItsEnumeration)
{
    const auto names = stand::faultNames();
    for (int i = 0; i < names.size(); ++i) {
        const auto fault = faultFrom(QString(u"any:"_s + names[i]));
        EXPECT_EQ(static_cast<int>(fault.kind), i);
        EXPECT_EQ(fault.name(), names[i]);
    }
    EXPECT_EQ(faultFrom(u"any:gzip-bomb"_s).kind, FaultKind::GzipBomb);
    EXPECT_EQ(faultFrom(u"any:status"_s).kind, FaultKind::Status);
    EXPECT_EQ(static_cast<int>(FaultKind::Status), names.size() - 1);
}

TEST(FaultText, SaysWhatIsWrongWithIt)
{
    EXPECT_THAT(reasonAgainst(u"reset"_s), HasSubstr("OPERATION:FAULT"));
    EXPECT_THAT(reasonAgainst(u"any:statu"_s), HasSubstr("no fault \"statu\"; it is one of refuse, reset"));
    EXPECT_THAT(reasonAgainst(u"payment:reset"_s), HasSubstr("payment-c2b"));
    EXPECT_THAT(reasonAgainst(u"any:reset:nth"_s), HasSubstr("NAME=VALUE"));
    EXPECT_THAT(reasonAgainst(u"any:reset:nth=0"_s), HasSubstr("\"nth\" is a whole number from 1"));
    EXPECT_THAT(reasonAgainst(u"any:reset:count=x"_s), HasSubstr("\"count\" is a whole number"));
    EXPECT_THAT(reasonAgainst(u"any:reset:code=500"_s), HasSubstr("\"reset\" knows no \"code\""));
    EXPECT_THAT(reasonAgainst(u"any:status:code=200"_s), HasSubstr("from 400 to 599"));
    EXPECT_THAT(reasonAgainst(u"any:status:envelope=maybe"_s), HasSubstr("one of yes, no"));
    EXPECT_THAT(reasonAgainst(u"any:reset:when=later"_s), HasSubstr("before or after"));
    EXPECT_THAT(reasonAgainst(u"any:json:when=before"_s), HasSubstr("cannot come before"));
    EXPECT_THAT(reasonAgainst(u"any:drop:when=after"_s), HasSubstr("cannot come after"));
    EXPECT_THAT(reasonAgainst(u"any:refuse:count=all"_s), HasSubstr("give \"count\" a number"));
    EXPECT_THAT(reasonAgainst(u"any:length:by=0"_s), HasSubstr("\"by\" is not 0"));
}

TEST(FaultFile, HoldsObjectsAndTexts)
{
    const auto faults = faultsFrom(R"({"faults": [
        {"operation": "receipt", "fault": "late", "ms": 5, "nth": 2},
        "any:reset"]})");
    ASSERT_EQ(faults.size(), 2);
    EXPECT_EQ(faults[0].number("ms"), 5);
    EXPECT_EQ(faults[0].nth, 2);
    EXPECT_EQ(faults[1].kind, FaultKind::Reset);
    EXPECT_EQ(faultsFrom(R"(["any:reset", "any:hang"])").size(), 2);
    EXPECT_EQ(faultsFrom(R"({"fault": "hang"})").size(), 1) << "one alone, and for any operation";
    EXPECT_EQ(faultsFrom("[]").size(), 0);
}

TEST(FaultFile, ReadsWhatAFaultSaysOfItself)
{
    const auto fault = faultFrom(u"receipt:type:field=data.receipt_number,as=null,nth=4,count=all"_s);
    EXPECT_EQ(faultFrom(fault.json()).json(), fault.json());
}

TEST(FaultFile, SaysInWhichLineWhatIsWrong)
{
    EXPECT_THAT(reasonInFile("[\n\"any:reset\",\n\n{\"fault\": \"late\",\n\"ms\": -1}]", u"f.json"_s),
                HasSubstr("f.json:4: \"ms\" is a whole number"));
    EXPECT_THAT(reasonInFile("{\"faults\": [\n\"any:[,]\\\"reset\",\n\"any:hang\"]}"),
                HasSubstr("line 2: there is no fault"));
    EXPECT_THAT(reasonInFile("[{\"operation\": \"any\", \"fault\": \"reset\"},\n 7]"),
                HasSubstr("line 2: a fault is an object"));
    EXPECT_THAT(reasonInFile("[\n\n\"any:reset\"", u"f.json"_s), HasSubstr("f.json:3: "));
    EXPECT_THAT(reasonInFile(""), HasSubstr("line 1: "));
    EXPECT_THAT(reasonInFile("{}"), HasSubstr("\"fault\" is missing"));
    EXPECT_THAT(reasonInFile("{\"fault\": \"late\", \"ms\": 1.5}"), HasSubstr("\"ms\" is a whole number"));
    EXPECT_THAT(reasonInFile("{\"fault\": \"late\", \"nht\": 2}"), HasSubstr("knows no \"nht\""));
}

TEST(FaultDocumentation, HasAnExampleOfEveryFaultThatIsRight)
{
    QFile page(QStringLiteral(KYR_SOURCE_DIR "/docs/service.md"));
    ASSERT_TRUE(page.open(QIODevice::ReadOnly));
    static const QRegularExpression row(u"^\\| `([a-z-]+)` \\|.*\\| `([^`]+:[^`]+)` \\| [a-z, ]+ \\|$"_s,
                                        QRegularExpression::MultilineOption);
    QStringList documented;
    for (auto rows = row.globalMatch(QString::fromUtf8(page.readAll())); rows.hasNext();) {
        const auto match = rows.next();
        documented.append(match.captured(1));
        EXPECT_EQ(faultFrom(match.captured(2)).name(), match.captured(1));
    }
    auto names = stand::faultNames();
    names.sort();
    documented.sort();
    EXPECT_EQ(documented, names);
}

TEST(FaultCalls, AreStruckFromTheNthOnSoOftenAndAtSuchDistances)
{
    EXPECT_THAT(struck(u"any:reset:nth=3"_s), ElementsAre(3));
    EXPECT_THAT(struck(u"any:reset:nth=3,count=2"_s), ElementsAre(3, 4));
    EXPECT_THAT(struck(u"any:reset:nth=2,every=3,count=all"_s), ElementsAre(2, 5, 8));
    EXPECT_THAT(struck(u"any:reset:every=4,count=2"_s), ElementsAre(1, 5));
    EXPECT_THAT(struck(u"any:reset:nth=11"_s), ElementsAre());
}

TEST(Faults, CountTheCallsTheyMean)
{
    stand::Faults faults;
    faults.arm({faultFrom(u"payment-b2c:reset:nth=2"_s)});
    EXPECT_FALSE(faults.next(call("POST", "/v2/partner/operation/payment-b2c")));
    EXPECT_FALSE(faults.next(call("POST", "/v2/partner/operation/receipt")));
    const auto strike = faults.next(call("POST", "/v2/partner/operation/payment-b2c"));
    ASSERT_TRUE(strike);
    EXPECT_EQ(strike->id, 1);
    EXPECT_FALSE(faults.next(call("POST", "/v2/partner/operation/payment-b2c")));
    const auto told = faults.list().at(0);
    EXPECT_EQ(told[u"calls"], 3);
    EXPECT_EQ(told[u"fired"], 1);
    EXPECT_EQ(told[u"armed"], false);
}

TEST(Faults, StrikeACallOnceAndTheOthersWaitForTheNext)
{
    stand::Faults faults;
    faults.arm({faultFrom(u"any:reset"_s), faultFrom(u"any:hang"_s)});
    EXPECT_EQ(faults.next(call("GET", "/v2/x")).value().fault.kind, FaultKind::Reset);
    EXPECT_EQ(faults.next(call("GET", "/v2/x")).value().fault.kind, FaultKind::Hang);
    EXPECT_FALSE(faults.next(call("GET", "/v2/x")));
}

TEST(Faults, AreTakenBackByNumberOrAllTogether)
{
    stand::Faults faults;
    EXPECT_THAT(faults.arm({faultFrom(u"any:reset"_s), faultFrom(u"any:hang"_s)}), ElementsAre(1, 2));
    EXPECT_TRUE(faults.disarm(1));
    EXPECT_FALSE(faults.disarm(1));
    EXPECT_EQ(faults.list().size(), 1);
    faults.disarmAll();
    EXPECT_EQ(faults.list().size(), 0);
    EXPECT_THAT(faults.arm({faultFrom(u"any:reset"_s)}), ElementsAre(3)) << "no number is used twice";
}

TEST(Faults, RefuseACallBeforeItComes)
{
    using namespace std::chrono_literals;
    stand::Faults faults;
    faults.arm({faultFrom(u"any:refuse:nth=2,count=2,ms=300"_s), faultFrom(u"receipt:refuse"_s)});
    EXPECT_EQ(faults.portClosedFor(), 0ms);
    EXPECT_FALSE(faults.next(call("GET", "/v2/x")));
    EXPECT_EQ(faults.portClosedFor(), 600ms) << "the second call and the third";
    EXPECT_EQ(faults.portClosedFor(), 0ms);
    EXPECT_FALSE(faults.next(call("GET", "/v2/x")));
}

} // namespace

#include "plugin/kyrloyaltyexception.h"
#include "tests/support/fakeservice.h"
#include "tests/support/hostworld.h"
#include "tests/unit/client/openclient.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;
using Method = KyrLoyaltyInterface::RestMethod;

namespace {

class Exchange : public test_support::HostWorld
{
protected:
    Exchange()
    {
        set("serverUrl", u"http://service/base"_s);
        set("timeout", 7);
        client.init();
    }

    /// The text of a GET that fails with that answer.
    tr::Tr failure(const QByteArray& json, int errorCode = 500)
    {
        service.answer(json, errorCode);
        try {
            (void)client.getServerResponse(u"v2/x"_s, {}, Method::Get);
        } catch (const KyrLoyaltyException& exception) {
            return exception.tr();
        }
        ADD_FAILURE() << "no KyrLoyaltyException";
        return {};
    }

    test_support::FakeService service;
    OpenClient client;
    const tr::Tr fallback{u"loyaltyErrorRequest"_s, u"Ошибка обращения к серверу"_s};
};

TEST_F(Exchange, JoinsBaseUrlAndPathAndSendsHeadersAndTimeout)
{
    service.answer("{}");
    (void)client.getServerResponse(u"v2/partner/x"_s, {}, Method::Get);
    ASSERT_EQ(service.requests().size(), 1);
    EXPECT_THAT(service.calls(), ElementsAre(u"GET http://service/base/v2/partner/x"_s));
    EXPECT_EQ(service.requests()[0].headers, client.headers);
    EXPECT_EQ(service.requests()[0].timeout, 7);
}

TEST_F(Exchange, DoesNotSendABodyWithGet)
{
    service.answer("{}");
    (void)client.getServerResponse(u"v2/x"_s, "{\"a\":1}", Method::Get);
    EXPECT_EQ(service.requests()[0].body, QByteArray());
}

TEST_F(Exchange, PostsTheBodyByteForByte)
{
    service.answer("{}");
    (void)client.getServerResponse(u"v2/x"_s, "{\"имя\": 1}\n", Method::Post);
    EXPECT_EQ(service.requests()[0].method, u"POST"_s);
    EXPECT_EQ(service.requests()[0].body, "{\"имя\": 1}\n");
    EXPECT_EQ(service.requests()[0].headers, client.headers);
    EXPECT_EQ(service.requests()[0].timeout, 7);
}

TEST_F(Exchange, PutsTheBodyByteForByte)
{
    service.answer("{}");
    (void)client.getServerResponse(u"v2/x"_s, "{\"a\":1}", Method::Put);
    EXPECT_EQ(service.requests()[0].method, u"PUT"_s);
    EXPECT_EQ(service.requests()[0].body, "{\"a\":1}");
    EXPECT_EQ(service.requests()[0].headers, client.headers);
    EXPECT_EQ(service.requests()[0].timeout, 7);
}

TEST_F(Exchange, TakesAnUnknownMethodForGet)
{
    service.answer("{}");
    (void)client.getServerResponse(u"v2/x"_s, "{}", static_cast<Method>(7));
    EXPECT_EQ(service.requests()[0].method, u"GET"_s);
}

TEST_F(Exchange, NumbersTheMethodsAsTheContractDoes)
{
    EXPECT_EQ(static_cast<int>(Method::Get), 0);
    EXPECT_EQ(static_cast<int>(Method::Post), 1);
    EXPECT_EQ(static_cast<int>(Method::Put), 2);
}

TEST_F(Exchange, ParsesTheUrlTolerantly)
{
    service.answer("{}");
    (void)client.getServerResponse(u"v2/card/12 34%zz/card-info"_s, {}, Method::Get);
    EXPECT_TRUE(service.requests()[0].url.isValid());
    EXPECT_EQ(service.requests()[0].url.path(QUrl::FullyEncoded), u"/base/v2/card/12%2034%25zz/card-info"_s);
}

TEST_F(Exchange, UsesANewClientForEachRequestAndKeepsNone)
{
    service.answer("{}");
    service.answer("{}", 500);
    (void)client.getServerResponse(u"v2/x"_s, {}, Method::Get);
    EXPECT_THROW((void)client.getServerResponse(u"v2/x"_s, {}, Method::Get), KyrLoyaltyException);
    EXPECT_EQ(service.clients(), 2);
    EXPECT_EQ(service.liveClients(), 0);
}

TEST_F(Exchange, ReturnsTheAnswersObjectWithNestedMapsAndLists)
{
    service.answer(R"({"data":{"list":[1,"two"]}})");
    const QVariantMap answer = client.getServerResponse(u"v2/x"_s, {}, Method::Get);
    EXPECT_EQ(answer.value(u"data"_s).toMap().value(u"list"_s).toList().at(1).toString(), u"two"_s);
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(Exchange, ReturnsAnEmptyMapWhenTheAnswerIsNoObject)
{
    for (const QByteArray& body : {QByteArray("[1,2]"), QByteArray("not json"), QByteArray()}) {
        service.answer(body);
        EXPECT_TRUE(client.getServerResponse(u"v2/x"_s, {}, Method::Get).isEmpty()) << body.toStdString();
    }
}

TEST_F(Exchange, DoesNotLookForErrorsInAnAnswerWithoutErrorCode)
{
    service.answer(R"({"data":[{"message":"no"}]})", 0);
    EXPECT_TRUE(client.getServerResponse(u"v2/x"_s, {}, Method::Get).contains(u"data"_s));
}

TEST_F(Exchange, TakesANegativeErrorCodeForSuccess)
{
    service.answer(R"({"data":{}})", -1);
    EXPECT_TRUE(client.getServerResponse(u"v2/x"_s, {}, Method::Get).contains(u"data"_s));
}

TEST_F(Exchange, TakesErrorCodeOneForAFailure) { EXPECT_EQ(failure("", 1), fallback); }

TEST_F(Exchange, FailsWithItsOwnTextWhenTheAnswerNamesNoReason)
{
    for (const QByteArray& body :
         {QByteArray("{}"), QByteArray(), QByteArray(R"({"data":{}})"), QByteArray(R"({"data":"text"})"),
          QByteArray(R"({"data":[]})"), QByteArray(R"({"data":null})"), QByteArray(R"({"message":"text"})"),
          QByteArray(R"([{"message":"text"}])")})
        EXPECT_EQ(failure(body), fallback) << body.toStdString();
}

TEST_F(Exchange, FailsWithItsOwnTextWhenMessagesAreNullOrMissing)
{
    EXPECT_EQ(failure(R"({"data":[{"message":null},{"code":5},{}]})"), fallback);
}

TEST_F(Exchange, FailsWithItsOwnTextWhenMessagesAreOfNoUsableType)
{
    EXPECT_EQ(failure(R"({"data":[{"message":5},{"message":true},{"message":["a"]},"bare",7]})"), fallback);
}

TEST_F(Exchange, FailsWithTheServicesTextUntranslated)
{
    EXPECT_EQ(failure(R"({"data":[{"message":"Карта не найдена"}]})", 404),
              tr::Tr(u"undefined"_s, u"Карта не найдена"_s));
}

TEST_F(Exchange, JoinsSeveralTextsWithLineFeeds)
{
    EXPECT_EQ(failure(R"({"data":[{"message":"A"},{"message":"B"}]})").ru(), u"A\nB"_s);
}

TEST_F(Exchange, TakesTextsPerFieldInTheOrderOfTheFieldNames)
{
    EXPECT_EQ(failure(R"({"data":[{"message":"A"},{"message":{"p":["B","C"],"a":"D"}}]})").ru(),
              u"A\nD\nB\nC"_s);
}

TEST_F(Exchange, SkipsAFieldWhoseValueIsANumber)
{
    EXPECT_EQ(failure(R"({"data":[{"message":{"a":5,"b":"text"}}]})").ru(), u"text"_s);
    EXPECT_EQ(failure(R"({"data":[{"message":{"a":5}}]})"), fallback);
}

TEST_F(Exchange, LetsExceptionsOfTheRestClientPassUnchanged)
{
    service.fail(u"out of order"_s);
    EXPECT_THROW((void)client.getServerResponse(u"v2/x"_s, {}, Method::Get), std::runtime_error);
    service.fail(u"out of order"_s);
    try {
        (void)client.getServerResponse(u"v2/x"_s, {}, Method::Get);
        FAIL();
    } catch (const KyrLoyaltyException&) {
        FAIL() << "turned into the client's own exception";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "out of order");
    }
}

TEST_F(Exchange, ListsNoTextsForNoErrors) { EXPECT_THAT(client.getErrorMessages({}), IsEmpty()); }

TEST_F(Exchange, LogsNothingOfItsOwn)
{
    (void)failure(R"({"data":[{"message":"A"}]})");
    EXPECT_THAT(log(), IsEmpty());
}

} // namespace

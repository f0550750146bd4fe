#include "tests/unit/network/scene.h"

#include <QJsonObject>

#include <gmock/gmock.h>

using test_support::HttpAnswer;
using test_support::HttpRequest;
using test_support::HttpServer;
using testing::Contains;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;
using testing::Test;
using namespace Qt::StringLiterals;

namespace {

class RestClientRequest : public Test
{
protected:
    RestClientRequest() { m_server.enqueue(HttpAnswer::status(200, "{}")); }

    /// The one request that came in; the client must have been content with the answer.
    HttpRequest received()
    {
        EXPECT_EQ(m_client.getErrorCode(), 0);
        EXPECT_THAT(m_server.requests(), SizeIs(1));
        return m_server.requests().value(0);
    }

    HttpServer m_server;
    RestClient m_client;
};

} // namespace

TEST_F(RestClientRequest, SendsAGetWithoutBodyForAnEmptyDocument)
{
    m_client.get(m_server.url(u"/cards"_s), {}, {});
    const HttpRequest request = received();
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.path, "/cards");
    EXPECT_EQ(request.body, "");
    EXPECT_TRUE(request.header("Content-Length").isNull());
    EXPECT_TRUE(request.header("Transfer-Encoding").isNull());
    EXPECT_TRUE(request.header("Content-Type").isNull());
}

TEST_F(RestClientRequest, SendsTheDocumentOfAGetAsCompactJson)
{
    m_client.get(m_server.url(), QJsonDocument(QJsonObject{{u"card"_s, u"17"_s}, {u"n"_s, 2}}), {});
    const HttpRequest request = received();
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.body, R"({"card":"17","n":2})");
    EXPECT_EQ(request.header("Content-Type"), "application/json");
}

TEST_F(RestClientRequest, PostsTheBodyByteForByte)
{
    QByteArray body = "{\"имя\": \"Анна\"}\r\n\r\n";
    body.append('\0').append("\xff\xfe after");
    m_client.post(m_server.url(), body, {});
    const HttpRequest request = received();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.body, body);
}

TEST_F(RestClientRequest, PutsTheBodyByteForByte)
{
    m_client.put(m_server.url(), "{\"имя\":\"Пётр\"}", {});
    const HttpRequest request = received();
    EXPECT_EQ(request.method, "PUT");
    EXPECT_EQ(request.body, "{\"имя\":\"Пётр\"}");
}

TEST_F(RestClientRequest, SendsALargeBodyWholeAndWithoutWaitingForAHundred)
{
    const QByteArray body(3 << 20, 'x');
    m_client.post(m_server.url(), body, {});
    const HttpRequest request = received();
    EXPECT_TRUE(request.body == body);
    EXPECT_TRUE(request.header("Expect").isNull());
}

TEST_F(RestClientRequest, SaysThatAnEmptyPostHasNoBody)
{
    m_client.post(m_server.url(), {}, {});
    const HttpRequest request = received();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.header("Content-Length"), "0");
    EXPECT_TRUE(request.header("Content-Type").isNull());
}

TEST_F(RestClientRequest, SendsTheHeadersAsGiven)
{
    m_client.post(m_server.url(), "{}",
                  {{u"Authorization"_s, u"Basic a:b=="_s},
                   {u"X-Shop"_s, u"Лавка, 7"_s},
                   {u"X-Empty"_s, QString()},
                   {u"content-type"_s, u"text/x-own"_s}});
    const HttpRequest request = received();
    EXPECT_THAT(request.headers, Contains("Authorization: Basic a:b=="));
    EXPECT_THAT(request.headers, Contains("X-Shop: Лавка, 7"));
    EXPECT_THAT(request.headers, Contains("X-Empty:"));
    EXPECT_THAT(request.headers, Contains("content-type: text/x-own"));
    EXPECT_THAT(request.headers, Not(Contains("Content-Type: application/json")));
}

TEST_F(RestClientRequest, NamesItselfAndAsksForNoCompression)
{
    m_client.get(m_server.url(), {}, {});
    const HttpRequest request = received();
    EXPECT_THAT(request.header("User-Agent").toStdString(), StartsWith("KYRLoyalty-host/"));
    EXPECT_TRUE(request.header("Accept-Encoding").isNull());
    EXPECT_EQ(request.header("Connection"), "close");
}

TEST_F(RestClientRequest, PercentEncodesBlanksAndCyrillicOfTheUrl)
{
    m_client.get(m_server.url(u"/клиент/a b?имя=я"_s), {}, {});
    EXPECT_EQ(received().path, "/%D0%BA%D0%BB%D0%B8%D0%B5%D0%BD%D1%82/a%20b?%D0%B8%D0%BC%D1%8F=%D1%8F");
}

TEST_F(RestClientRequest, SendsThePathAsItStands)
{
    m_client.get(m_server.url(u"/a/../b/./c//d"_s), {}, {});
    EXPECT_EQ(received().path, "/a/../b/./c//d");
}

TEST_F(RestClientRequest, OpensAConnectionForEachRequest)
{
    m_server.enqueue(HttpAnswer::status(200));
    m_client.get(m_server.url(), {}, {});
    m_client.get(m_server.url(), {}, {});
    EXPECT_THAT(m_server.requests(), SizeIs(2));
    EXPECT_EQ(m_server.connections(), 2);
}

TEST_F(RestClientRequest, ForgetsTheCookiesItIsGiven)
{
    HttpServer server;
    server.enqueue(HttpAnswer::status(200, {}, {"Set-Cookie: session=1; Path=/"}));
    server.enqueue(HttpAnswer::status(200));
    m_client.get(server.url(), {}, {});
    m_client.get(server.url(), {}, {});
    ASSERT_THAT(server.requests(), SizeIs(2));
    EXPECT_TRUE(server.requests().constLast().header("Cookie").isNull());
}

TEST_F(RestClientRequest, GoesPastTheProxiesOfTheEnvironment)
{
    HttpServer proxy;
    qputenv("http_proxy", proxy.url().toEncoded());
    m_client.get(m_server.url(), {}, {});
    qunsetenv("http_proxy");
    received();
    EXPECT_EQ(proxy.connections(), 0);
}

TEST_F(RestClientRequest, RefusesAHeaderThatWouldForgeAnotherLine)
{
    for (const QString& forged :
         {u"1\r\nX-Admin: 1"_s, u"1\nX-Admin: 1"_s, u"1\rX-Admin: 1"_s, u"1\0002"_s}) {
        m_client.get(m_server.url(), {}, {{u"X-Card"_s, forged}});
        EXPECT_EQ(m_client.getErrorCode(), code(RestClient::ErrorCode::BadHeader)) << forged.toStdString();
        m_client.get(m_server.url(), {}, {{forged, u"1"_s}});
        EXPECT_EQ(m_client.getErrorCode(), code(RestClient::ErrorCode::BadHeader)) << forged.toStdString();
    }
    EXPECT_EQ(m_server.connections(), 0);
}

TEST_F(RestClientRequest, RefusesAHeaderNameThatIsNoToken)
{
    for (const QString& name : {QString(), u"X:Y"_s, u"X Y"_s, u"X;"_s, u"Имя"_s}) {
        m_client.get(m_server.url(), {}, {{name, u"1"_s}});
        EXPECT_EQ(m_client.getErrorCode(), code(RestClient::ErrorCode::BadHeader)) << name.toStdString();
    }
    EXPECT_THAT(m_server.requests(), IsEmpty());
}

TEST_F(RestClientRequest, RefusesWhatIsNoHttpUrl)
{
    for (const QString& url : {QString(), u"/cards"_s, u"http://"_s, u"file:///etc/passwd"_s,
                               u"ftp://127.0.0.1/"_s, u"http://[::1"_s, u"localhost:80/cards"_s}) {
        m_client.get(QUrl(url), {}, {});
        EXPECT_EQ(m_client.getErrorCode(), code(RestClient::ErrorCode::BadUrl)) << url.toStdString();
    }
}

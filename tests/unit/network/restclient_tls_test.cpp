#include "tests/unit/network/scene.h"

#include <gmock/gmock.h>

using test_support::Certificate;
using test_support::HttpAnswer;
using test_support::HttpServer;
using testing::AnyOf;
using testing::IsEmpty;
using testing::SizeIs;
using namespace Qt::StringLiterals;
using ErrorCode = RestClient::ErrorCode;

TEST(RestClientTls, TalksToATrustedServer)
{
    HttpServer server(trustedCertificate());
    server.enqueue(HttpAnswer::status(200, R"({"points":10})"));
    RestClient client;
    client.post(server.url(u"/points"_s), "{\"n\":1}", {{u"X-Shop"_s, u"7"_s}});
    EXPECT_EQ(client.getErrorCode(), 0);
    EXPECT_EQ(client.getResponse().toMap().value(u"points"_s).toInt(), 10);
    ASSERT_THAT(server.requests(), SizeIs(1));
    EXPECT_EQ(server.requests()[0].body, "{\"n\":1}");
}

TEST(RestClientTls, ChecksTheNameAsWellAsTheAddress)
{
    HttpServer server(trustedCertificate());
    server.enqueue(HttpAnswer::status(200));
    QUrl url = server.url();
    url.setHost(u"localhost"_s); // which libcurl knows by itself, whatever the system calls it
    EXPECT_EQ(get(url).errorCode, 0);
}

TEST(RestClientTls, RefusesACertificateNobodyVouchesFor)
{
    const HttpServer server{Certificate()};
    const Outcome outcome = get(server.url());
    EXPECT_EQ(outcome.errorCode, code(ErrorCode::Tls));
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST(RestClientTls, RefusesATrustedCertificateOfAnotherHost)
{
    const HttpServer server(certificateOfAnotherHost());
    const Outcome outcome = get(server.url());
    EXPECT_EQ(outcome.errorCode, code(ErrorCode::Tls));
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST(RestClientTls, ReadsTheTrustedCertificatesOnce)
{
    HttpServer server(trustedCertificate());
    server.enqueue(HttpAnswer::status(200));
    server.enqueue(HttpAnswer::status(200));
    EXPECT_EQ(get(server.url()).errorCode, 0);
    const QByteArray bundle = qgetenv("SSL_CERT_FILE");
    qputenv("SSL_CERT_FILE", "/nonexistent");
    const Outcome outcome = get(server.url());
    qputenv("SSL_CERT_FILE", bundle);
    EXPECT_EQ(outcome.errorCode, 0);
}

TEST(RestClientTls, FailsWithPlainHttpOnATlsPort)
{
    const HttpServer server(trustedCertificate());
    QUrl url = server.url();
    url.setScheme(u"http"_s);
    EXPECT_THAT(get(url).errorCode, AnyOf(code(ErrorCode::BrokenAnswer), code(ErrorCode::Connect)));
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST(RestClientTls, IsBrokenWhenTheAnswerIsCut)
{
    HttpServer server(trustedCertificate());
    HttpAnswer answer = HttpAnswer::status(200, "{\"points\":10}");
    answer.cutAfter = answer.bytes.size() - 1;
    server.enqueue(answer);
    EXPECT_EQ(get(server.url()).errorCode, code(ErrorCode::BrokenAnswer));
}

TEST(RestClientTls, SurvivesAServerThatLeavesWhileTheBodyIsSent)
{
    // OpenSSL writes to a closed connection here; a SIGPIPE let through would end the host.
    HttpServer server(trustedCertificate());
    HttpAnswer answer = HttpAnswer::none();
    answer.unheard = true;
    answer.breakOff = true;
    server.enqueue(answer);
    RestClient client;
    client.put(server.url(), QByteArray(32 << 20, 'x'), {});
    EXPECT_EQ(client.getErrorCode(), code(ErrorCode::Connect));
}
